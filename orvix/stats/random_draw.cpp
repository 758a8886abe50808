// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/random_draw.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "orvix/platform/truncate.h"

namespace orvix::detail {

static_assert(RAND_MAX >= kMaxDraw);

namespace {

// One order of all doubles, NaN last, so that a spoilt histogram cannot upset the sort.
bool SortsBefore(double a, double b) {
    return a < b || (std::isnan(b) && !std::isnan(a));
}

}  // namespace

int DrawOfRuntime() {
    constexpr int kStep = RAND_MAX / (kMaxDraw + 1) + 1;  // BEHAVIOUR H4
    return std::rand() / kStep;
}

std::int64_t ScaleDraw(int draw, std::int64_t extent, std::int64_t lower) {
    const float scaled =
        // BEHAVIOUR H5
        static_cast<float>(draw) / static_cast<float>(kMaxDraw) * static_cast<float>(extent);
    return TruncateTo<std::int64_t>(scaled + static_cast<float>(lower));
}

void DrawSamples(int count, const std::map<long long, double>& values, std::int64_t total,
                 DrawRange range, std::vector<double>& samples) {
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    for (int i = 0; i < count; ++i) {
        const std::int64_t drawn = ScaleDraw(DrawOfRuntime(), total, 0);
        // BEHAVIOUR H6, H7
        const auto entry = values.upper_bound(
            range == DrawRange::Bits32 ? static_cast<std::int32_t>(drawn) : drawn);
        if (entry != values.end()) samples.push_back(entry->second);
    }
    std::sort(samples.begin(), samples.end(), SortsBefore);
}

}  // namespace orvix::detail
