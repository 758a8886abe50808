// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// One bin of a histogram: 12 bytes in a file (value, then a 32-bit count, without padding).
struct HistogramBin {
    double value = 0;
    std::uint64_t count = 0;
};

/// Reads a project's histogram file: the bins that hold points, values strictly ascending. Records
/// of one value, into which a large count is divided, are one bin.
///
/// Errors   Damaged, with the path and the record, for a size that is no multiple of 12, a value
///          that is not finite or less than the one before it, or a negative count; FailSystem's
///          for a file that cannot be read, Damaged for one that is missing.
/// Cost     one pass through a buffer of 64 KiB; 16 bytes a bin.
Expected<std::vector<HistogramBin>> ReadHistogram(const CString& path);

}  // namespace orvix::detail
