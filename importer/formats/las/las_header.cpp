// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las/las_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "importer/formats/byte_order.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kMinHeaderBytes = 227;
constexpr std::size_t kHeaderWithCount64 = 255;
constexpr std::size_t kMaxHeaderBytes = 375;
constexpr std::uint8_t kCompressionBits = 0xC0;
constexpr std::uint8_t kCompressed = 0x80;  // the other bit marks what a prototype wrote

constexpr LasPointFormat kPointFormats[] = {
    {20, 15, 0x1F, 0},  {28, 15, 0x1F, 0},  {26, 15, 0x1F, 20}, {34, 15, 0x1F, 28},
    {57, 15, 0x1F, 0},  {63, 15, 0x1F, 28}, {30, 16, 0xFF, 0},  {36, 16, 0xFF, 30},
    {38, 16, 0xFF, 30}, {59, 16, 0xFF, 0},  {67, 16, 0xFF, 30},
};

constexpr std::string_view kUnknownCompression =
    "the points are compressed in a way that is not read. Decompress the file, for example with "
    "\"laszip -i in.laz -o out.las\" or \"pdal translate in.laz out.las\", and import the result.";

/// The header as stored, with what only the checks need.
struct StoredHeader : LasHeader {
    int majorVersion = 0;
    std::uint8_t compression = 0;
};

std::uint64_t DeclaredPoints(const std::vector<std::uint8_t>& bytes, const StoredHeader& header) {
    const std::uint64_t count32 = Load<std::uint32_t>(bytes.data() + 107);
    const bool hasCount64 = header.minorVersion >= 4 && header.headerBytes >= kHeaderWithCount64 &&
                            bytes.size() >= kHeaderWithCount64;
    const auto count64 = hasCount64 ? Load<std::uint64_t>(bytes.data() + 247) : 0;
    return count64 != 0 ? count64 : count32;  // BEHAVIOUR X3
}

StoredHeader LoadHeader(const std::vector<std::uint8_t>& bytes) {
    StoredHeader header;
    header.majorVersion = bytes[24];
    header.minorVersion = bytes[25];
    header.headerBytes = Load<std::uint16_t>(bytes.data() + 94);
    header.firstPointByte = Load<std::uint32_t>(bytes.data() + 96);
    header.variableRecords = Load<std::uint32_t>(bytes.data() + 100);
    header.compression = bytes[104] & kCompressionBits;
    header.compressed = header.compression == kCompressed;
    header.pointFormat = bytes[104] & static_cast<std::uint8_t>(~kCompressionBits);
    header.recordBytes = Load<std::uint16_t>(bytes.data() + 105);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.scale[axis] = Load<double>(bytes.data() + 131 + 8 * axis);
        header.offset[axis] = Load<double>(bytes.data() + 155 + 8 * axis);
    }
    header.points = DeclaredPoints(bytes, header);
    return header;
}

tl::unexpected<Error> BadHeaderCut(const ScanFile& file, std::uint64_t headerBytes) {
    return file.Bad(fmt::format(
        "the file ends at byte {}, inside its LAS header of {} bytes. It is cut short; copy, "
        "download or export it again.",
        file.Size(), headerBytes));
}

Expected<void> CheckKind(const ScanFile& file, const StoredHeader& header) {
    if (header.majorVersion != 1 || header.minorVersion > 4) {
        return file.Bad(
            fmt::format("this is LAS {}.{}; LAS 1.0 to 1.4 are read. Convert it to LAS 1.4.",
                        header.majorVersion, header.minorVersion));
    }
    if (header.compression != 0 && !header.compressed) return file.Bad(kUnknownCompression);
    if (header.pointFormat >= std::size(kPointFormats)) {
        return file.Bad(fmt::format(
            "the points have format {}; the formats 0 to 10 are read. Convert the file to LAS 1.4.",
            header.pointFormat));
    }
    return {};
}

Expected<void> CheckSizes(const ScanFile& file, const StoredHeader& header) {
    if (file.Size() < header.headerBytes) return BadHeaderCut(file, header.headerBytes);
    if (header.recordBytes < header.layout.recordBytes) {
        return file.Bad(fmt::format(
            "the header declares point records of {} bytes, but point format {} needs {}. The "
            "header is damaged: copy or export the file again.",
            header.recordBytes, header.pointFormat, header.layout.recordBytes));
    }
    if (header.headerBytes < kMinHeaderBytes || header.firstPointByte < header.headerBytes) {
        return file.Bad(fmt::format(
            "the header declares a header of {} bytes and points from byte {} on, which cannot "
            "both be. The header is damaged: copy or export the file again.",
            header.headerBytes, header.firstPointByte));
    }
    return {};
}

Expected<void> CheckTransform(const ScanFile& file, const StoredHeader& header) {
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

/// A compressor that hides itself in the point format still leaves its record of parameters.
bool HasCompressionRecord(const ScanFile& file, const StoredHeader& stored) {
    constexpr std::uint32_t kRecordsLookedAt = 1000;
    constexpr std::uint64_t kRecordHeader = 54;
    std::uint64_t offset = stored.headerBytes;
    for (std::uint32_t i = 0; i < std::min(stored.variableRecords, kRecordsLookedAt); ++i) {
        std::array<std::uint8_t, kRecordHeader> header{};
        if (offset > stored.firstPointByte) return false;
        if (!file.Read(offset, header.data(), header.size())) return false;
        if (std::memcmp(header.data() + 2, "laszip encoded", 14) == 0) return true;
        offset += kRecordHeader + Load<std::uint16_t>(header.data() + 20);
    }
    return false;
}

Expected<void> CheckPoints(const ScanFile& file, const StoredHeader& header) {
    if (header.compressed) return {};
    // BEHAVIOUR X2
    if (header.points <= file.BytesFrom(header.firstPointByte) / header.recordBytes) return {};
    if (HasCompressionRecord(file, header)) return file.Bad(kUnknownCompression);
    return BadCutShort(file, {.noun = "points",
                              .declared = header.points,
                              .recordBytes = header.recordBytes,
                              .firstByte = header.firstPointByte});
}

}  // namespace

Expected<LasHeader> ReadLasHeader(const ScanFile& file) {
    if (file.Size() < kMinHeaderBytes) return BadHeaderCut(file, kMinHeaderBytes);
    std::vector<std::uint8_t> bytes;
    const std::uint64_t read = std::min<std::uint64_t>(file.Size(), kMaxHeaderBytes);
    if (auto done = file.ReadBlock(0, static_cast<std::size_t>(read), bytes); !done) {
        return ErrorOf(done);
    }
    StoredHeader header = LoadHeader(bytes);
    if (auto kind = CheckKind(file, header); !kind) return ErrorOf(kind);
    header.layout = kPointFormats[header.pointFormat];
    for (const auto check : {CheckSizes, CheckTransform, CheckPoints}) {
        if (auto checked = check(file, header); !checked) return ErrorOf(checked);
    }
    return LasHeader(header);
}

}  // namespace orvix::importer
