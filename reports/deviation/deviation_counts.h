// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "reports/deviation/deviation.h"

namespace orvix::reports {

/// Counts heights over the faces of elements, in steps of a tenth of a millimetre.
///
/// Boundaries the step doubles, and again, while the counts take more than `memory` bytes.
/// Order    integers alone: the same counts whatever the order of the calls.
/// Threads  Add may run side by side.
class DeviationCounts {
public:
    DeviationCounts(std::size_t elements, double reach, double tolerance, std::uint64_t memory);

    /// Precondition: `height` is within the reach.
    void Add(std::uint32_t element, double height);

    [[nodiscard]] double Step() const { return step_; }
    [[nodiscard]] DeviationFigures FiguresOf(std::size_t element) const;
    [[nodiscard]] DeviationFigures FiguresOfAll() const;

private:
    [[nodiscard]] DeviationFigures FiguresOf(const std::uint64_t* counts,
                                             std::uint64_t within) const;
    [[nodiscard]] double HeightAt(std::size_t bin) const;

    double tolerance_;
    double step_;
    std::size_t bins_;
    std::vector<std::uint64_t> counts_;  // element by element
    std::vector<std::uint64_t> within_;
};

}  // namespace orvix::reports
