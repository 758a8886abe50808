// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/coordinate_frame.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvix::importer {
namespace {

constexpr double kOriginStep = 100.0;

// BEHAVIOUR I1
double WeightedMedian(std::vector<std::pair<double, std::uint64_t>> values) {
    std::sort(values.begin(), values.end());
    std::uint64_t total = 0;
    for (const auto& [value, weight] : values) total += weight;
    std::uint64_t below = 0;
    for (const auto& [value, weight] : values) {
        below += weight;
        if (below >= total - below) return value;
    }
    return 0;
}

double OriginAlong(const std::vector<WeightedPosition>& medians,
                   double SimplePointT<double>::*axis) {
    std::vector<std::pair<double, std::uint64_t>> values;
    values.reserve(medians.size());
    for (const WeightedPosition& m : medians) values.emplace_back(m.position.*axis, m.weight);
    // Adding zero turns a negative zero into a positive one.
    return std::round(WeightedMedian(std::move(values)) / kOriginStep) * kOriginStep + 0.0;
}

}  // namespace

InputAxes::InputAxes(LengthUnit unit, UpAxis up) : yUp_(up == UpAxis::Y) {
    switch (unit) {
        case LengthUnit::Metre:
            break;
        case LengthUnit::Millimetre:
            divisor_ = 1000;  // BEHAVIOUR I3
            break;
        case LengthUnit::Centimetre:
            divisor_ = 100;
            break;
        case LengthUnit::Foot:
            factor_ = 0.3048;
            break;
        case LengthUnit::UsSurveyFoot:
            factor_ = 1200;
            divisor_ = 3937;
            break;
    }
}

ScanPose InputAxes::ToWorld(const ScanPose& pose) const {
    // A third of a turn about (1, 1, 1) takes x to y, y to z and z to x.
    // BEHAVIOUR I4
    constexpr Quaternion kYUp{0.5, 0.5, 0.5, 0.5};
    const SimplePointT<double>& p = pose.position;
    return {ToWorld(p.x, p.y, p.z), yUp_ ? kYUp * pose.rotation : pose.rotation};
}

SimplePointT<double> ChooseOrigin(const std::vector<WeightedPosition>& medians) {
    return {OriginAlong(medians, &SimplePointT<double>::x),
            OriginAlong(medians, &SimplePointT<double>::y),
            OriginAlong(medians, &SimplePointT<double>::z)};
}

// BEHAVIOUR C10
SimplePointT<double> KeepOrigin(const SimplePointT<double>& chosen,
                                const std::array<double, 3>& stored) {
    constexpr double kNear = 1e5;
    const std::array<double, 3> own{chosen.x, chosen.y, chosen.z};
    for (std::size_t axis = 0; axis < stored.size(); ++axis) {
        const double steps = stored[axis] / kOriginStep;
        if (!(std::fabs(stored[axis] - own[axis]) <= kNear) || steps != std::round(steps)) {
            return chosen;
        }
    }
    return {stored[0] + 0.0, stored[1] + 0.0, stored[2] + 0.0};
}

}  // namespace orvix::importer
