// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/gpu/section_counts.h"
#include "orvix/gpu/section_work.h"

namespace orvix::detail {

/// One pass over the entries of a SectionWork: where classes go, who is called, what was counted.
struct SectionWork::Pass {
    const SectionRule& rule;
    SectionClass* target = nullptr;  // for all entries; null: the use alone gets them
    const UsePiece& use;
    SectionCounts counts;
    std::uint64_t done = 0;             // entries, from the first on
    std::vector<SectionClass> classes;  // of a piece, without a target
    std::vector<std::uint8_t> steps;    // of a piece

    void Reserve(std::uint64_t piece) {
        if (target == nullptr) classes.resize(piece);
        if (rule.steps != 0) steps.resize(piece);
    }
    SectionClass* To() { return target != nullptr ? target + done : classes.data(); }
    std::uint8_t* Steps() { return rule.steps != 0 ? steps.data() : nullptr; }
    /// Uses the next entries, whose classes lie at To.
    void Take(std::uint64_t count, const SectionCounts& found, const std::uint64_t* indices) {
        Add(counts, found);
        if (use) use({done, {To(), count}, Steps(), indices});
        done += count;
    }
};

}  // namespace orvix::detail
