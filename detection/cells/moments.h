// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "orvix/points/records.h"

namespace orvix::detection {

using Vector = SimplePointT<double>;

inline double Dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector operator+(const Vector& a, const Vector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(const Vector& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}

/// A symmetric matrix by its upper triangle, row by row: xx, xy, xz, yy, yz, zz.
using Symmetric = std::array<double, 6>;

/// v' * m * v: a covariance's variance along `v`.
inline double Along(const Symmetric& m, const Vector& v) {
    return m[0] * v.x * v.x + m[3] * v.y * v.y + m[5] * v.z * v.z +
           2 * (m[1] * v.x * v.y + m[2] * v.x * v.z + m[4] * v.y * v.z);
}

/// Count, sum and second moments of points about a place that the user of the sums keeps.
///
/// Order  sums are as exact as the order in which they are formed: who wants the same bits every
///        time adds in the same order every time.
struct MomentSum {
    double count = 0;
    Vector sum;
    Symmetric squares{};

    /// A point, given relative to the place.
    void Add(const Vector& p) {
        count += 1;
        sum = sum + p;
        squares[0] += p.x * p.x;
        squares[1] += p.x * p.y;
        squares[2] += p.x * p.z;
        squares[3] += p.y * p.y;
        squares[4] += p.y * p.z;
        squares[5] += p.z * p.z;
    }
    /// Sums about the same place.
    void Add(const MomentSum& other) {
        count += other.count;
        sum = sum + other.sum;
        for (std::size_t i = 0; i < 6; ++i) squares[i] += other.squares[i];
    }
    /// Precondition of both: there is a point.
    [[nodiscard]] Vector Mean() const { return sum * (1 / count); }
    [[nodiscard]] Symmetric Covariance() const;
    /// These sums about a place that lies at `offset` from the present one.
    [[nodiscard]] MomentSum About(const Vector& offset) const;
};

/// How points spread: the direction in which they spread least, and the variance along it and
/// along the two others.
struct Spread {
    Vector normal{0, 0, 1};
    double least = 0;
    double middle = 0;
    double largest = 0;
};

/// The spread of a covariance.
///
/// Boundaries `least` is never below 0. Of a matrix of zeros the normal is z.
/// Cost       some 50 ns: Newton's steps from 0 to the least root of the characteristic polynomial,
///            which they approach from below, and the largest cross product of the rows.
/// Order      + - * / and square roots alone: the same bits on every system.
Spread SpreadOf(const Symmetric& covariance);

}  // namespace orvix::detection
