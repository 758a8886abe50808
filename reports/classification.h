// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/project/histogram_file.h"

namespace orvix::reports {

/// Natural classes of a histogram's values: their boundaries and how many points each holds.
struct Classification {
    std::vector<double> boundaries;     ///< the lowest value, then the largest of each class
    std::vector<std::uint64_t> counts;  ///< points in each class
    double fit = 0;                     ///< goodness of variance fit, 0 to 1
    std::size_t sampled = 0;            ///< values that decided; 0: all of them
    std::uint32_t seed = 0;             ///< of the draws of these values

    [[nodiscard]] std::size_t Classes() const { return counts.size(); }
    /// The class of a bin's value, from 0: the first whose boundary is not below it.
    [[nodiscard]] std::size_t ClassOf(double value) const;
    /// "by all points", "by a sample of 8,000 values, seed 7".
    [[nodiscard]] std::string HowText() const;
};

struct ClassifyOptions {
    std::size_t classes = 5;
    std::size_t sample = 0;  ///< draws that decide; 0: every point does
    std::uint32_t seed = 1;  ///< of the draws
};

/// Divides a histogram's values into natural classes: exactly, by all of its points
/// (detail::BinClasses), or as hosts do, by a sample (Mathematic::GetJenksBreaks).
///
/// Order      the same on every system: a sample is drawn by detail::SeededDraws.
/// Boundaries a value equal to a boundary is in the class that ends there. The outer boundaries are
///            the lowest and the largest value of all points, whether a sample met them or not.
/// Errors     BadInput where there are fewer distinct values than classes, or too many of both for
///            the memory (1 GiB).
/// Cost       that of the two; a pass over the bins for the counts.
Expected<Classification> Classify(const std::vector<detail::HistogramBin>& bins,
                                  const ClassifyOptions& options);

}  // namespace orvix::reports
