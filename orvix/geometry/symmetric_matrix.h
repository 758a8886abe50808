// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include "orvix/geometry/vector.h"

/// A symmetric 3x3 matrix and two ways to take it apart.
///
/// DecomposeSymmetric returns all eigenvectors of any symmetric matrix, to the last digits: choose
/// it to fit a plane. SpreadOf returns the eigenvector of a covariance's smallest eigenvalue, some
/// six times as fast and to about nine digits: choose it to judge millions of small groups of
/// points.
///
/// Order    + - * / and square roots alone: the same bits on every system.
/// Threads  no state.
namespace orvix::detail {

/// A symmetric 3x3 matrix by its upper triangle, row by row.
struct SymmetricMatrix {
    double xx = 0;
    double xy = 0;
    double xz = 0;
    double yy = 0;
    double yz = 0;
    double zz = 0;
};

/// v' * m * v; of a covariance and a unit vector, the variance along that vector.
constexpr double QuadraticForm(const SymmetricMatrix& m, const Vector& v) {
    return m.xx * v.x * v.x + m.yy * v.y * v.y + m.zz * v.z * v.z +
           2 * (m.xy * v.x * v.y + m.xz * v.x * v.z + m.yz * v.y * v.z);
}

/// Eigenvalues in decreasing order, and the unit eigenvector of each: `vectors[i]` belongs to
/// `values[i]`.
struct EigenSystem {
    std::array<double, 3> values{};
    std::array<Vector, 3> vectors{};
    bool converged = false;
};

/// Decomposes a symmetric matrix: one plane rotation makes it tridiagonal, QL steps with implicit
/// shifts make it diagonal, selection sorts the result.
///
///     const EigenSystem eigen = DecomposeSymmetric(covariance);
///     const Vector& normal = eigen.vectors[2];               // of the smallest eigenvalue
///
/// Order      decreasing eigenvalues; equal ones stay in the order in which they come out.
/// Boundaries vectors are of unit length and mutually orthogonal to rounding, for every matrix;
///            their signs are those that the steps yield. Any scale: the matrix is scaled by a
///            power of two first, which rounds nothing.
/// Errors     an eigenvalue that needs more than 32 steps, as in a matrix with entries that are not
///            numbers, ends the work: `converged` is false and the rest is what there is.
/// Cost       some 250 ns.
/// Source     G. H. Golub, C. F. Van Loan: Matrix Computations, section 8.3 (symmetric QR); the QL
///            form as in J. H. Wilkinson, C. Reinsch: Linear Algebra (1971), contribution II/4.
EigenSystem DecomposeSymmetric(const SymmetricMatrix& matrix);

/// How points spread: the direction in which they spread least, and the variance along it and along
/// the two others.
struct PrincipalSpread {
    Vector normal{0, 0, 1};
    double min = 0;  ///< along the normal
    double middle = 0;
    double max = 0;
};

/// The spread of a covariance.
///
///     const PrincipalSpread spread = SpreadOf(covariance);
///     const bool flat = spread.min < 0.01 * spread.middle;
///
/// Boundaries `min` is never below 0. Of a matrix of zeros the normal is z.
/// Cost       some 40 ns: Newton's steps from 0 to the smallest root of the characteristic
///            polynomial, which they approach from below, and the largest cross product of the
///            rows.
PrincipalSpread SpreadOf(const SymmetricMatrix& covariance);

}  // namespace orvix::detail
