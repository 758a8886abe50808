// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/ply/ply_header.h"
#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads PLY files: ascii, and binary of both byte orders.
///
/// A point is a vertex's x, y and z, and intensity, colour and class where its properties are named
/// so (see FindRoles). Elements before the vertices are skipped exactly, with their lists; what
/// follows the vertices is not read. In an ascii file every element is a line of its own, and empty
/// lines are skipped.
///
/// Units    coordinates and intensity as stored; floating-point colours times 65535.
/// Order    as stored; `firstRecord` is the number of a piece's first vertex, from 0.
/// Boundaries a vertex with lists is at most 2 MiB long.
/// Errors   see ReadPlyHeader; fewer vertices than declared are an error with both numbers. A
///          line of an ascii file without a number for each coordinate counts as malformed.
/// Cost     vertices without lists are cut in bulk, others one by one.
Expected<std::unique_ptr<ScanReader>> OpenPly(ScanFile file);

/// Readers of the two kinds of body.
std::unique_ptr<ScanReader> MakePlyAsciiReader(ScanFile file, PlyHeader header);
std::unique_ptr<ScanReader> MakePlyBinaryReader(ScanFile file, PlyHeader header);

}  // namespace orvix::importer
