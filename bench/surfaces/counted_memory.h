// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

/// How much memory a program has asked for by `new`, to the byte and the same on every run: resident
/// memory would hold what earlier work has left.
///
///     const std::size_t before = bench::LiveBytes();
///     bench::ForgetPeak();
///     Work();
///     Print(bench::PeakBytes() - before);
///
/// Threads  one; benches that link it have no other.
namespace orvix::bench {

std::size_t LiveBytes();
std::size_t PeakBytes();
void ForgetPeak();

}  // namespace orvix::bench
