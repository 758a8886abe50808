// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

namespace orvix::test {

/// Natural breaks, written down as the recurrence is stated: two matrices, every candidate tried.
/// The oracle of the library's own, which must give the same bits.
std::vector<double> PlainBreaks(const std::vector<double>& values, int classes, double lowerBound);

}  // namespace orvix::test
