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

/// Draws up to `count` values from a histogram file, each as often as its bin has points, adds
/// `shift` to them and returns them sorted, as ProjectManager::ReadHistogram4Jenks does; but of any
/// number of points (BEHAVIOUR H6), and never a bin without points. A missing file gives none.
///
/// Order    seeded with the time in seconds, from the C runtime's generator.
/// Cost     one pass as above; about 60 bytes per bin.
std::vector<double> SampleHistogram(const CString& path, double shift, int count);

}  // namespace orvix::detail
