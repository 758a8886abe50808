// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/geometry/symmetric_matrix.h"
#include "orvix/geometry/vector.h"

namespace orvix::detection {

using detail::Dot, detail::SymmetricMatrix, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

/// What the least variance of points is at least, in a sixth of SpreadOf's time: four times the product of
/// all three, their determinant, over the square of their sum, since the product of the other two is at
/// most the square of half that sum. Near the truth where the other two are alike.
///
/// Boundaries less a trillionth of the sum, which is more than rounding adds; not a number for a matrix
///            of zeros.
inline double VarianceFloor(const SymmetricMatrix& m) {
    const double sum = m.xx + m.yy + m.zz;
    const double determinant = m.xx * (m.yy * m.zz - m.yz * m.yz) -
                               m.xy * (m.xy * m.zz - m.xz * m.yz) +
                               m.xz * (m.xy * m.yz - m.xz * m.yy);
    return 4 * determinant / (sum * sum) - 1e-12 * sum;
}

/// Count, sum and second moments of points about a place that the user of the sums keeps.
///
///     MomentSum sum;
///     for (const Vector& p : points) sum.Add(p - place);
///     const PrincipalSpread spread = SpreadOf(sum.Covariance());
///
/// Order  sums depend, in their last bits, on the order of additions: add in the same order to get
///        the same bits.
struct MomentSum {
    double count = 0;
    Vector sum;
    SymmetricMatrix squares;

    /// A point, given relative to the place.
    void Add(const Vector& p) {
        count += 1;
        sum = sum + p;
        squares.xx += p.x * p.x;
        squares.xy += p.x * p.y;
        squares.xz += p.x * p.z;
        squares.yy += p.y * p.y;
        squares.yz += p.y * p.z;
        squares.zz += p.z * p.z;
    }
    /// Sums about the same place.
    void Add(const MomentSum& other) {
        count += other.count;
        sum = sum + other.sum;
        squares.xx += other.squares.xx;
        squares.xy += other.squares.xy;
        squares.xz += other.squares.xz;
        squares.yy += other.squares.yy;
        squares.yz += other.squares.yz;
        squares.zz += other.squares.zz;
    }
    /// Precondition of both: there is a point.
    [[nodiscard]] Vector Mean() const { return sum * (1 / count); }
    [[nodiscard]] SymmetricMatrix Covariance() const;
    /// These sums about a place that lies at `offset` from the present one.
    [[nodiscard]] MomentSum About(const Vector& offset) const;
};

}  // namespace orvix::detection
