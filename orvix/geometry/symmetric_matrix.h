// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

namespace orvix::detail {

/// A symmetric 3x3 matrix by its upper triangle.
struct SymmetricMatrix3 {
    double xx = 0;
    double xy = 0;
    double xz = 0;
    double yy = 0;
    double yz = 0;
    double zz = 0;
};

/// Eigenvalues in decreasing order, and the unit eigenvector of each: `vectors[i]` belongs to
/// `values[i]`.
struct EigenSystem3 {
    std::array<double, 3> values{};
    std::array<std::array<double, 3>, 3> vectors{};
    bool converged = false;
};

/// Decomposes a symmetric 3x3 matrix: one plane rotation makes it tridiagonal, QL steps with
/// implicit shifts make it diagonal, selection sorts the result.
///
///     const EigenSystem3 eigen = DecomposeSymmetric(covariance);
///     const auto& normal = eigen.vectors[2];                 // of the smallest eigenvalue
///
/// Order      decreasing eigenvalues; equal ones stay in the order in which they come out.
/// Boundaries vectors are of unit length and mutually orthogonal to rounding, whatever the matrix;
///            their signs are whatever the steps yield. Any scale: the matrix is scaled by a power
///            of two first, which rounds nothing.
/// Errors     an eigenvalue that needs more than 32 steps, as in a matrix with entries that are not
///            numbers, ends the work: `converged` is false and the rest is what there is.
/// Threads    no state.
/// Source     G. H. Golub, C. F. Van Loan: Matrix Computations, section 8.3 (symmetric QR); the QL
///            form as in J. H. Wilkinson, C. Reinsch: Linear Algebra (1971), contribution II/4.
EigenSystem3 DecomposeSymmetric(const SymmetricMatrix3& matrix);

}  // namespace orvix::detail
