// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/gpu/section.h"

namespace orvix::detail {

/// Counts `times` points more of a class; a value that is no class is not counted.
inline void Count(SectionCounts& counts, SectionClass value, std::uint64_t times = 1) {
    switch (value) {
        case SectionClass::In:
            counts.in += times;
            break;
        case SectionClass::Behind:
            counts.behind += times;
            break;
        case SectionClass::Before:
            counts.before += times;
            break;
        case SectionClass::Outside:
            counts.outside += times;
            break;
        case SectionClass::NoPosition:
            counts.noPosition += times;
            break;
    }
}

inline void Add(SectionCounts& sum, const SectionCounts& counts) {
    sum.in += counts.in;
    sum.behind += counts.behind;
    sum.before += counts.before;
    sum.outside += counts.outside;
    sum.noPosition += counts.noPosition;
}

}  // namespace orvix::detail
