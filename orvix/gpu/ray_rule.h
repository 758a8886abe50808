// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "orvix/gpu/section.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// What snapping compares a point with, in double precision, in the frame of the points: a ray with
/// its aperture, or a position with a radius. `MeasureOf` and `Value` are the definition of every
/// result; trees and kernels bound them.
struct SnapRule {
    SimplePointT<double> origin;
    SimplePointT<double> direction;  // of unit length; 0, 0, 0 for a position
    double radius = 0;
    double tangent = 0;
    bool isRay = true;
};

/// Takes a ray from world coordinates to the frame at `frameOrigin`.
inline SnapRule RuleOf(const PickingRay& ray, const SimplePointT<double>& frameOrigin) {
    const auto& d = ray.direction;
    // Scaled first, so that no length overflows.
    const double largest = std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
    const double x = d.x / largest;
    const double y = d.y / largest;
    const double z = d.z / largest;
    const double length = std::sqrt((x * x + y * y) + z * z);
    return {
        {ray.origin.x - frameOrigin.x, ray.origin.y - frameOrigin.y, ray.origin.z - frameOrigin.z},
        {x / length, y / length, z / length},
        ray.radius,
        ray.tangent,
        true};
}

inline SnapRule RuleOf(const SimplePointT<double>& position, double radius,
                       const SimplePointT<double>& frameOrigin) {
    return {{position.x - frameOrigin.x, position.y - frameOrigin.y, position.z - frameOrigin.z},
            {},
            radius,
            0,
            false};
}

/// Where a point lies to a rule.
struct SnapMeasure {
    double along = 0;
    double squaredDistance = 0;
    bool inAperture = false;

    /// What is least at the point to snap to.
    [[nodiscard]] double Value(const SnapRule& rule) const {
        return rule.isRay ? along : squaredDistance;
    }
};

inline SnapMeasure MeasureOf(const SnapRule& rule, const SimplePointT<float>& p) {
    const double x = p.x - rule.origin.x;
    const double y = p.y - rule.origin.y;
    const double z = p.z - rule.origin.z;
    const auto& d = rule.direction;
    SnapMeasure measure;
    measure.along = (x * d.x + y * d.y) + z * d.z;
    const double qx = x - measure.along * d.x;
    const double qy = y - measure.along * d.y;
    const double qz = z - measure.along * d.z;
    measure.squaredDistance = (qx * qx + qy * qy) + qz * qz;
    const double reach = rule.radius + measure.along * rule.tangent;
    // A point that is not finite compares with nothing.
    // BEHAVIOUR V6
    measure.inAperture = measure.along >= 0 && measure.squaredDistance <= reach * reach;
    return measure;
}

/// The best point so far; ties go to the lower index.
struct SnapBest {
    double value = 0;
    SnappedPoint point;

    void Offer(const SnapRule& rule, const SnapMeasure& measure, std::uint64_t index) {
        if (!measure.inAperture) return;
        const double offered = measure.Value(rule);
        if (point.Found() && !(offered < value || (offered == value && index < point.index))) {
            return;
        }
        value = offered;
        point = {index, measure.along, std::sqrt(measure.squaredDistance)};
    }
    /// Whether a point whose value is no less than `bound` could still be better.
    [[nodiscard]] bool MayGain(double bound) const { return !point.Found() || bound <= value; }
};

/// The least value that a point of a box may have, no more than that by rounding; negative where no
/// point of the box can lie in the aperture.
double LeastValue(const SnapRule& rule, const ExtendsT<double>& box);

inline constexpr double kNoValue = -1;

}  // namespace orvix::detail
