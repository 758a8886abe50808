// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// One plane as a project stores it (docs/FORMAT.md, planes).
///
/// Units  metres, project frame; `outline` in the 2D coordinates of `frame`.
struct SavedPlane {
    static constexpr std::uint32_t kKinds = 5;  ///< floor, ceiling, wall, roof, other

    std::uint32_t number = 0;  ///< from 1; stays with the plane from one search to the next
    std::uint32_t kind = kKinds - 1;
    std::uint32_t group = 0;      ///< from 1: planes of one group lie in one endless plane
    SimplePointT<double> normal;  ///< of unit length
    double offset = 0;            ///< normal . p + offset = 0
    SimplePointT<double> centre;
    std::uint64_t points = 0;
    double rms = 0;
    double tolerance = 0;
    double area = 0;
    PlaneFrame frame;
    PlaneOutline outline;  ///< `indices` number its own vertices, ring after ring
};

/// What a search for planes was given and what it counted, as a project stores it.
struct SavedSearch {
    static constexpr std::uint32_t kDetails = 3;  ///< fine, normal, coarse

    double cellSize = 0;
    double spacing = 0;
    double noise = 0;
    double distance = 0;
    double angle = 0;
    double minArea = 0;
    double minPoints = 0;
    double bridge = 0;
    std::uint32_t detail = 0;
    std::uint32_t zero = 0;
    std::uint64_t points = 0;
    std::uint64_t skeletonPoints = 0;
    std::uint64_t assignedPoints = 0;
    std::uint64_t cells = 0;
    std::uint64_t leftOut = 0;     ///< planes found and left out, being too small
    std::uint64_t nextNumber = 1;  ///< the first number that no plane has had
};

/// Numbers fit into the signed 32 bits of what others read.
inline constexpr std::uint64_t kMaxPlaneNumber = 0x7FFFFFFF;

void EncodePlane(const SavedPlane& plane, std::vector<std::uint8_t>& bytes);

/// Reads `count` planes from bytes that nobody has looked at.
///
/// Errors  false with a sentence in `fault` where the bytes end early or late, a number is not
///         finite or out of its limits, a normal is not of unit length, a ring has fewer than three
///         corners or runs the wrong way round, or a plane's number is not below `nextNumber` or
///         another's too.
/// Cost    no more memory than the bytes have.
[[nodiscard]] bool DecodePlanes(std::span<const std::uint8_t> bytes, std::uint64_t count,
                                std::uint64_t nextNumber, std::vector<SavedPlane>& planes,
                                std::string& fault);

}  // namespace orvix::detail
