// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::fuzz {

using Opener = Expected<std::unique_ptr<importer::ScanReader>> (*)(importer::ScanFile file);

/// Reads any bytes as one format, twice, and aborts when the reader breaks a promise: a piece
/// larger than a piece may be, more bytes reported than there are, scans out of order, more points
/// than the bytes can hold, passes that differ, an intensity that is not finite, an error without
/// a sentence.
void ReadAsScan(Opener open, const std::uint8_t* data, std::size_t size);

}  // namespace orvix::fuzz
