// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/geometry/vector.h"
#include "orvix/platform/text.h"
#include "support/scenes/true_plane.h"

namespace orvix::test {

/// A building to scan: storeys of rooms, and what stands in them.
struct BuildingOptions {
    std::uint32_t seed = 1;
    std::uint64_t points = 500'000;  ///< of the scan, about
    int storeys = 2;
    int roomsX = 3;
    int roomsY = 2;
    double noise = 0.003;         ///< metres, standard deviation along the surface's normal
    double outlierShare = 0.005;  ///< of the points, anywhere in the building's bounds
    double densityRange = 2;      ///< rooms are scanned up to so many times as dense, or as thin
    double bearing = 0;           ///< degrees that the building is turned about the z axis
    double tilt = 0;              ///< degrees that it is then turned about the x axis
    SimplePointT<double> shift = {};  ///< metres that it is then moved
};

/// A building of known planes and a scan of it: rooms with doors and windows, pillars, cabinets and
/// tables, round clutter, outer walls, a roof of two slopes with gables, and the ground around.
///
/// Neighbouring rooms differ in height and in how thick their walls are, so that no two of them
/// share a plane but the floor, which runs through the doors. What is smaller than half a square
/// metre belongs to no plane.
///
///     const SyntheticBuilding building({.seed = 7, .noise = 0.005});
///     building.Scan([](const ScannedPoint& p) { ... });
///
/// Order  the same options give the same building and the same points in the same order.
class SyntheticBuilding {
public:
    explicit SyntheticBuilding(const BuildingOptions& options);

    [[nodiscard]] const std::vector<TruePlane>& Planes() const { return planes_; }
    void Scan(const std::function<void(const ScannedPoint&)>& take) const;
    [[nodiscard]] std::vector<ScannedPoint> Scan() const;

private:
    using Vector = detail::Vector;
    struct Rect {
        double left, bottom, right, top;
    };
    /// A rectangle corner + s u + t v, s and t up to `width` and `height`, without its holes.
    struct Face {
        Vector corner, u, v;
        double width = 0, height = 0;
        std::vector<Rect> holes;
        double slope = 0;  ///< a gable: above t = 0 the sides close in by so much per metre
        double density = 1;
        std::int32_t plane = -1;
    };
    struct Ball {
        Vector centre;
        double radius = 0;
        double density = 1;
    };

    std::int32_t NewPlane(const Vector& normal, const Vector& through);
    Face& AddFace(const Vector& corner, const Vector& u, double width, const Vector& v,
                  double height, std::int32_t plane);
    void AddBox(const Vector& low, const Vector& high, double density);
    void AddRoom(int x, int y, int storey, std::int32_t floor);
    void AddShell();
    void Furnish(const Vector& low, const Vector& high, double density);
    [[nodiscard]] Vector Placed(const Vector& p) const;
    [[nodiscard]] Vector Turned(const Vector& p) const;
    [[nodiscard]] double Random(double low, double high);

    BuildingOptions options_;
    std::uint64_t state_ = 0;
    std::vector<TruePlane> planes_;
    std::vector<Face> faces_;
    std::vector<Ball> balls_;
    std::array<double, 4> turn_{};  // cosine and sine of the bearing, then of the tilt
};

/// Writes the scan as LAS, the intensity being the plane's number counted from 1, 0 for none.
void WriteScan(const SyntheticBuilding& building, const CString& path);

}  // namespace orvix::test
