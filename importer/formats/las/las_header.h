// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "importer/formats/scan_file.h"

namespace orvix::importer {

/// Where the records of a LAS point format hold class and colour.
///
/// In all eleven formats coordinates stand at byte 0 (three i32), the intensity at byte 12 (u16).
struct LasPointFormat {
    std::uint16_t recordBytes = 0;  ///< the minimum; what a longer record adds is skipped
    std::uint8_t classByte = 0;
    std::uint8_t classMask = 0;
    std::uint8_t colourByte = 0;  ///< three u16; 0 where there is no colour
};

/// The part of a LAS header that reading points needs, checked against the file.
///
/// Unless they are compressed, every declared point lies inside the file.
struct LasHeader {
    int minorVersion = 0;     ///< of LAS 1.x
    bool compressed = false;  ///< LAZ: see OpenLaz
    std::uint16_t headerBytes = 0;
    std::uint32_t variableRecords = 0;  ///< between the header and the points
    std::uint8_t pointFormat = 0;
    LasPointFormat layout;
    std::uint16_t recordBytes = 0;
    std::uint64_t points = 0;
    std::uint64_t firstPointByte = 0;
    std::array<double, 3> scale{};
    std::array<double, 3> offset{};
};

/// Reads and checks the header of LAS 1.0 to 1.4.
///
/// The 64-bit point count of LAS 1.4 counts when it is not zero, else the 32-bit one.
///
/// Errors   BadInput: an unknown version or point format, a record shorter than its format, a
///          scale or offset that no coordinate can be made with, points past the end of the file.
Expected<LasHeader> ReadLasHeader(const ScanFile& file);

}  // namespace orvix::importer
