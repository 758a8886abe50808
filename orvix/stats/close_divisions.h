// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace orvix::detail {

/// Returns what ExhaustiveFirsts returns, but computes only the divisions whose sums come close to
/// the smallest. Empty when too many come close, when the values do not ascend, or when their
/// squares leave the range in which rounding is proportional; ExhaustiveFirsts decides then.
///
/// How it stays exact. The deviation v of m values with squares A, as RunningDeviation computes it,
/// differs from that of real numbers by at most (3 m + 5) 2^-53 A: the two running sums gather m
/// roundings each, and the second one counts twice. A sum of deviations over l values is therefore
/// within (3 l + 5 + 2 k) 2^-53 A of the real one, A now being that of all l. MinSums bounds its
/// own distance from the real sums. So a position whose fast sum lies above the smallest by more
/// than twice both bounds cannot decide; for the others the deciding sums are computed.
std::vector<std::size_t> CloseFirsts(std::span<const double> values, std::size_t classes);

}  // namespace orvix::detail
