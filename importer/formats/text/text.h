// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads text scans (XYZ, TXT, ASC, CSV, PTS): a point per line.
///
/// FindTextLayout finds the columns. A file that begins with a count of points may hold further
/// scans, each after a count of its own (PTS): one begins where as many lines as the last count
/// says have passed and the next line is a count.
///
/// Units    coordinates and intensity as written; colours as written, or times 65535 where they
///          run from 0 to 1.
/// Order    as written; `firstRecord` is the number of a piece's first line, from 0.
/// Boundaries blank lines and comments hold no point. A line that lacks a used column or whose
///            coordinate is no number counts as malformed; an unreadable attribute is 0. "nan" and
///            "inf" are coordinates. A line is at most 2 MiB long.
/// Errors   see FindTextLayout and LineBlocks.
/// Cost     one read of 2 MiB per piece; about 10 ns per number to decode.
Expected<std::unique_ptr<ScanReader>> OpenText(ScanFile file);

}  // namespace orvix::importer
