// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// One record of a histogram file: 12 bytes, the value and then the count, without padding.
struct HistogramRecord {
    double value = 0;
    std::int32_t count = 0;
};
using HistogramRecordBytes = std::array<std::uint8_t, 12>;
HistogramRecord HistogramRecordAt(const std::uint8_t* bytes);
HistogramRecordBytes HistogramBytesOf(const HistogramRecord& record);

/// One bin of a histogram: its value and all its points.
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
/// Cost     one pass through a buffer of 64 KiB; 16 bytes per bin.
Expected<std::vector<HistogramBin>> ReadHistogram(const CString& path);

}  // namespace orvix::detail
