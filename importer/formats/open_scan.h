// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/scans/scan_reader.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Opens a scan file by what its first bytes say, whatever its name: E57, LAS, PCD and PLY by
/// their magic, PTX by the head of its first block, text when nothing else is known to start so.
///
/// Errors   BadInput for a missing or empty file, a folder, a format that is known but not read
///          (told by name), and a file that is no scan; Failure when reading is not permitted.
Expected<std::unique_ptr<ScanReader>> OpenScan(const CString& path);

}  // namespace orvix::importer
