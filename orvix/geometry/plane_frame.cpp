// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/plane_frame.h"

#include <cmath>
#include <limits>

namespace orvix {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

double Length(const SimplePointT<double>& p) {
    return std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
}

SimplePointT<double> Cross(const SimplePointT<double>& p, const SimplePointT<double>& q) {
    return {p.y * q.z - p.z * q.y, p.z * q.x - p.x * q.z, p.x * q.y - p.y * q.x};
}

void Normalise(SimplePointT<double>& p) {
    const double length = Length(p);
    if (length > 0) p = {p.x / length, p.y / length, p.z / length};
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

    const bool level = std::abs(a) < kEpsilon && std::abs(b) < kEpsilon;
    u_ = level ? SimplePointT<double>{b, -c, 0} : SimplePointT<double>{b, -a, 0};
    v_ = Cross(normal_, u_);
    Normalise(u_);
    Normalise(v_);
}

}  // namespace orvix
