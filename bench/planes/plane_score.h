// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "detection/cells/moments.h"
#include "support/scenes/synthetic_building.h"

namespace orvix::bench {

/// The truth of a point about which nothing is known; -1 says that it is on no plane.
inline constexpr std::int32_t kUnknownPlane = test::kUnjudgedPlane;

/// How well labels of points agree with planes that are known.
///
/// A plane that was found and a true one match at a bar when the points that they share are at
/// least that part of the points that either has (intersection over union). Points about which
/// nothing is known count on neither side, and of the planes found only those are judged of whose
/// points at least half are known.
struct PlaneScore {
    std::uint64_t points = 0;
    std::size_t found = 0;  ///< planes found, of those that can be judged
    std::size_t known = 0;  ///< true planes of at least the points asked for
    double precision50 = 0, recall50 = 0;
    double precision75 = 0, recall75 = 0;
    std::size_t split = 0;     ///< true planes of which two or more found ones hold a tenth each
    std::size_t joined = 0;    ///< found planes that hold a tenth or more of two or more true ones
    double normalDegrees = 0;  ///< mean over the matches at 0.5
    double offsetMillimetres = 0;
    double assigned = 0;                     ///< share of points on a found plane
    std::vector<std::uint64_t> knownPoints;  ///< of each true plane; 0: of too few points to count
    std::vector<double> overlaps;            ///< of each true plane with its best found one
    std::vector<std::int32_t> bestFound;     ///< which that is, -1 for none
};

/// How many of the true planes of a class were found.
struct ClassRecall {
    std::size_t at50 = 0, at75 = 0, known = 0;
};

/// The recall of planes by a value of theirs, such as their area: class i holds those from limit i
/// up to limit i + 1, which is left out. `values` holds one for each true plane of the score; those
/// below the first limit are in no class.
std::vector<ClassRecall> RecallBy(const PlaneScore& score, std::span<const double> values,
                                  std::span<const double> limits);

/// Counts, point by point, what a score is made of.
///
///     PlaneCounter counter(building.Planes());
///     for (const auto& p : labelled) counter.Add(p.position, p.truth, p.found);
///     const PlaneScore score = counter.Score(minPoints);
///
/// Order  the same points in the same order give the same score.
/// Cost   some nanoseconds per point where its neighbours in the order share its planes; memory
///        for each plane and each pair of planes that share a point, none for points.
class PlaneCounter {
public:
    explicit PlaneCounter(std::vector<test::TruePlane> planes);

    /// `truth`, a place in the true planes, and `found` are -1 for a point of none; `truth` may be
    /// kUnknownPlane.
    void Add(const detail::Vector& point, std::int32_t truth, std::int32_t found);
    /// Planes of the matches are fitted to their points by least squares. True planes of fewer than
    /// `minPoints` points do not count.
    [[nodiscard]] PlaneScore Score(std::uint64_t minPoints) const;

private:
    struct Pair {
        std::int32_t truth, found;
        std::uint64_t points;
    };
    [[nodiscard]] std::vector<Pair> Pairs() const;
    [[nodiscard]] bool Judged(std::size_t found) const;

    std::vector<test::TruePlane> planes_;
    std::vector<std::uint64_t> trueCounts_;
    std::vector<detection::MomentSum> sums_;  // of each found plane, about origin_
    std::vector<std::uint64_t> foundCounts_;  // of its points those about which something is known
    std::unordered_map<std::uint64_t, std::uint64_t> shared_;  // by truth and found
    std::uint64_t lastKey_ = 0;
    std::uint64_t* last_ = nullptr;  // its count
    detail::Vector origin_;
    std::uint64_t points_ = 0;
    std::uint64_t assigned_ = 0;
};

}  // namespace orvix::bench
