// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::importer {

struct ImportedFile {
    CString path;
    std::string format;
    std::uint64_t points = 0;  ///< read from it: with rejected ones, without omitted scans
};

/// What an import did; `read` is `written` plus the sum of `rejected`.
struct ImportReport {
    CString project;
    std::vector<ImportedFile> inputs;
    std::uint64_t read = 0;
    std::uint64_t written = 0;
    /// Reason -> points: "not a number", "out of range", "zero" (dropZeros), "duplicate" (dedupe),
    /// "malformed"; of files that mark such records: "no return", "invalid", "direction only".
    std::map<std::string, std::uint64_t> rejected;
    std::uint64_t skeletonPoints = 0;
    std::uint32_t stations = 0;
    /// Sum modulo 2^64 of RecordHash over the records as decoded (orvix/points/record_hash.h).
    std::uint64_t checksum = 0;
    std::array<double, 3> origin{};
    double seconds = 0;
    std::uint64_t peakMemoryBytes = 0;
    std::vector<std::string> warnings;  ///< sentences for the user
};

}  // namespace orvix::importer
