// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Opens a scan file of any format, by its first bytes and not by its name.
///
/// E57, LAS, PCD and PLY are known by their magic, PTX by the head of its first block; a file that
/// begins as no other format does is text.
///
/// Errors   BadInput for a missing or empty file, a folder, a format that is known but not read
///          (the message names it), and a file that is no scan; Failure when reading is not
///          permitted.
Expected<std::unique_ptr<ScanReader>> OpenScan(const CString& path);

/// Opens a file that begins as LAS files do; its header says whether its points are compressed.
Expected<std::unique_ptr<ScanReader>> OpenLasOrLaz(ScanFile file);

}  // namespace orvix::importer
