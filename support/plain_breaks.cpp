// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/plain_breaks.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace orvix::test {

std::vector<double> PlainBreaks(const std::vector<double>& values, int classes, double lowerBound) {
    const std::size_t n = values.size();
    const auto k = static_cast<std::size_t>(classes);
    using Matrix = std::vector<std::vector<double>>;
    Matrix lowerClassLimits(n + 1, std::vector<double>(k + 1, 0.0));
    Matrix varianceCombinations(n + 1, std::vector<double>(k + 1, 0.0));
    for (std::size_t j = 1; j <= k; ++j) {
        for (std::size_t i = 2; i <= n; ++i) {
            varianceCombinations[i][j] = std::numeric_limits<double>::infinity();
        }
    }
    for (std::size_t l = 2; l <= n; ++l) {
        double s1 = 0;
        double s2 = 0;
        double w = 0;
        double v = 0;
        for (std::size_t m = 1; m <= l; ++m) {
            const std::size_t i3 = l - m + 1;
            const double x = values[i3 - 1];
            s2 += x * x;
            s1 += x;
            w += 1.0;
            v = s2 - s1 * s1 / w;
            const std::size_t i4 = i3 - 1;
            if (i4 == 0 || k < 2) continue;
            for (std::size_t j = 2; j <= k; ++j) {
                if (varianceCombinations[l][j] >= v + varianceCombinations[i4][j - 1]) {
                    lowerClassLimits[l][j] = static_cast<double>(i3);
                    varianceCombinations[l][j] = v + varianceCombinations[i4][j - 1];
                }
            }
        }
        if (k < 1) continue;
        lowerClassLimits[l][1] = 1.0;
        varianceCombinations[l][1] = v;
    }
    std::vector<double> breaks(k + 1, lowerBound);
    breaks[k] = values[n - 1];
    int index = static_cast<int>(n);
    for (std::size_t j = k; j >= 2; --j) {
        const double limit = lowerClassLimits[static_cast<std::size_t>(index)][j];
        breaks[j - 1] =
            values[static_cast<std::size_t>(std::max(static_cast<int>(limit - 2.0), 0))];
        index = std::max(static_cast<int>(limit - 1.0), 0);
    }
    return breaks;
}

}  // namespace orvix::test
