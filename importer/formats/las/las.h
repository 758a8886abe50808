// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/las/las_header.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads uncompressed LAS 1.0 to 1.4, all eleven point formats; for LAZ see OpenLaz.
///
/// Units    coordinates are stored integer * scale + offset, in double; intensity and colours as
///          stored (u16); the class without its flag bits. Points flagged synthetic, key point,
///          withheld or overlap are points like any other.
/// Order    as stored; `firstRecord` is the number of a piece's first point, from 0.
/// Errors   see ReadLasHeader; a declared point outside the file is refused before the first
///          point is read.
/// Cost     one read of 2 MiB per piece; 5 to 10 ns per point to decode.
Expected<std::unique_ptr<ScanReader>> OpenLas(ScanFile file, const LasHeader& header);

}  // namespace orvix::importer
