// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "orvix/points/records.h"
#include "support/scenes/ray_scan.h"

namespace orvix::test {

/// What fills an opening of a wall.
enum class Fill {
    Nothing,
    OpenLeaf,    ///< stands out to the left of the wall, on the side of its end
    ClosedLeaf,  ///< 4 cm thick, 3 cm behind the wall's right face
    Pane         ///< in the middle of the wall; 85 of 100 beams pass
};

struct HouseOpening {
    double along = 0;   ///< of its middle, from the wall's start
    double bottom = 0;  ///< height
    double width = 0;
    double height = 0;
    Fill fill = Fill::Nothing;
};

/// A box with holes. Its axis is the middle of its two faces; left is to the left of the way.
struct HouseWall {
    SimplePoint2DT<double> from, to;
    double thickness = 0;
    double base = 0, top = 0;
    std::vector<HouseOpening> openings{};
    double waviness = 0;  ///< of both faces, metres
    /// Over a wall with gables: the way along it and the height where both slopes meet, and how much
    /// they rise per metre.
    struct Gable {
        double along, height, rise;
    };
    std::vector<Gable> gables{};
};

/// Builds scenes of houses, whose measures the caller knows, for RayScan.
///
///     HouseScene house;
///     house.AddWall({{0, 0}, {5, 0}, 0.3, 0, 2.6, {{2, 0, 1, 2.1, Fill::Nothing}}});
///     house.AddLevel({0, 0}, {5, 4}, 2.6);
///     RayScan(house.Scene(), {.station = {2, 2, 1.5}}, take);
///
/// Units  metres, z up. What lies inside another box is not seen, so walls may overlap at corners.
class HouseScene {
public:
    void AddWall(const HouseWall& wall);
    /// A floor or a ceiling, with rectangles left out.
    struct Well {
        SimplePoint2DT<double> low, high;
    };
    void AddLevel(const SimplePoint2DT<double>& low, const SimplePoint2DT<double>& high, double z,
                  const std::vector<Well>& wells = {});
    /// A rectangle from `corner` along two ways, which are square to each other, not of length one.
    RaySurface& AddRectangle(const detail::Vector& corner, const detail::Vector& along,
                             const detail::Vector& up);
    void AddBox(const detail::Vector& low, const detail::Vector& high);
    void AddBall(const detail::Vector& centre, double radius);

    [[nodiscard]] const RayScene& Scene() const { return scene_; }

private:
    RayScene scene_;
};

}  // namespace orvix::test
