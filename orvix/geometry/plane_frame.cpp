// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/plane_frame.h"

#include <cmath>
#include <limits>

#include "orvix/geometry/vector.h"

namespace orvix {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

/// Divides each coordinate, where `a * (1 / length)` would round once more.
detail::Vector DividedByLength(const detail::Vector& a) {
    const double length = detail::Length(a);
    return length > 0 ? detail::operator/(a, length) : a;
}

}  // namespace

PlaneFrame::PlaneFrame(double a, double b, double c, double d,
                       const SimplePointT<double>& reference)
    : a_(a), b_(b), c_(c), d_(d), reference_(reference) {
    normalLength_ = std::sqrt(a * a + b * b + c * c);
    normal_ = {a / normalLength_, b / normalLength_, c / normalLength_};
    offset_ = d / normalLength_;
    foot_ = {-offset_ * normal_.x, -offset_ * normal_.y, -offset_ * normal_.z};

    const bool atOrigin = std::abs(reference.x) <= kEpsilon && std::abs(reference.y) <= kEpsilon &&
                          std::abs(reference.z) <= kEpsilon;
    if (atOrigin) {
        const double step =
            -(a * reference.x + b * reference.y + c * reference.z + d) / normalLength_;
        reference_ = {reference.x + step * normal_.x, reference.y + step * normal_.y,
                      reference.z + step * normal_.z};
    }

    const bool level = std::abs(a) < kEpsilon && std::abs(b) < kEpsilon;  // BEHAVIOUR F1
    u_ = level ? SimplePointT<double>{b, -c, 0} : SimplePointT<double>{b, -a, 0};
    v_ = DividedByLength(detail::Cross(normal_, u_));
    u_ = DividedByLength(u_);
}

}  // namespace orvix
