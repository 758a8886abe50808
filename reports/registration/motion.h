// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>

#include "orvix/geometry/vector.h"

namespace orvix::reports {

/// A small rigid motion: a shift and a turn about some place, three numbers each.
using Motion = std::array<double, 6>;

/// A symmetric matrix over motions, whole.
using MotionMatrix = std::array<std::array<double, 6>, 6>;

inline double Dot(const Motion& a, const Motion& b) {
    double sum = 0;
    for (std::size_t i = 0; i < 6; ++i) sum += a[i] * b[i];
    return sum;
}

/// How a place's height over a plane changes with a motion about `centre`, shift and turn.
inline Motion HeightBy(const detail::Vector& normal, const detail::Vector& place,
                       const detail::Vector& centre) {
    using detail::operator-;
    const detail::Vector turned = detail::Cross(place - centre, normal);
    return {normal.x, normal.y, normal.z, turned.x, turned.y, turned.z};
}

/// Adds weight * v v'.
void AddSquare(MotionMatrix& matrix, const Motion& v, double weight);

/// The inverse of a matrix whose eigenvalues are all above 0.
MotionMatrix InverseOf(const MotionMatrix& matrix);

Motion Product(const MotionMatrix& matrix, const Motion& v);

/// The eigenvalues, descending. Source: cyclic Jacobi rotations, G. H. Golub, C. F. Van Loan: Matrix
/// Computations, section 8.5.
std::array<double, 6> EigenvaluesOf(MotionMatrix matrix);

}  // namespace orvix::reports
