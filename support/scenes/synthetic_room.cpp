// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/synthetic_room.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <numbers>
#include <string>

#include "orvix/platform/file.h"
#include "support/dice.h"
#include "support/scans/ptx_writer.h"

namespace orvix::test {
namespace {

using detail::Cross, detail::Dot, detail::Unit, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr Vector kX{1, 0, 0}, kY{0, 1, 0}, kZ{0, 0, 1};
constexpr Vector kAgainstX{-1, 0, 0}, kAgainstY{0, -1, 0};

// The room lies between 0 and these; its south wall parts it from the corridor.
constexpr double kWidth = 5, kDepth = 4, kHeight = 2.6;
constexpr double kCorridorWidth = 1.5, kCorridorHeight = 2.4;
constexpr double kCorridorWest = -0.5, kCorridorEast = 6;
constexpr double kDoorWidth = 0.9, kDoorHeight = 2.05;
constexpr double kOpenDoor = 0.8;    // x where the open door begins, in the south wall
constexpr double kClosedDoor = 2.6;  // y where the closed door begins, in the east wall
constexpr double kCasing = 0.07, kCasingDepth = 0.015;
constexpr RaySurface::Rect kWindow{1.5, 0.9, 3.1, 2.2};  // x and z, in the north wall
constexpr double kSkirtingHeight = 0.08;
constexpr double kColumn = 0.3;  // in the corner of the south and the east wall
constexpr double kCabinetFrom = 0.8, kCabinetTo = 2.0;  // y, along the west wall

constexpr double kLeastArea = 0.02, kLeastWidth = 0.0395;
constexpr double kSpare = 0.05;  // that shells reach past their corners, which waves would open

constexpr std::array<Vector, 4> kStations{
    {{2.0, 2.9, 1.5}, {4.3, 2.8, 1.45}, {2.5, -0.9, 1.5}, {2.3, 0.8, 1.55}}};

/// The panels of a door leaf, an upper and a lower one.
std::vector<RaySurface::Panel> PanelsOf(double width, double height, double relief) {
    if (relief == 0) return {};
    return {{{0.14, 0.2, width - 0.14, 0.85}, -relief},
            {{0.14, 1.1, width - 0.14, height - 0.16}, -relief}};
}

}  // namespace

SyntheticRoom::SyntheticRoom(const RoomOptions& options)
    : options_(options), state_(options.seed * 0x2545F4914F6CDD1DULL + 1) {
    floor_ = NewPlane(kZ, {0, 0, 0});
    BuildRoom();
    BuildCorridor();
    BuildOpenDoor();
    BuildClosedDoor();
    BuildWindow();
    if (options_.skirting > 0) BuildSkirtings();
    if (options_.furniture) Furnish();
    PlaceStations();
}

double SyntheticRoom::Random(double low, double high) {
    return low + (high - low) * Dice(state_).Share();
}

std::int32_t SyntheticRoom::NewPlane(const Vector& normal, const Vector& through) {
    planes_.push_back({normal, -Dot(normal, through), 0});
    return static_cast<std::int32_t>(planes_.size() - 1);
}

RaySurface& SyntheticRoom::Add(const Vector& corner, const Vector& u, double width, const Vector& v,
                               double height, std::int32_t plane) {
    RaySurface surface;
    surface.corner = corner;
    surface.u = u;
    surface.v = v;
    surface.width = width;
    surface.height = height;
    surface.plane = plane;
    if (plane >= 0) planes_[static_cast<std::size_t>(plane)].area += width * height;
    scene_.surfaces.push_back(std::move(surface));
    return scene_.surfaces.back();
}

RaySurface& SyntheticRoom::AddFace(const Vector& corner, const Vector& u, double width,
                                   const Vector& v, double height) {
    const bool judged = width * height >= kLeastArea && std::min(width, height) >= kLeastWidth;
    return Add(corner, u, width, v, height,
               judged ? NewPlane(Cross(u, v), corner) : kUnjudgedPlane);
}

/// A wall, ceiling or floor: bent, and reaching past its corners, so that its own begin at kSpare.
RaySurface& SyntheticRoom::AddShell(const Vector& corner, const Vector& u, double width,
                                    const Vector& v, double height, Shape shape) {
    RaySurface& surface = shape == Shape::Floor
                              ? Add(corner, u, width, v, height, floor_)
                              : Add(corner, u, width, v, height, NewPlane(Cross(u, v), corner));
    surface.corner = corner - u * kSpare - v * kSpare;
    surface.width = width + 2 * kSpare;
    surface.height = height + 2 * kSpare;
    surface.waviness = shape == Shape::Floor ? options_.waviness / 2 : options_.waviness;
    surface.warp = shape == Shape::Wall ? options_.warp : 0;
    surface.phaseS = Random(0, 2 * std::numbers::pi);
    surface.phaseT = Random(0, 2 * std::numbers::pi);
    return surface;
}

void SyntheticRoom::AddBox(const Vector& low, const Vector& high) {
    const Vector size = high - low;
    AddFace(low, kX, size.x, kZ, size.z);
    AddFace({high.x, high.y, low.z}, kAgainstX, size.x, kZ, size.z);
    AddFace({low.x, high.y, low.z}, kAgainstY, size.y, kZ, size.z);
    AddFace({high.x, low.y, low.z}, kY, size.y, kZ, size.z);
    AddFace({low.x, low.y, high.z}, kX, size.x, kY, size.y);
    AddFace({low.x, high.y, low.z}, kX, size.x, kAgainstY, size.y);
}

void SyntheticRoom::BuildRoom() {
    const auto cut = [this](RaySurface& wall, double from, double bottom, double to, double top) {
        planes_[static_cast<std::size_t>(wall.plane)].area -= (to - from) * (top - bottom);
        wall.holes.push_back(
            {from + kSpare, bottom == 0 ? -1 : bottom + kSpare, to + kSpare, top + kSpare});
    };
    AddShell({0, 0, 0}, kX, kWidth, kY, kDepth, Shape::Floor);
    AddShell({0, kDepth, kHeight}, kX, kWidth, kAgainstY, kDepth, Shape::Flat);
    RaySurface& south = AddShell({kWidth, 0, 0}, kAgainstX, kWidth, kZ, kHeight, Shape::Wall);
    cut(south, kWidth - kOpenDoor - kDoorWidth, 0, kWidth - kOpenDoor, kDoorHeight);
    RaySurface& north = AddShell({0, kDepth, 0}, kX, kWidth, kZ, kHeight, Shape::Wall);
    cut(north, kWindow.left, kWindow.bottom, kWindow.right, kWindow.top);
    RaySurface& east = AddShell({kWidth, kDepth, 0}, kAgainstY, kDepth, kZ, kHeight, Shape::Wall);
    cut(east, kDepth - kClosedDoor - kDoorWidth, 0, kDepth - kClosedDoor, kDoorHeight);
    AddShell({0, 0, 0}, kY, kDepth, kZ, kHeight, Shape::Wall);
}

void SyntheticRoom::BuildCorridor() {
    const double north = -options_.reveal, south = north - kCorridorWidth;
    const double length = kCorridorEast - kCorridorWest;
    AddShell({kCorridorWest, south, 0}, kX, length, kY, kCorridorWidth, Shape::Floor);
    AddShell({kCorridorWest, north, kCorridorHeight}, kX, length, kAgainstY, kCorridorWidth,
             Shape::Flat);
    AddShell({kCorridorEast, south, 0}, kAgainstX, length, kZ, kCorridorHeight, Shape::Wall);
    RaySurface& back =
        AddShell({kCorridorWest, north, 0}, kX, length, kZ, kCorridorHeight, Shape::Wall);
    const double door = kOpenDoor - kCorridorWest;
    back.holes.push_back({door + kSpare, -1, door + kDoorWidth + kSpare, kDoorHeight + kSpare});
    planes_[static_cast<std::size_t>(back.plane)].area -= kDoorWidth * kDoorHeight;
    AddShell({kCorridorWest, south, 0}, kY, kCorridorWidth, kZ, kCorridorHeight, Shape::Wall);
    AddShell({kCorridorEast, north, 0}, kAgainstY, kCorridorWidth, kZ, kCorridorHeight,
             Shape::Wall);
}

void SyntheticRoom::BuildOpenDoor() {
    const double reveal = options_.reveal, from = kOpenDoor, to = kOpenDoor + kDoorWidth;
    Add({from, -reveal, 0}, kX, kDoorWidth, kY, reveal, floor_);
    AddFace({from, -reveal, 0}, kY, reveal, kZ, kDoorHeight);
    AddFace({to, 0, 0}, kAgainstY, reveal, kZ, kDoorHeight);
    AddFace({from, 0, kDoorHeight}, kX, kDoorWidth, kAgainstY, reveal);
    if (options_.frames) {
        RaySurface& casing = AddFace({to + kCasing, kCasingDepth, 0}, kAgainstX,
                                     kDoorWidth + 2 * kCasing, kZ, kDoorHeight + kCasing);
        casing.holes.push_back({kCasing, -1, kCasing + kDoorWidth, kDoorHeight});
        planes_[static_cast<std::size_t>(casing.plane)].area -= kDoorWidth * kDoorHeight;
    }
    // The leaf stands 74 degrees open, hinged at the door's east side.
    const Vector along{-0.28, 0.96, 0}, across{0.96, 0.28, 0};
    const double width = 0.88, height = 2.03, thickness = 0.04;
    const Vector hinge{to, 0.02, 0.01};
    AddFace(hinge + along * width, along * -1, width, kZ, height).panels =
        PanelsOf(width, height, options_.relief);
    AddFace(hinge + across * thickness, along, width, kZ, height).panels =
        PanelsOf(width, height, options_.relief);
    AddFace(hinge + along * width + across * thickness, across * -1, thickness, kZ, height);
    AddFace(hinge, across, thickness, kZ, height);
}

void SyntheticRoom::BuildClosedDoor() {
    const double reveal = options_.reveal, from = kClosedDoor, to = kClosedDoor + kDoorWidth;
    Add({kWidth, from, 0}, kX, reveal, kY, kDoorWidth, floor_);
    AddFace({kWidth + reveal, from, 0}, kAgainstX, reveal, kZ, kDoorHeight);
    AddFace({kWidth, to, 0}, kX, reveal, kZ, kDoorHeight);
    AddFace({kWidth, to, kDoorHeight}, kX, reveal, kAgainstY, kDoorWidth);
    AddFace({kWidth + reveal, to, 0}, kAgainstY, kDoorWidth, kZ, kDoorHeight).panels =
        PanelsOf(kDoorWidth, kDoorHeight, options_.relief);
    if (!options_.frames) return;
    RaySurface& casing = AddFace({kWidth - kCasingDepth, to + kCasing, 0}, kAgainstY,
                                 kDoorWidth + 2 * kCasing, kZ, kDoorHeight + kCasing);
    casing.holes.push_back({kCasing, -1, kCasing + kDoorWidth, kDoorHeight});
    planes_[static_cast<std::size_t>(casing.plane)].area -= kDoorWidth * kDoorHeight;
}

void SyntheticRoom::BuildWindow() {
    const auto [left, bottom, right, top] = kWindow;
    const double reveal = options_.reveal, width = right - left, height = top - bottom;
    const double back = kDepth + reveal;
    AddFace({left, kDepth, bottom}, kY, reveal, kZ, height);
    AddFace({right, back, bottom}, kAgainstY, reveal, kZ, height);
    AddFace({left, back, top}, kX, width, kAgainstY, reveal);
    AddBox({left - 0.05, kDepth - 0.05, bottom - 0.02}, {right + 0.05, back, bottom + 0.01});
    if (options_.frames) {
        const double rim = 0.07, half = width / 2 - 1.5 * rim;
        RaySurface& frame = AddFace({left, back, bottom}, kX, width, kZ, height);
        frame.holes = {{rim, rim, rim + half, height - rim},
                       {width - rim - half, rim, width - rim, height - rim}};
        planes_[static_cast<std::size_t>(frame.plane)].area -= 2 * half * (height - 2 * rim);
    }
    Add({left, back + 0.02, bottom}, kX, width, kZ, height, kUnjudgedPlane).passes = options_.glass;
    // Outside: a yard and the front of another house.
    Add({-4, back + 0.3, -0.3}, kX, 14, kY, 6, kUnjudgedPlane);
    Add({-4, back + 6.3, -0.3}, kX, 14, kZ, 7, kUnjudgedPlane);
}

void SyntheticRoom::BuildSkirtings() {
    const double depth = options_.skirting, height = kSkirtingHeight;
    const double beside = options_.frames ? kCasing : 0;
    const bool furnished = options_.furniture;
    const auto along = [&](double x0, double y0, double x1, double y1) {
        AddBox({x0, y0, 0}, {x1, y1, height});
    };
    const double eastEnd = furnished ? kWidth - kColumn : kWidth;
    along(0, 0, kOpenDoor - beside, depth);
    along(kOpenDoor + kDoorWidth + beside, 0, eastEnd, depth);
    along(0, kDepth - depth, kWidth, kDepth);
    along(kWidth - depth, furnished ? kColumn : 0, kWidth, kClosedDoor - beside);
    along(kWidth - depth, kClosedDoor + kDoorWidth + beside, kWidth, kDepth);
    along(0, 0, depth, furnished ? kCabinetFrom : kDepth);
    if (furnished) along(0, kCabinetTo, depth, kDepth);
}

void SyntheticRoom::Furnish() {
    AddBox({kWidth - kColumn, 0, 0}, {kWidth, kColumn, kHeight});
    AddBox({0, kDepth - 0.3, kHeight - 0.25}, {kWidth, kDepth, kHeight});  // a duct
    AddBox({0, kCabinetFrom, 0}, {0.45, kCabinetTo, 1.9});                 // a cabinet
    AddBox({0, 2.4, 1.4}, {0.25, 3.4, 1.43});                              // a board
    AddBox({1.7, kDepth - 0.14, 0.15}, {2.9, kDepth - 0.06, 0.7});         // a radiator
    AddBox({kWidth - 0.03, 0.9, 1.2}, {kWidth, 1.6, 1.7});                 // a picture
    AddBox({2.6, 1.4, 0.72}, {4, 2.2, 0.75});                              // a table
    for (const double x : {2.65, 3.92})
        for (const double y : {1.45, 2.12}) AddBox({x, y, 0}, {x + 0.03, y + 0.03, 0.72});
    AddBox({3.0, 1.6, 0.75}, {3.3, 1.8, 0.9});
    AddBox({3.6, 1.9, 0.75}, {3.76, 2.04, 0.87});
    AddBox({2.9, 2.5, 0.43}, {3.32, 2.92, 0.47});  // a chair
    AddFace({2.9, 2.9, 0.5}, kX, 0.42, Unit({0, 0.2, 1}), 0.4);
    AddFace({3.9, 0.5, 0}, kAgainstX, 0.5, Unit({0, -0.46, 1.2}), 1.28);  // leans there
    scene_.balls = {{{2.5, 2, 2.25}, 0.15},
                    {{0.6, 3.4, 0.3}, 0.2},
                    {{0.55, 3.3, 0.7}, 0.25},
                    {{0.7, 3.45, 1.0}, 0.18},
                    {{3.1, 2.7, 0.6}, 0.12}};
}

void SyntheticRoom::PlaceStations() {
    const int count = std::clamp(options_.stations, 1, static_cast<int>(kStations.size()));
    for (int i = 0; i < count; ++i) {
        RayOptions station;
        station.seed = options_.seed * 1000003ULL + static_cast<std::uint64_t>(i) + 1;
        station.step = options_.step;
        station.noise = options_.noise;
        station.beam = options_.mixedPixels ? station.beam : 0;
        station.station = kStations[static_cast<std::size_t>(i)];
        const Vector to{Random(-1, 1), Random(-1, 1), Random(-1, 1)};
        station.displacement = Unit(to) * options_.registration;
        stations_.push_back(station);
    }
}

void SyntheticRoom::Scan(const std::function<void(const ScannedPoint&)>& take) const {
    for (const RayOptions& station : stations_)
        RayScan(scene_, station, [&take](const RayReturn& r) {
            if (r.hit) take(r.point);
        });
}

void WritePtx(const SyntheticRoom& room, const CString& path) {
    WritePtx(room.Scene(), room.Stations(), path);
}

std::int32_t PlaneOfColour(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    const std::int32_t number = red << 16 | green << 8 | blue;
    return number == 0xFFFFFF ? kUnjudgedPlane : number - 1;
}

}  // namespace orvix::test
