// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

namespace orvix::detail {

/// Mathematic::GetJenksBreaks, which tells what it does.
std::vector<double> NaturalBreaks(std::span<const double> values, int classes, double lowerBound);

}  // namespace orvix::detail
