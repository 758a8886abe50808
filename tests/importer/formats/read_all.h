// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "importer/scans/scan_reader.h"
#include "support/scratch_folder.h"

namespace orvix::test {

/// All that a reader makes of a file.
struct WholeScan {
    std::string error;  ///< empty when reading succeeded
    importer::ScanInfo info;
    std::vector<importer::ScanPoint> points;
    std::uint64_t malformed = 0;
    std::uint64_t pieces = 0;
    importer::PointlessRecords pointless{};  ///< malformed ones included
    std::vector<std::size_t> scanOfPoint{};  ///< by point
};

/// Reads a file to its end, then once more after Rewind; checks that the passes agree, that
/// pieces come in file order within the file, scan by scan, that record numbers add up, and that a
/// reader opened anew goes on from any place between two pieces.
WholeScan ReadAll(const CString& path);
/// The same for bytes, written to a file first.
WholeScan ReadAll(const std::vector<std::uint8_t>& bytes);
WholeScan ReadAll(std::string_view text);

/// "1 2 3; 4 5 6": the positions, for short expectations.
std::string Positions(const WholeScan& scan);

}  // namespace orvix::test
