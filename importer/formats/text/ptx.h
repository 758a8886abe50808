// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string_view>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Whether a file begins with the head of a PTX block: two counts, the scanner's position and axes,
/// and a 4 x 4 matrix, a line per row.
bool LooksLikePtx(std::string_view start);

/// Reads PTX files: blocks of lines, each block a scan with its pose.
///
/// A block has columns x rows lines "x y z intensity" or "x y z intensity red green blue". Its
/// matrix brings the points into the file's frame, rows times points as the format has it. The
/// scanner stands where the block's position and axes say; where these are 0 0 0 and the axes
/// themselves, where the matrix takes them.
///
/// Units    coordinates and intensity as written.
/// Order    as written; `firstRecord` is the number of a piece's first line in the file, from 0.
/// Boundaries a point at 0 0 0 is a direction without a return. Blank lines may part blocks.
/// Errors   BadInput: a block's head that is none, a matrix or axes that mirror or flatten, a block
///          of fewer lines than it declares.
Expected<std::unique_ptr<ScanReader>> OpenPtx(ScanFile file);

}  // namespace orvix::importer
