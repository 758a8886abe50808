// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "importer/formats/byte_order.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kShortestHeader = 227;
constexpr std::size_t kHeaderWithCount64 = 255;
constexpr std::size_t kLongestHeader = 375;
constexpr std::uint8_t kCompressedBits = 0xC0;

constexpr LasPointFormat kPointFormats[] = {
    {20, 15, 0x1F, 0},  {28, 15, 0x1F, 0},  {26, 15, 0x1F, 20}, {34, 15, 0x1F, 28},
    {57, 15, 0x1F, 0},  {63, 15, 0x1F, 28}, {30, 16, 0xFF, 0},  {36, 16, 0xFF, 30},
    {38, 16, 0xFF, 30}, {59, 16, 0xFF, 0},  {67, 16, 0xFF, 30},
};

constexpr std::string_view kCompressed =
    "the points are compressed (LAZ), which is not read. Decompress the file, for example with "
    "\"laszip -i in.laz -o out.las\" or \"pdal translate in.laz out.las\", and import the result.";

/// A compressor that hides itself in the point format still leaves its record of parameters.
bool HasCompressionRecord(const ScanFile& file, std::uint64_t offset, std::uint32_t records,
                          std::uint64_t end) {
    constexpr std::uint32_t kRecordsLookedAt = 1000;
    constexpr std::uint64_t kRecordHeader = 54;
    for (std::uint32_t i = 0; i < std::min(records, kRecordsLookedAt); ++i) {
        std::array<std::uint8_t, kRecordHeader> header{};
        if (offset > end || end - offset < kRecordHeader) return false;
        if (!file.Read(offset, header.data(), header.size())) return false;
        if (std::memcmp(header.data() + 2, "laszip encoded", 14) == 0) return true;
        offset += kRecordHeader + Load<std::uint16_t>(header.data() + 20);
    }
    return false;
}

Expected<void> CheckTransform(const ScanFile& file, const LasHeader& header) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double scale = header.scale[axis];
        const double offset = header.offset[axis];
        if (!std::isfinite(scale) || scale == 0 || !std::isfinite(offset)) {
            return file.Bad(fmt::format(
                "the header gives {} the scale {} and the offset {}, which yield no coordinates. "
                "The header is damaged: copy or export the file again.",
                "xyz"[axis], scale, offset));
        }
    }
    return {};
}

std::uint64_t DeclaredPoints(const std::vector<std::uint8_t>& bytes, int minorVersion,
                             std::uint16_t headerBytes) {
    const std::uint64_t count32 = Load<std::uint32_t>(bytes.data() + 107);
    if (minorVersion < 4 || headerBytes < kHeaderWithCount64) return count32;
    if (bytes.size() < kHeaderWithCount64) return count32;
    const auto count64 = Load<std::uint64_t>(bytes.data() + 247);
    return count64 != 0 ? count64 : count32;
}

tl::unexpected<Error> BadHeaderCut(const ScanFile& file, std::uint64_t headerBytes) {
    return file.Bad(fmt::format(
        "the file ends at byte {}, inside its LAS header of {} bytes. It is cut short; copy, "
        "download or export it again.",
        file.Size(), headerBytes));
}

}  // namespace

Expected<LasHeader> ReadLasHeader(const ScanFile& file) {
    if (file.Size() < kShortestHeader) return BadHeaderCut(file, kShortestHeader);
    std::vector<std::uint8_t> bytes;
    const std::uint64_t read = std::min<std::uint64_t>(file.Size(), kLongestHeader);
    if (auto done = file.ReadBlock(0, static_cast<std::size_t>(read), bytes); !done) {
        return tl::unexpected(done.error());
    }
    const int major = bytes[24];
    const auto headerBytes = Load<std::uint16_t>(bytes.data() + 94);
    const std::uint8_t formatByte = bytes[104];

    LasHeader header;
    header.minorVersion = bytes[25];
    header.firstPointByte = Load<std::uint32_t>(bytes.data() + 96);
    header.pointFormat = formatByte;
    header.recordBytes = Load<std::uint16_t>(bytes.data() + 105);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.scale[axis] = Load<double>(bytes.data() + 131 + 8 * axis);
        header.offset[axis] = Load<double>(bytes.data() + 155 + 8 * axis);
    }
    header.points = DeclaredPoints(bytes, header.minorVersion, headerBytes);

    if (major != 1 || header.minorVersion > 4) {
        return file.Bad(
            fmt::format("this is LAS {}.{}; LAS 1.0 to 1.4 are read. Convert it to LAS 1.4.", major,
                        header.minorVersion));
    }
    if ((formatByte & kCompressedBits) != 0) return file.Bad(kCompressed);
    if (formatByte >= std::size(kPointFormats)) {
        return file.Bad(
            fmt::format("the points have format {}; the formats 0 to 10 are read. "
                        "Convert the file to LAS 1.4.",
                        formatByte));
    }
    if (file.Size() < headerBytes) return BadHeaderCut(file, headerBytes);
    header.layout = kPointFormats[formatByte];
    if (header.recordBytes < header.layout.recordBytes) {
        return file.Bad(fmt::format(
            "the header declares point records of {} bytes, but point format {} needs {}. The "
            "header is damaged: copy or export the file again.",
            header.recordBytes, formatByte, header.layout.recordBytes));
    }
    if (headerBytes < kShortestHeader || header.firstPointByte < headerBytes) {
        return file.Bad(fmt::format(
            "the header declares a header of {} bytes and points from byte {} on, which cannot "
            "both be. The header is damaged: copy or export the file again.",
            headerBytes, header.firstPointByte));
    }
    if (auto checked = CheckTransform(file, header); !checked) {
        return tl::unexpected(checked.error());
    }
    if (header.points > file.BytesFrom(header.firstPointByte) / header.recordBytes) {
        const auto records = Load<std::uint32_t>(bytes.data() + 100);
        if (HasCompressionRecord(file, headerBytes, records, header.firstPointByte)) {
            return file.Bad(kCompressed);
        }
        return BadCutShort(file, {.noun = "points",
                                  .declared = header.points,
                                  .recordBytes = header.recordBytes,
                                  .firstByte = header.firstPointByte});
    }
    return header;
}

}  // namespace orvix::importer
