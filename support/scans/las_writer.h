// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvix::test {

/// A point as a LAS record stores it. What its point format has no room for is left out.
struct LasPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::uint16_t intensity = 0;
    std::uint8_t classification = 0;
    std::uint16_t red = 0;
    std::uint16_t green = 0;
    std::uint16_t blue = 0;

    bool operator==(const LasPoint&) const = default;
};

/// The header to write; the optional ones are what a correct file has unless set.
struct LasLayout {
    int minorVersion = 2;
    std::uint8_t pointFormat = 0;
    std::uint16_t extraBytes = 0;  ///< after each record's own
    std::array<double, 3> scale = {0.001, 0.001, 0.001};
    std::array<double, 3> offset = {};
    std::optional<std::uint32_t> firstPointByte = {};
    std::optional<std::uint32_t> count32 = {};
    std::optional<std::uint64_t> count64 = {};  ///< of LAS 1.4
};

/// Bytes that a point format gives a record, and the header sizes by minor version.
std::uint16_t LasRecordBytes(std::uint8_t pointFormat);
std::uint16_t LasHeaderBytes(int minorVersion);

/// The header with zeros up to the first point, for `points` points.
std::vector<std::uint8_t> LasHeaderOf(const LasLayout& layout, std::uint64_t points);
/// Appends one record. Bytes that no attribute of `point` fills hold a pattern, flag bits set.
void AppendLasPoint(const LasLayout& layout, const LasPoint& point,
                    std::vector<std::uint8_t>& bytes);
/// A whole file.
std::vector<std::uint8_t> MakeLas(const LasLayout& layout, const std::vector<LasPoint>& points);

}  // namespace orvix::test
