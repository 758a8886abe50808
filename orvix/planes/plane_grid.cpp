// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/plane_grid.h"

#include "orvix/planes/plane_vectors.h"
#include "orvix/platform/truncate.h"

namespace orvix {
namespace {

using detail::Dot, detail::Middle, detail::Unit;
using detail::operator+, detail::operator-, detail::operator*;

constexpr std::int64_t kMaxKey = 1 << 30;

std::int32_t Nearest(double cells) {
    return static_cast<std::int32_t>(detail::FloorWithin(cells + 0.5, kMaxKey));
}

}  // namespace

PlaneGrid::PlaneGrid(const FittedPlane& plane, const SimplePointT<double>& seed, double splitSize) {
    SimplePointT<double> c1, c2, c3, c4;
    plane.GetContourBox(seed, splitSize, c1, c2, c3, c4);
    origin_ = Middle(c1, c2);
    pitch_ = splitSize * 0.5;  // BEHAVIOUR W5
    x_ = Unit(Middle(c4, c2) - origin_);
    y_ = Unit(Middle(c3, c2) - origin_);
}

SimplePointT<double> PlaneGrid::Centre(const PlaneCell& key) const {
    return origin_ + x_ * (key.x * pitch_) + y_ * (key.y * pitch_);  // BEHAVIOUR W6
}

PlaneCell PlaneGrid::KeyOf(const SimplePointT<double>& p) const {
    const SimplePointT<double> offset = p - origin_;
    return {Nearest(Dot(offset, x_) / pitch_), Nearest(Dot(offset, y_) / pitch_)};
}

void PlaneGrid::Settle(const FittedPlane& plane) {
    const SimplePointT<double> normal = detail::UnitNormal(plane);
    origin_ = origin_ + normal * -detail::Distance(plane, origin_);
    x_ = Unit(x_ + normal * -Dot(x_, normal));
    const SimplePointT<double> level = y_ + normal * -Dot(y_, normal);
    y_ = Unit(level + x_ * -Dot(level, x_));
}

}  // namespace orvix
