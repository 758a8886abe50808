// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "tests/support/synthetic_building.h"

namespace orvix::bench {

/// The truth of a point about which nothing is known; -1 says that it is on no plane.
inline constexpr std::int32_t kUnknownPlane = -2;

/// How well labels of points tell planes that are known.
///
/// A plane that was found and a true one match at a bar when the points that they share are at
/// least that part of the points that either has (intersection over union). Points about which
/// nothing is known count on neither side, and of the planes found only those are judged of whose
/// points at least half are known.
struct PlaneScore {
    std::size_t found = 0;  ///< planes found, of those that can be judged
    std::size_t known = 0;  ///< true planes of at least the points asked for
    double precision50 = 0, recall50 = 0;
    double precision75 = 0, recall75 = 0;
    std::size_t split = 0;     ///< true planes of which two or more found ones hold a tenth each
    std::size_t joined = 0;    ///< found planes that hold a tenth or more of two or more true ones
    double normalDegrees = 0;  ///< mean over the matches at 0.5
    double offsetMillimetres = 0;
    double assigned = 0;                  ///< share of points on a found plane
    std::vector<double> overlaps;         ///< of each true plane with its best found one
    std::vector<std::int32_t> bestFound;  ///< which that is, -1 for none
};

/// `truth` and `found` tell each point's plane, -1 for none, `truth` also kUnknownPlane; planes of
/// the matches are fitted to their points by least squares. True planes of fewer than `leastPoints`
/// points do not count.
PlaneScore ScoreOf(const std::vector<SimplePointT<double>>& points,
                   const std::vector<std::int32_t>& truth, const std::vector<std::int32_t>& found,
                   const std::vector<test::TruePlane>& planes, std::uint64_t leastPoints);

}  // namespace orvix::bench
