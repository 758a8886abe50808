// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/synthetic_building.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "orvix/platform/file.h"
#include "support/dice.h"
#include "support/scans/las_writer.h"

namespace orvix::test {
namespace {

using detail::Cross, detail::Dot, detail::Unit, detail::Vector;
using detail::operator+, detail::operator*;

constexpr double kRoomX = 5, kRoomY = 4.2, kStorey = 3.2;  // metres from axis to axis
constexpr double kDoorWidth = 0.95, kDoorHeight = 2.05;
constexpr double kLeastPlane = 0.5;  // square metres
constexpr double kLasScale = 0.0001;

// Four sorts of rooms, so that those that meet at a corner differ as well, and every storey differs
// from the one below.
int SortOf(int x, int y) {
    return x % 2 + y % 2 * 2;
}
// From the axis to the room's face.
double WallOf(int x, int y, int storey) {
    return 0.08 + 0.05 * SortOf(x, y) + 0.2 * (storey % 2);
}

}  // namespace

SyntheticBuilding::SyntheticBuilding(const BuildingOptions& options)
    : options_(options), state_(options.seed * 0x2545F4914F6CDD1DULL + 1) {
    const double radians = std::numbers::pi / 180;
    turn_ = {std::cos(options.bearing * radians), std::sin(options.bearing * radians),
             std::cos(options.tilt * radians), std::sin(options.tilt * radians)};
    for (int storey = 0; storey < options.storeys; ++storey) {
        const std::int32_t floor = NewPlane({0, 0, 1}, {0, 0, storey * kStorey});
        for (int x = 0; x < options.roomsX; ++x)
            for (int y = 0; y < options.roomsY; ++y) AddRoom(x, y, storey, floor);
    }
    AddShell();
}

double SyntheticBuilding::Random(double low, double high) {
    return low + (high - low) * Dice(state_).Share();
}

Vector SyntheticBuilding::Turned(const Vector& p) const {
    const auto& [cb, sb, ct, st] = turn_;
    const Vector q{cb * p.x - sb * p.y, sb * p.x + cb * p.y, p.z};
    return {q.x, ct * q.y - st * q.z, st * q.y + ct * q.z};
}

Vector SyntheticBuilding::Placed(const Vector& p) const {
    return Turned(p) + options_.shift;
}

std::int32_t SyntheticBuilding::NewPlane(const Vector& normal, const Vector& through) {
    TruePlane plane;
    plane.normal = Turned(normal);
    plane.offset = -Dot(plane.normal, Placed(through));
    planes_.push_back(plane);
    return static_cast<std::int32_t>(planes_.size() - 1);
}

SyntheticBuilding::Face& SyntheticBuilding::AddFace(const Vector& corner, const Vector& u,
                                                    double width, const Vector& v, double height,
                                                    std::int32_t plane) {
    faces_.push_back({corner, u, v, width, height, {}, 0, 1, plane});
    if (plane >= 0) planes_[static_cast<std::size_t>(plane)].area += width * height;
    return faces_.back();
}

void SyntheticBuilding::AddBox(const Vector& low, const Vector& high, double density) {
    const Vector size{high.x - low.x, high.y - low.y, high.z - low.z};
    const Vector x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    const auto side = [&](const Vector& corner, const Vector& u, double width, const Vector& v,
                          double height) {
        const bool counts = width * height >= kLeastPlane;
        const std::int32_t plane = counts ? NewPlane(Cross(u, v), corner) : -1;
        AddFace(corner, u, width, v, height, plane).density = density;
    };
    side(low, x, size.x, z, size.z);
    side({low.x, high.y, low.z}, x, size.x, z, size.z);
    side(low, y, size.y, z, size.z);
    side({high.x, low.y, low.z}, y, size.y, z, size.z);
    side({low.x, low.y, high.z}, x, size.x, y, size.y);
}

// Cabinets along a wall, a table, a pillar in every other room, and round things.
void SyntheticBuilding::Furnish(const Vector& low, const Vector& high, double density) {
    const double depth = Random(0.4, 0.6), width = Random(0.9, 1.6);
    const double at = Random(low.x + 0.3, high.x - 0.3 - width);
    AddBox({at, high.y - depth - 0.12, low.z}, {at + width, high.y - 0.12, low.z + Random(1.2, 2)},
           density);
    const Vector table{Random(low.x + 1, high.x - 2.2), Random(low.y + 0.9, high.y - 2), low.z};
    AddBox({table.x, table.y, low.z + 0.68}, {table.x + 1.2, table.y + 0.7, low.z + 0.74}, density);
    if (Random(0, 1) < 0.5) {
        const Vector foot{high.x - 1.1, low.y + 0.9, low.z};
        AddBox(foot, {foot.x + 0.45, foot.y + 0.45, high.z}, density);
    }
    for (int i = 0; i < 4; ++i) {
        const double radius = Random(0.1, 0.3);
        balls_.push_back({{Random(low.x + 0.4, high.x - 0.4), Random(low.y + 0.4, high.y - 0.4),
                           low.z + Random(radius, 1.6)},
                          radius,
                          density});
    }
}

void SyntheticBuilding::AddRoom(int x, int y, int storey, std::int32_t floor) {
    const double wall = WallOf(x, y, storey);
    const double density = std::pow(options_.densityRange, Random(-1, 1));
    const Vector low{x * kRoomX + wall, y * kRoomY + wall, storey * kStorey};
    const Vector high{(x + 1) * kRoomX - wall, (y + 1) * kRoomY - wall,
                      low.z + 2.5 + 0.1 * SortOf(x, y)};
    const double dx = high.x - low.x, dy = high.y - low.y, dz = high.z - low.z;
    const Vector ux{1, 0, 0}, uy{0, 1, 0}, uz{0, 0, 1};
    AddFace(low, ux, dx, uy, dy, floor).density = density;
    AddFace({low.x, low.y, high.z}, ux, dx, uy, dy, NewPlane({0, 0, -1}, high)).density = density;
    const auto addWall = [&](const Vector& corner, const Vector& u, double width,
                             const Vector& normal, bool door, bool window) {
        Face& face = AddFace(corner, u, width, uz, dz, NewPlane(normal, corner));
        face.density = density;
        // Doors stand at the same place of the axis on both sides of the wall.
        const double start = 1.6 - wall;
        if (door) face.holes.push_back({start, 0, start + kDoorWidth, kDoorHeight});
        if (window) face.holes.push_back({width - 2.2, 0.9, width - 0.8, 2.1});
    };
    const bool west = x == 0, east = x == options_.roomsX - 1;
    const bool south = y == 0, north = y == options_.roomsY - 1;
    addWall(low, ux, dx, {0, 1, 0}, !south, south);
    addWall({low.x, high.y, low.z}, ux, dx, {0, -1, 0}, !north, north);
    addWall(low, uy, dy, {1, 0, 0}, !west, west);
    addWall({high.x, low.y, low.z}, uy, dy, {-1, 0, 0}, !east, east);
    // The floor runs through the doors to the east and the north.
    const double east2 = WallOf(x + 1, y, storey), north2 = WallOf(x, y + 1, storey);
    if (!east)
        AddFace({high.x, y * kRoomY + 1.6, low.z}, ux, wall + east2, uy, kDoorWidth, floor)
            .density = density;
    if (!north)
        AddFace({x * kRoomX + 1.6, high.y, low.z}, ux, kDoorWidth, uy, wall + north2, floor)
            .density = density;
    Furnish(low, high, density);
}

// Outer walls with windows, gables, two slopes that overhang, and the ground around it all.
void SyntheticBuilding::AddShell() {
    const double out = 0.35;
    const double dx = options_.roomsX * kRoomX, dy = options_.roomsY * kRoomY;
    const double eaves = options_.storeys * kStorey;
    const Vector low{-out, -out, -0.15}, high{dx + out, dy + out, eaves};
    const double width = high.x - low.x, depth = high.y - low.y, height = eaves + 0.15;
    const Vector ux{1, 0, 0}, uy{0, 1, 0}, uz{0, 0, 1};
    const auto addWall = [&](const Vector& corner, const Vector& u, double length, double room,
                             int rooms, const Vector& normal) {
        const std::int32_t plane = NewPlane(normal, corner);
        Face& face = AddFace(corner, u, length, uz, height, plane);
        for (int i = 0; i < rooms; ++i)
            for (int storey = 0; storey < options_.storeys; ++storey)
                face.holes.push_back({(i + 1) * room - 2.2 + out, storey * kStorey + 1.05,
                                      (i + 1) * room - 0.8 + out, storey * kStorey + 2.25});
        return plane;
    };
    addWall(low, ux, width, kRoomX, options_.roomsX, {0, -1, 0});
    addWall({low.x, high.y, low.z}, ux, width, kRoomX, options_.roomsX, {0, 1, 0});
    const double rise = 0.6;  // metres up for each metre in
    const double ridge = depth / 2 * rise;
    for (const double x : {low.x, high.x}) {
        const Vector normal{x == low.x ? -1.0 : 1.0, 0, 0};
        const std::int32_t plane =
            addWall({x, low.y, low.z}, uy, depth, kRoomY, options_.roomsY, normal);
        Face& gable = AddFace({x, low.y, eaves}, uy, depth, uz, ridge, plane);
        gable.slope = 1 / rise;
        planes_[static_cast<std::size_t>(plane)].area -= depth * ridge / 2;
    }
    const double over = 0.4;
    for (const double side : {1.0, -1.0}) {
        const Vector up = Unit({0, side, rise});
        const Vector normal = Unit({0, -side * rise, 1});
        const double y = side > 0 ? low.y - over : high.y + over;
        const Vector corner{low.x - over, y, eaves - over * rise};
        const double length = (depth / 2 + over) / std::abs(up.y);
        AddFace(corner, ux, width + 2 * over, up, length, NewPlane(normal, corner));
    }
    const double around = 6;
    const std::int32_t ground = NewPlane({0, 0, 1}, {0, 0, low.z});
    Face& plot = AddFace({low.x - around, low.y - around, low.z}, ux, width + 2 * around, uy,
                         depth + 2 * around, ground);
    plot.holes.push_back({around, around, around + width, around + depth});
    plot.density = 0.5;
}

void SyntheticBuilding::Scan(const std::function<void(const ScannedPoint&)>& take) const {
    double weight = 0;
    const auto weightOf = [](const Face& face) { return face.width * face.height * face.density; };
    for (const Face& face : faces_) weight += weightOf(face);
    for (const Ball& ball : balls_)
        weight += 4 * std::numbers::pi * ball.radius * ball.radius * ball.density;
    const auto total = static_cast<double>(options_.points);
    const double perWeight = total * (1 - options_.outlierShare) / weight;
    std::uint64_t state = state_ ^ 0xD1B54A32D192ED03ULL;
    Dice dice(state);
    for (const Face& face : faces_) {
        const auto count = static_cast<std::uint64_t>(weightOf(face) * perWeight);
        const Vector normal = Unit(Cross(face.u, face.v));
        for (std::uint64_t i = 0; i < count; ++i) {
            const double s = dice.Share() * face.width, t = dice.Share() * face.height;
            const double noise = dice.Normal() * options_.noise;
            const auto inHole = [&](const Rect& r) {
                return s > r.left && s < r.right && t > r.bottom && t < r.top;
            };
            if (std::any_of(face.holes.begin(), face.holes.end(), inHole)) continue;
            if (s < t * face.slope || face.width - s < t * face.slope) continue;
            take({Placed(face.corner + face.u * s + face.v * t + normal * noise), face.plane});
        }
    }
    for (const Ball& ball : balls_) {
        const auto count = static_cast<std::uint64_t>(4 * std::numbers::pi * ball.radius *
                                                      ball.radius * ball.density * perWeight);
        for (std::uint64_t i = 0; i < count; ++i) {
            const Vector to{dice.Normal(), dice.Normal(), dice.Normal()};
            take({Placed(ball.centre + Unit(to) * (ball.radius + dice.Normal() * options_.noise)),
                  -1});
        }
    }
    const auto strays = static_cast<std::uint64_t>(total * options_.outlierShare);
    const double dx = options_.roomsX * kRoomX, dy = options_.roomsY * kRoomY;
    for (std::uint64_t i = 0; i < strays; ++i)
        take({Placed({dice.Share() * dx, dice.Share() * dy,
                      dice.Share() * options_.storeys * kStorey}),
              -1});
}

std::vector<ScannedPoint> SyntheticBuilding::Scan() const {
    std::vector<ScannedPoint> points;
    Scan([&points](const ScannedPoint& p) { points.push_back(p); });
    return points;
}

void WriteScan(const SyntheticBuilding& building, const CString& path) {
    std::uint64_t points = 0;
    SimplePointT<double> low{1e300, 1e300, 1e300};
    building.Scan([&](const ScannedPoint& p) {
        ++points;
        low = {std::min(low.x, p.position.x), std::min(low.y, p.position.y),
               std::min(low.z, p.position.z)};
    });
    LasLayout layout;
    layout.minorVersion = points > std::numeric_limits<std::uint32_t>::max() ? 4 : 2;
    layout.scale = {kLasScale, kLasScale, kLasScale};
    layout.offset = {std::floor(low.x), std::floor(low.y), std::floor(low.z)};
    std::error_code error;
    platform::File file = platform::File::Create(path, error);
    std::vector<std::uint8_t> bytes = LasHeaderOf(layout, points);
    const auto steps = [](double value, double offset) {
        return static_cast<std::int32_t>(std::lround((value - offset) / kLasScale));
    };
    building.Scan([&](const ScannedPoint& p) {
        LasPoint point;
        point.x = steps(p.position.x, layout.offset[0]);
        point.y = steps(p.position.y, layout.offset[1]);
        point.z = steps(p.position.z, layout.offset[2]);
        point.intensity = static_cast<std::uint16_t>(p.plane + 1);
        AppendLasPoint(layout, point, bytes);
        if (bytes.size() < (std::size_t{4} << 20)) return;
        file.Append(bytes.data(), bytes.size(), error);
        bytes.clear();
    });
    file.Append(bytes.data(), bytes.size(), error);
    file.Close(error);
}

}  // namespace orvix::test
