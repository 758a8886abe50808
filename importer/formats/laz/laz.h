// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/las/las_header.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads compressed LAS (LAZ): point formats 0 to 3 (item version 2) and 6 to 8 (layered, item
/// versions 3 and 4).
///
/// Records may have extra bytes, chunks a fixed or a varying size; the place of the table of chunks
/// may stand at the front or at the end of the file.
///
/// Units    as for plain LAS: what is decoded are its records, byte for byte.
/// Order    as stored; a piece is a chunk, as a rule of 50,000 points.
/// Boundaries of a layered chunk only the layers that an import keeps are decoded.
/// Errors   see ReadLazLayout; a chunk whose bytes end before its points do is BadInput, with its
///          number and place. A flipped bit that leaves it enough bytes gives other points.
/// Threads  chunks are decoded at once, each from its own bytes alone.
/// Cost     about 0.2 microseconds per point.
Expected<std::unique_ptr<ScanReader>> OpenLaz(ScanFile file, const LasHeader& header);

}  // namespace orvix::importer
