// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/random_draw.h"

#include <cstdlib>

#include "orvix/platform/truncate.h"

namespace orvix::detail {

static_assert(RAND_MAX >= kMaxDraw);

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

}  // namespace orvix::detail
