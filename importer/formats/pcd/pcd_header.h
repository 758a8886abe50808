// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importer/formats/column_roles.h"
#include "importer/formats/scan_file.h"
#include "importer/scans/scan_pose.h"

namespace orvix::importer {

enum class PcdEncoding { Ascii, Binary, Compressed };

/// A field of a point: `count` numbers of `size` bytes each, of type 'F' (floating-point), 'U'
/// (unsigned) or 'I' (signed).
struct PcdField {
    std::string name;
    char type = 'F';
    std::size_t size = 4;
    std::size_t count = 1;

    [[nodiscard]] std::size_t Bytes() const { return size * count; }
};

/// What a PCD header says, and where the body starts.
struct PcdHeader {
    std::string version;
    std::vector<PcdField> fields;
    std::uint64_t points = 0;
    std::optional<ScanPose> viewpoint;
    PcdEncoding encoding = PcdEncoding::Ascii;
    std::uint64_t bodyByte = 0;
    std::uint64_t bodyLine = 0;

    RoleColumns columns;                ///< by field
    std::optional<std::size_t> packed;  ///< the field rgb or rgba: 0xAARRGGBB in four bytes

    [[nodiscard]] std::size_t RecordBytes() const;
};

/// Whether a file begins as PCD files do.
bool LooksLikePcd(std::string_view start);

/// Reads a PCD header of version 0.5 to 0.7.
///
/// Lines up to DATA come in any order; comments are skipped. A missing COUNT is 1, a missing POINTS
/// is the product of WIDTH and HEIGHT.
///
/// Boundaries a header is at most 64 KiB long, a point at most 64 KiB.
/// Errors   BadInput with the line: a number or type that is none, a field without size or type, no
///          x, y and z, no DATA, a viewpoint that does not turn.
Expected<PcdHeader> ReadPcdHeader(const ScanFile& file);

}  // namespace orvix::importer
