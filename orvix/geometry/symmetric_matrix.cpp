// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/symmetric_matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvix::detail {
namespace {

constexpr int kMaxQlSteps = 32;  // per eigenvalue
constexpr int kMaxNewtonSteps = 24;

/// A tridiagonal matrix with the rotations that made it; `columns[i]` becomes eigenvector i.
struct Tridiagonal {
    std::array<double, 3> diagonal{};
    std::array<double, 3> beside{};  // beside[i] couples i and i + 1; beside[2] is 0
    std::array<std::array<double, 3>, 3> columns{};
};

/// The exponent of the largest entry, so that squares of entries neither overflow nor vanish.
int ScaleExponent(const SymmetricMatrix& m) {
    const double largest = std::max({std::abs(m.xx), std::abs(m.xy), std::abs(m.xz), std::abs(m.yy),
                                     std::abs(m.yz), std::abs(m.zz)});
    if (!(largest > 0) || !std::isfinite(largest)) return 0;
    int exponent = 0;
    std::frexp(largest, &exponent);
    return exponent;
}

/// Multiplies by a power of two: by one product, which rounds as ldexp does and takes a tenth of its
/// time, where a double holds that power.
class PowerOfTwo {
public:
    explicit PowerOfTwo(int exponent)
        : exponent_(exponent), factor_(IsNormal() ? std::ldexp(1.0, exponent) : 0) {}
    [[nodiscard]] double Times(double value) const {
        return factor_ > 0 ? value * factor_ : std::ldexp(value, exponent_);
    }

private:
    [[nodiscard]] bool IsNormal() const { return exponent_ >= -1022 && exponent_ <= 1023; }

    int exponent_;
    double factor_;
};

SymmetricMatrix Scaled(const SymmetricMatrix& m, int exponent) {
    const PowerOfTwo scale(exponent);
    return {scale.Times(m.xx), scale.Times(m.xy), scale.Times(m.xz),
            scale.Times(m.yy), scale.Times(m.yz), scale.Times(m.zz)};
}

/// Rotates about the x axis until the xz entry is 0.
Tridiagonal ToTridiagonal(const SymmetricMatrix& m) {
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
        for (; steps < kMaxQlSteps; ++steps) {
            const std::size_t end = BlockEnd(t, first);
            if (end == first) break;
            StepQl(t, first, end);
        }
        if (steps == kMaxQlSteps) return false;
    }
    return true;
}

// The smallest root of r^3 - r^2 + b r - c, whose roots are none below 0 and add up to 1.
double SmallestRoot(double b, double c) {
    double root = 0;
    for (int i = 0; i < kMaxNewtonSteps; ++i) {
        const double value = ((root - 1) * root + b) * root - c;
        const double slope = (3 * root - 2) * root + b;
        if (!(slope > 0) || !(value < 0)) break;
        const double step = -value / slope;
        root += step;
        // The next step would be about its square over the slope.
        if (step < 1e-8 * slope) break;
    }
    return root;
}

// The eigenvector of `root`: every cross product of two rows of m - root points along it, the
// largest one with the smallest error.
Vector EigenvectorOf(const SymmetricMatrix& m, double root) {
    const Vector rows[3] = {
        {m.xx - root, m.xy, m.xz}, {m.xy, m.yy - root, m.yz}, {m.xz, m.yz, m.zz - root}};
    Vector best = Cross(rows[0], rows[1]);
    double largest = Dot(best, best);
    for (const auto& [i, j] : {std::pair{0, 2}, std::pair{1, 2}}) {
        const Vector other = Cross(rows[i], rows[j]);
        const double size = Dot(other, other);
        if (size > largest) {
            largest = size;
            best = other;
        }
    }
    return largest > 0 ? best * (1 / std::sqrt(largest)) : Vector{0, 0, 1};
}

}  // namespace

EigenSystem DecomposeSymmetric(const SymmetricMatrix& matrix) {
    const int exponent = ScaleExponent(matrix);
    Tridiagonal t = ToTridiagonal(Scaled(matrix, -exponent));
    EigenSystem result;
    result.converged = Diagonalise(t);
    for (std::size_t i = 0; i < 2; ++i) {
        std::size_t largest = i;
        for (std::size_t j = i + 1; j < 3; ++j) {
            if (t.diagonal[j] > t.diagonal[largest]) largest = j;
        }
        std::swap(t.diagonal[i], t.diagonal[largest]);
        std::swap(t.columns[i], t.columns[largest]);
    }
    const PowerOfTwo scale(exponent);
    for (std::size_t i = 0; i < 3; ++i) {
        result.values[i] = scale.Times(t.diagonal[i]);
        result.vectors[i] = {t.columns[i][0], t.columns[i][1], t.columns[i][2]};
    }
    return result;
}

PrincipalSpread SpreadOf(const SymmetricMatrix& covariance) {
    PrincipalSpread spread;
    const double trace = covariance.xx + covariance.yy + covariance.zz;
    if (!(trace > 0)) return spread;
    const double share = 1 / trace;
    const SymmetricMatrix m{covariance.xx * share, covariance.xy * share, covariance.xz * share,
                            covariance.yy * share, covariance.yz * share, covariance.zz * share};
    const double minorZ = m.xx * m.yy - m.xy * m.xy;
    const double minorY = m.xx * m.zz - m.xz * m.xz;
    const double minorX = m.yy * m.zz - m.yz * m.yz;
    const double b = minorX + minorY + minorZ;
    const double c =
        m.xx * minorX - m.xy * (m.xy * m.zz - m.xz * m.yz) + m.xz * (m.xy * m.yz - m.xz * m.yy);
    const double min = SmallestRoot(b, c);
    // The other two add up to 1 - min, and their product follows from b.
    const double rest = 1 - min;
    const double product = b - min * rest;
    const double root = std::sqrt(std::max(rest * rest - 4 * product, 0.0));
    spread.normal = EigenvectorOf(m, min);
    spread.min = min * trace;
    spread.middle = std::max((rest - root) / 2, min) * trace;
    spread.max = (rest + root) / 2 * trace;
    return spread;
}

}  // namespace orvix::detail
