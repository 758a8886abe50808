// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads E57 files (ASTM E2807, version 1): each scan of the file with its name and pose.
///
/// Units    metres; see E57PointDecoder for coordinates and attributes. A scan without a pose
///          stands at the origin of the file, as the standard has it.
/// Order    scans as the XML lists them, records as stored; `firstRecord` is the number of a
///          piece's first record in its scan, from 0.
/// Boundaries scans without records are there, with their poses. Pictures, groups of points and
///            extensions are passed over; the checksums of pages that hold nothing else are not
///            verified.
/// Errors   see E57Pages, ReadE57Scans, FindE57Section and E57Streams; a scan with records but no
///          coordinates, and scans that share bytes.
/// Cost     one thread takes the pages apart; decoding runs on every core. 22 million points/s on
///          one core (bench/importer/e57_rate.cpp).
Expected<std::unique_ptr<ScanReader>> OpenE57(ScanFile file);

}  // namespace orvix::importer
