// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/moments.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr int kMostSteps = 24;

Vector Cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// The least root of r^3 - r^2 + b r - c, whose roots are none below 0 and add up to 1.
double LeastRoot(double b, double c) {
    double root = 0;
    for (int i = 0; i < kMostSteps; ++i) {
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

Vector NormalOf(const Symmetric& m, double root) {
    const Vector rows[3] = {
        {m[0] - root, m[1], m[2]}, {m[1], m[3] - root, m[4]}, {m[2], m[4], m[5] - root}};
    Vector best = Cross(rows[0], rows[1]);
    double most = Dot(best, best);
    for (const auto& [i, j] : {std::pair{0, 2}, std::pair{1, 2}}) {
        const Vector other = Cross(rows[i], rows[j]);
        const double size = Dot(other, other);
        if (size > most) {
            most = size;
            best = other;
        }
    }
    return most > 0 ? best * (1 / std::sqrt(most)) : Vector{0, 0, 1};
}

}  // namespace

Symmetric MomentSum::Covariance() const {
    const double share = 1 / count;
    const Vector mean = sum * share;
    return {squares[0] * share - mean.x * mean.x, squares[1] * share - mean.x * mean.y,
            squares[2] * share - mean.x * mean.z, squares[3] * share - mean.y * mean.y,
            squares[4] * share - mean.y * mean.z, squares[5] * share - mean.z * mean.z};
}

MomentSum MomentSum::About(const Vector& o) const {
    MomentSum moved = *this;
    moved.sum = sum - o * count;
    moved.squares[0] += o.x * o.x * count - 2 * o.x * sum.x;
    moved.squares[1] += o.x * o.y * count - o.x * sum.y - o.y * sum.x;
    moved.squares[2] += o.x * o.z * count - o.x * sum.z - o.z * sum.x;
    moved.squares[3] += o.y * o.y * count - 2 * o.y * sum.y;
    moved.squares[4] += o.y * o.z * count - o.y * sum.z - o.z * sum.y;
    moved.squares[5] += o.z * o.z * count - 2 * o.z * sum.z;
    return moved;
}

Spread SpreadOf(const Symmetric& covariance) {
    Spread spread;
    const double trace = covariance[0] + covariance[3] + covariance[5];
    if (!(trace > 0)) return spread;
    const double share = 1 / trace;
    Symmetric m;
    for (std::size_t i = 0; i < 6; ++i) m[i] = covariance[i] * share;
    const double minorZ = m[0] * m[3] - m[1] * m[1];
    const double minorY = m[0] * m[5] - m[2] * m[2];
    const double minorX = m[3] * m[5] - m[4] * m[4];
    const double b = minorX + minorY + minorZ;
    const double c =
        m[0] * minorX - m[1] * (m[1] * m[5] - m[2] * m[4]) + m[2] * (m[1] * m[4] - m[2] * m[3]);
    const double least = LeastRoot(b, c);
    // The other two add up to 1 - least, and their product follows from b.
    const double rest = 1 - least;
    const double product = b - least * rest;
    const double root = std::sqrt(std::max(rest * rest - 4 * product, 0.0));
    spread.normal = NormalOf(m, least);
    spread.least = least * trace;
    spread.middle = std::max((rest - root) / 2, least) * trace;
    spread.largest = (rest + root) / 2 * trace;
    return spread;
}

}  // namespace orvix::detection
