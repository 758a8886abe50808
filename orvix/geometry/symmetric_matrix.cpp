// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/symmetric_matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvix::detail {
namespace {

constexpr int kMostSteps = 32;

/// A tridiagonal matrix with the rotations that made it; `columns[i]` becomes eigenvector i.
struct Tridiagonal {
    std::array<double, 3> diagonal{};
    std::array<double, 3> beside{};  // beside[i] couples i and i + 1; beside[2] is 0
    std::array<std::array<double, 3>, 3> columns{};
};

/// The exponent of the largest entry, so that squares of entries neither overflow nor vanish.
int ScaleExponent(const SymmetricMatrix3& m) {
    const double largest = std::max({std::abs(m.xx), std::abs(m.xy), std::abs(m.xz), std::abs(m.yy),
                                     std::abs(m.yz), std::abs(m.zz)});
    if (!(largest > 0) || !std::isfinite(largest)) return 0;
    int exponent = 0;
    std::frexp(largest, &exponent);
    return exponent;
}

SymmetricMatrix3 Scaled(const SymmetricMatrix3& m, int exponent) {
    const auto scale = [&](double value) { return std::ldexp(value, exponent); };
    return {scale(m.xx), scale(m.xy), scale(m.xz), scale(m.yy), scale(m.yz), scale(m.zz)};
}

/// Rotates about the x axis until the xz entry is 0.
Tridiagonal ToTridiagonal(const SymmetricMatrix3& m) {
    Tridiagonal t;
    const double length = std::sqrt(m.xy * m.xy + m.xz * m.xz);
    t.columns[0] = {1, 0, 0};
    if (m.xz == 0 || !(length > 0)) {
        t.diagonal = {m.xx, m.yy, m.zz};
        t.beside = {m.xy, m.yz, 0};
        t.columns[1] = {0, 1, 0};
        t.columns[2] = {0, 0, 1};
        return t;
    }
    const double cosine = m.xy / length;
    const double sine = m.xz / length;
    const double turn = 2 * cosine * m.yz + sine * (m.zz - m.yy);
    t.diagonal = {m.xx, m.yy + sine * turn, m.zz - sine * turn};
    t.beside = {length, m.yz - cosine * turn, 0};
    t.columns[1] = {0, cosine, sine};
    t.columns[2] = {0, sine, -cosine};
    return t;
}

/// The end of the block that starts at `first`: the first entry beside the diagonal from there on
/// that is nothing next to its diagonal neighbours.
std::size_t BlockEnd(const Tridiagonal& t, std::size_t first) {
    std::size_t end = first;
    for (; end < 2; ++end) {
        const double neighbours = std::abs(t.diagonal[end]) + std::abs(t.diagonal[end + 1]);
        if (std::abs(t.beside[end]) + neighbours == neighbours) break;
    }
    return end;
}

/// One QL step with an implicit shift on the block from `first` to `end`.
void StepQl(Tridiagonal& t, std::size_t first, std::size_t end) {
    auto& [d, e, columns] = t;
    double shift = (d[first + 1] - d[first]) / (2 * e[first]);
    const double root = std::sqrt(shift * shift + 1);
    double g = d[end] - d[first] + e[first] / (shift < 0 ? shift - root : shift + root);
    double sine = 1;
    double cosine = 1;
    double carried = 0;
    for (std::size_t i = end; i-- > first;) {
        const double f = sine * e[i];
        const double b = cosine * e[i];
        const double length = std::sqrt(f * f + g * g);
        e[i + 1] = length;
        if (length == 0) {  // the block falls apart here
            d[i + 1] -= carried;
            e[end] = 0;
            return;
        }
        sine = f / length;
        cosine = g / length;
        g = d[i + 1] - carried;
        const double r = (d[i] - g) * sine + 2 * cosine * b;
        carried = sine * r;
        d[i + 1] = g + carried;
        g = cosine * r - b;
        for (std::size_t k = 0; k < 3; ++k) {
            const double upper = columns[i + 1][k];
            columns[i + 1][k] = sine * columns[i][k] + cosine * upper;
            columns[i][k] = cosine * columns[i][k] - sine * upper;
        }
    }
    d[first] -= carried;
    e[first] = g;
    e[end] = 0;
}

bool Diagonalise(Tridiagonal& t) {
    for (std::size_t first = 0; first < 3; ++first) {
        int steps = 0;
        for (; steps < kMostSteps; ++steps) {
            const std::size_t end = BlockEnd(t, first);
            if (end == first) break;
            StepQl(t, first, end);
        }
        if (steps == kMostSteps) return false;
    }
    return true;
}

}  // namespace

EigenSystem3 DecomposeSymmetric(const SymmetricMatrix3& matrix) {
    const int exponent = ScaleExponent(matrix);
    Tridiagonal t = ToTridiagonal(Scaled(matrix, -exponent));
    EigenSystem3 result;
    result.converged = Diagonalise(t);
    for (std::size_t i = 0; i < 2; ++i) {
        std::size_t largest = i;
        for (std::size_t j = i + 1; j < 3; ++j) {
            if (t.diagonal[j] > t.diagonal[largest]) largest = j;
        }
        std::swap(t.diagonal[i], t.diagonal[largest]);
        std::swap(t.columns[i], t.columns[largest]);
    }
    for (std::size_t i = 0; i < 3; ++i) {
        result.values[i] = std::ldexp(t.diagonal[i], exponent);
        result.vectors[i] = t.columns[i];
    }
    return result;
}

}  // namespace orvix::detail
