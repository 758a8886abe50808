// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/house_scene.h"

#include <cmath>

namespace orvix::test {
namespace {

using detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr double kLeaf = 0.04;
constexpr double kLeafBehind = 0.03;
constexpr double kPasses = 0.85;

/// Places of a wall, as metres along it, to the left of it, and heights.
struct WallPlaces {
    Vector start, way, left;
    double length = 0;

    explicit WallPlaces(const HouseWall& wall) {
        length = std::hypot(wall.to.x - wall.from.x, wall.to.y - wall.from.y);
        start = {wall.from.x, wall.from.y, 0};
        way = {(wall.to.x - wall.from.x) / length, (wall.to.y - wall.from.y) / length, 0};
        left = {-way.y, way.x, 0};
    }
    [[nodiscard]] Vector At(double along, double aside, double z) const {
        return start + way * along + left * aside + Vector{0, 0, z};
    }
};

// Both faces of a wall, and what closes them at its ends.
void AddFaces(HouseScene& house, const HouseWall& wall, const WallPlaces& places) {
    const double half = wall.thickness / 2;
    const Vector along = places.way * places.length, up{0, 0, wall.top - wall.base};
    for (const double aside : {-half, half}) {
        RaySurface& face = house.AddRectangle(places.At(0, aside, wall.base), along, up);
        face.waviness = wall.waviness;
        for (const HouseOpening& hole : wall.openings)
            face.holes.push_back({hole.along - hole.width / 2, hole.bottom - wall.base,
                                  hole.along + hole.width / 2,
                                  hole.bottom + hole.height - wall.base});
        for (const HouseWall::Gable& gable : wall.gables)
            for (const double side : {-1.0, 1.0})
                face.cuts.push_back({side * gable.rise, 1,
                                     gable.height - wall.base + side * gable.rise * gable.along});
    }
    const Vector across = places.left * wall.thickness;
    house.AddRectangle(places.At(0, -half, wall.base), across, up);
    house.AddRectangle(places.At(places.length, -half, wall.base), across, up);
}

void AddReveals(HouseScene& house, const HouseWall& wall, const HouseOpening& hole,
                const WallPlaces& places) {
    const double half = wall.thickness / 2;
    const double begin = hole.along - hole.width / 2, end = hole.along + hole.width / 2;
    const Vector across = places.left * wall.thickness, up{0, 0, hole.height};
    house.AddRectangle(places.At(begin, -half, hole.bottom), across, up);
    house.AddRectangle(places.At(end, -half, hole.bottom), across, up);
    const Vector along = places.way * hole.width;
    house.AddRectangle(places.At(begin, -half, hole.bottom + hole.height), along, across);
    if (hole.bottom > wall.base)
        house.AddRectangle(places.At(begin, -half, hole.bottom), along, across);
}

// A box on a wall's own axes.
void AddSlab(HouseScene& house, const WallPlaces& places, double along, double aside, double z,
             double width, double depth, double height) {
    const Vector w = places.way * width, d = places.left * depth, h{0, 0, height};
    for (const double shift : {0.0, 1.0}) {
        house.AddRectangle(places.At(along, aside + shift * depth, z), w, h);
        house.AddRectangle(places.At(along + shift * width, aside, z), d, h);
        house.AddRectangle(places.At(along, aside, z + shift * height), w, d);
    }
}

void AddFill(HouseScene& house, const HouseWall& wall, const HouseOpening& hole,
             const WallPlaces& places) {
    const double half = wall.thickness / 2;
    const double begin = hole.along - hole.width / 2, end = hole.along + hole.width / 2;
    switch (hole.fill) {
        case Fill::Nothing:
            return;
        case Fill::OpenLeaf:
            AddSlab(house, places, end - kLeaf, half, hole.bottom, kLeaf, hole.width - 0.02,
                    hole.height - 0.02);
            return;
        case Fill::ClosedLeaf:
            AddSlab(house, places, begin, -half + kLeafBehind, hole.bottom, hole.width, kLeaf,
                    hole.height);
            return;
        case Fill::Pane:
            house
                .AddRectangle(places.At(begin, 0, hole.bottom), places.way * hole.width,
                              {0, 0, hole.height})
                .passes = kPasses;
            return;
    }
}

}  // namespace

RaySurface& HouseScene::AddRectangle(const Vector& corner, const Vector& along, const Vector& up) {
    RaySurface surface;
    surface.corner = corner;
    surface.width = detail::Length(along);
    surface.height = detail::Length(up);
    surface.u = along * (1 / surface.width);
    surface.v = up * (1 / surface.height);
    scene_.surfaces.push_back(surface);
    return scene_.surfaces.back();
}

void HouseScene::AddWall(const HouseWall& wall) {
    const WallPlaces places(wall);
    AddFaces(*this, wall, places);
    for (const HouseOpening& hole : wall.openings) {
        AddReveals(*this, wall, hole, places);
        AddFill(*this, wall, hole, places);
    }
}

void HouseScene::AddLevel(const SimplePoint2DT<double>& low, const SimplePoint2DT<double>& high,
                          double z, const std::vector<Well>& wells) {
    RaySurface& level =
        AddRectangle({low.x, low.y, z}, {high.x - low.x, 0, 0}, {0, high.y - low.y, 0});
    for (const Well& well : wells)
        level.holes.push_back(
            {well.low.x - low.x, well.low.y - low.y, well.high.x - low.x, well.high.y - low.y});
}

void HouseScene::AddBox(const Vector& low, const Vector& high) {
    const Vector size = high - low;
    for (const double shift : {0.0, 1.0}) {
        AddRectangle(low + Vector{0, shift * size.y, 0}, {size.x, 0, 0}, {0, 0, size.z});
        AddRectangle(low + Vector{shift * size.x, 0, 0}, {0, size.y, 0}, {0, 0, size.z});
        AddRectangle(low + Vector{0, 0, shift * size.z}, {size.x, 0, 0}, {0, size.y, 0});
    }
}

void HouseScene::AddBall(const Vector& centre, double radius) {
    scene_.balls.push_back({centre, radius});
}

}  // namespace orvix::test
