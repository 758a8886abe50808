// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/speck_groups.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "orvix/geometry/symmetric_matrix.h"

namespace orvix::detection {
namespace {

constexpr double kMinKurtosis = 1.4;  // across a group: of a face, not of its two edges
constexpr double kMinPivot = 1e-9;    // of a term that the others do not hold already

}  // namespace

double CurvedShare(std::span<const Vector> places, const Vector& normal, double scale) {
    constexpr std::size_t kTerms = 6;  // 1, x, y, xx, xy, yy
    const Vector across = std::abs(normal.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const Vector u = detail::Unit(detail::Cross(normal, across)), v = detail::Cross(normal, u);
    const double perMetre = 1 / scale;
    const auto count = static_cast<double>(places.size());
    std::array<std::array<double, kTerms + 1>, kTerms> m{};  // normal equations
    double squares = 0;
    for (const Vector& at : places) {
        const double x = Dot(u, at) * perMetre, y = Dot(v, at) * perMetre, z = Dot(normal, at);
        const std::array<double, kTerms + 1> row{1, x, y, x * x, x * y, y * y, z};
        for (std::size_t i = 0; i < kTerms; ++i)
            for (std::size_t j = i; j <= kTerms; ++j) m[i][j] += row[i] * row[j];
        squares += z * z;
    }
    // Cholesky's steps, on the right side too: what each term explains is the square of its own.
    double explained = 0;
    for (std::size_t i = 0; i < kTerms; ++i) {
        if (!(m[i][i] > kMinPivot * count)) return 0;
        const double root = std::sqrt(m[i][i]);
        for (std::size_t j = i; j <= kTerms; ++j) m[i][j] /= root;
        for (std::size_t k = i + 1; k < kTerms; ++k)
            for (std::size_t j = k; j <= kTerms; ++j) m[k][j] -= m[i][k] * m[i][j];
        explained += m[i][kTerms] * m[i][kTerms];
    }
    // Three terms more explain some of any noise, the more the fewer specks there are.
    if (squares <= 0 || count <= kTerms) return 0;
    return 1 - (1 - explained / squares) * (count - 3) / (count - kTerms);
}

Vector DirectionAcross(std::span<const Vector> places) {
    MomentSum sum;
    for (const Vector& at : places) sum.Add(at);
    return detail::DecomposeSymmetric(sum.Covariance()).vectors[1];
}

bool LieAlongTwoLines(std::span<const Vector> places, const Vector& across, double widest) {
    double squares = 0, fourths = 0;
    struct Line {
        double count = 0, sum = 0, squares = 0;
        [[nodiscard]] double Variance() const {
            return count > 0 ? squares / count - (sum / count) * (sum / count) : 0;
        }
    };
    std::array<Line, 2> lines;
    for (const Vector& place : places) {
        const double at = Dot(across, place);
        squares += at * at;
        fourths += at * at * at * at;
        Line& line = lines[at < 0 ? 0 : 1];
        line.count += 1;
        line.sum += at;
        line.squares += at * at;
    }
    if (fourths * static_cast<double>(places.size()) >= kMinKurtosis * squares * squares)
        return false;
    return std::max(lines[0].Variance(), lines[1].Variance()) < widest * widest;
}

}  // namespace orvix::detection
