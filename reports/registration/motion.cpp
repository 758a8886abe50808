// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/motion.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace orvix::reports {

void AddSquare(MotionMatrix& matrix, const Motion& v, double weight) {
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j) matrix[i][j] += weight * v[i] * v[j];
}

// By a Cholesky factor, column by column.
MotionMatrix InverseOf(const MotionMatrix& matrix) {
    MotionMatrix low{};
    for (std::size_t j = 0; j < 6; ++j) {
        for (std::size_t i = j; i < 6; ++i) {
            double sum = matrix[i][j];
            for (std::size_t k = 0; k < j; ++k) sum -= low[i][k] * low[j][k];
            low[i][j] = i == j ? std::sqrt(sum) : sum / low[j][j];
        }
    }
    MotionMatrix inverse{};
    for (std::size_t column = 0; column < 6; ++column) {
        Motion v{};
        for (std::size_t i = 0; i < 6; ++i) {
            double sum = i == column ? 1 : 0;
            for (std::size_t k = 0; k < i; ++k) sum -= low[i][k] * v[k];
            v[i] = sum / low[i][i];
        }
        for (std::size_t i = 6; i-- > 0;) {
            double sum = v[i];
            for (std::size_t k = i + 1; k < 6; ++k) sum -= low[k][i] * inverse[k][column];
            inverse[i][column] = sum / low[i][i];
        }
    }
    return inverse;
}

Motion Product(const MotionMatrix& matrix, const Motion& v) {
    Motion product{};
    for (std::size_t i = 0; i < 6; ++i) product[i] = Dot(matrix[i], v);
    return product;
}

std::array<double, 6> EigenvaluesOf(MotionMatrix m) {
    for (int sweep = 0; sweep < 30; ++sweep) {
        double off = 0, all = 0;
        for (std::size_t i = 0; i < 6; ++i)
            for (std::size_t j = 0; j < 6; ++j) (i == j ? all : off) += m[i][j] * m[i][j];
        if (off <= 1e-30 * all) break;
        for (std::size_t p = 0; p < 6; ++p) {
            for (std::size_t q = p + 1; q < 6; ++q) {
                if (m[p][q] == 0) continue;
                const double theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
                const double t =
                    (theta >= 0 ? 1.0 : -1.0) / (std::abs(theta) + std::sqrt(theta * theta + 1));
                const double c = 1 / std::sqrt(t * t + 1), s = t * c;
                for (std::size_t k = 0; k < 6; ++k) {
                    const double a = m[k][p], b = m[k][q];
                    m[k][p] = c * a - s * b;
                    m[k][q] = s * a + c * b;
                }
                for (std::size_t k = 0; k < 6; ++k) {
                    const double a = m[p][k], b = m[q][k];
                    m[p][k] = c * a - s * b;
                    m[q][k] = s * a + c * b;
                }
            }
        }
    }
    std::array<double, 6> values{};
    for (std::size_t i = 0; i < 6; ++i) values[i] = m[i][i];
    std::sort(values.begin(), values.end(), std::greater<>());
    return values;
}

}  // namespace orvix::reports
