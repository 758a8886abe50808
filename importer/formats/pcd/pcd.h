// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "importer/formats/pcd/pcd_header.h"
#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reads PCD files: ascii, binary and compressed.
///
/// Fields are x, y and z, and intensity, colour (three fields, or rgb in one) and class where they
/// are named so (see FindRoles). The line VIEWPOINT is the scanner's pose, and points are in the
/// scanner's frame: the pose brings them into the file's frame. A file of a version without that
/// line holds no pose.
///
/// Units    coordinates and intensity as stored. Organised clouds are clouds like any other; their
///          empty places are points that are not a number.
/// Order    as stored; `firstRecord` is the number of a piece's first point, from 0.
/// Errors   see ReadPcdHeader and LzfStream; fewer points than declared are an error with both
///          numbers. A line of an ascii file without a number for each coordinate is malformed.
/// Cost     a compressed file is unpacked field by field, side by side: once to find where fields
///          begin, and once per pass; memory does not grow with it.
Expected<std::unique_ptr<ScanReader>> OpenPcd(ScanFile file);

}  // namespace orvix::importer
