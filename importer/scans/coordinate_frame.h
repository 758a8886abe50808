// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "importer/import_options.h"
#include "importer/scans/scan_pose.h"
#include "orvix/points/records.h"

namespace orvix::importer {

/// Local coordinates of this magnitude or more are out of range: a float there is coarser than
/// half a metre.
inline constexpr double kMaxLocal = 1e7;  // BEHAVIOUR I2
/// World coordinates beyond this magnitude (metres) are no position on any map; the origin does not
/// depend on them.
inline constexpr double kMaxWorld = 1e12;
/// From here on a float's step exceeds 0.1 mm.
inline constexpr double kFineLocal = 1024.0;

/// Converts an input's coordinates to world coordinates: metres, z up.
///
/// Units      millimetres and centimetres are divided by 1000 and 100, feet multiplied by 0.3048,
///            US survey feet by 1200 / 3937: one rounding each (two for the last).
/// Boundaries with y up, (x, y, z) becomes (z, x, y): right-handed stays right-handed.
class InputAxes {
public:
    explicit InputAxes(LengthUnit unit = LengthUnit::Metre, UpAxis up = UpAxis::Z);
    [[nodiscard]] SimplePointT<double> ToWorld(double x, double y, double z) const {
        const SimplePointT<double> p{x * factor_ / divisor_, y * factor_ / divisor_,
                                     z * factor_ / divisor_};
        return yUp_ ? SimplePointT<double>{p.z, p.x, p.y} : p;
    }
    /// A pose of the input, in the world.
    [[nodiscard]] ScanPose ToWorld(const ScanPose& pose) const;

private:
    double factor_ = 1;
    double divisor_ = 1;
    bool yUp_;
};

/// Converts the points of one scan to world coordinates: by the scan's map, then the input's axes.
///
/// Units      in double precision throughout.
struct PointPlacement {
    std::optional<AffineMap> map;
    InputAxes axes;

    [[nodiscard]] SimplePointT<double> ToWorld(double x, double y, double z) const {
        if (!map) return axes.ToWorld(x, y, z);  // BEHAVIOUR I6
        const SimplePointT<double> p = map->Apply(x, y, z);
        return axes.ToWorld(p.x, p.y, p.z);
    }
};

/// A position that stands for `weight` points.
struct WeightedPosition {
    SimplePointT<double> position;
    std::uint64_t weight = 0;
};

/// Chooses the origin of the project's own frame: per axis the weighted median of `medians` (each
/// the median of some points), rounded to the nearest multiple of 100 m.
///
/// Half of the pieces may be wild without moving it, so one point a thousand kilometres off cannot
/// spoil the precision of the others; a cloud near zero keeps its coordinates.
SimplePointT<double> ChooseOrigin(const std::vector<WeightedPosition>& medians);

/// Gives an exported cloud the origin back that it had: `stored` when all of its coordinates are
/// multiples of 100 m within 100 km of `chosen`, else `chosen`.
SimplePointT<double> KeepOrigin(const SimplePointT<double>& chosen,
                                const std::array<double, 3>& stored);

/// The local coordinate of a world coordinate: the difference in double, then one rounding to
/// float.
inline float ToLocal(double world, double origin) {
    return static_cast<float>(world - origin);
}

/// Whether the local coordinates of a position can be stored; not-a-number cannot.
inline bool InRange(const SimplePointT<double>& world, const SimplePointT<double>& origin) {
    const auto fits = [](double local) { return local > -kMaxLocal && local < kMaxLocal; };
    return fits(world.x - origin.x) && fits(world.y - origin.y) && fits(world.z - origin.z);
}

}  // namespace orvix::importer
