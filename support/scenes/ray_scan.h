// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/geometry/vector.h"
#include "support/scenes/true_plane.h"

namespace orvix::test {

/// A rectangle corner + s u + t v that rays meet, s and t up to `width` and `height`.
///
/// Shape  it is seen from both sides. Its front is where u x v points; heights are metres in front
///        of the rectangle.
struct RaySurface {
    struct Rect {
        double left, bottom, right, top;
    };
    struct Panel {
        Rect rect;
        double height = 0;
    };
    /// Half of the surface's plane: along s + up t <= limit.
    struct Cut {
        double along, up, limit;
    };
    detail::Vector corner, u, v;  ///< u and v of length one
    double width = 0, height = 0;
    std::int32_t plane = kNoPlane;
    std::vector<Rect> holes;
    std::vector<Cut> cuts;      ///< what lies in all of them is left, as of a gable
    std::vector<Panel> panels;  ///< parts that stand out or lie back, such as those of a door leaf
    double waviness = 0;        ///< metres from crest to trough, which lie a metre apart
    double warp = 0;            ///< metres that two opposite corners stand out, the others lie back
    double phaseS = 0, phaseT = 0;  ///< radians, where the waves begin
    double passes = 0;              ///< share of the beams that go through, as through glass
};

struct RayBall {
    detail::Vector centre;
    double radius = 0;
};

struct RayScene {
    std::vector<RaySurface> surfaces;
    std::vector<RayBall> balls;  ///< on no plane
};

/// How a scanner measures.
struct RayOptions {
    std::uint64_t seed = 1;
    double step = 0.2;            ///< degrees between neighbouring directions
    double noise = 0.002;         ///< metres along the ray, standard deviation
    double beam = 0.004;          ///< metres across at the scanner; 0: no mixed pixels
    double divergence = 0.0003;   ///< metres that the beam widens per metre
    detail::Vector station;       ///< where the scanner stands
    detail::Vector displacement;  ///< error of its registration, which all its points share
    detail::Vector turn;          ///< another: radians about each axis, small, through the scanner
};

/// What came back from one direction.
struct RayReturn {
    bool hit = false;
    detail::Vector local;  ///< from the scanner
    ScannedPoint point;    ///< in the frame of all stations, as it was registered
};

inline constexpr double kLowestDegrees = -60;  ///< below that stands the tripod

/// Directions around, and from the lowest upward.
struct RayGrid {
    int columns = 0, rows = 0;
};
RayGrid RayGridOf(const RayOptions& options);

/// Scans a scene from one station, as a scanner that turns: spacing grows with distance, what stands
/// behind is hidden.
///
///     RayScan(scene, {.station = {2, 3, 1.5}}, [&](const RayReturn& r) { if (r.hit) Use(r.point); });
///
/// A beam that meets a surface flatter than 3 degrees is lost. One of which a part meets another
/// surface 2 to 40 cm behind or in front of the first is a mixed pixel, between the two and on no
/// plane.
///
/// Order  column by column, each from the lowest direction upward; the same arguments give the same
///        bits on every system.
/// Cost   some 10 ns per direction and surface.
void RayScan(const RayScene& scene, const RayOptions& options,
             const std::function<void(const RayReturn&)>& take);

}  // namespace orvix::test
