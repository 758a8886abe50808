// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scans/las_writer.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace orvix::test {
namespace {

static_assert(std::endian::native == std::endian::little, "values are copied as they are");

struct RecordShape {
    std::uint16_t bytes;
    std::uint16_t colour;  // 0: none
};
constexpr RecordShape kShapes[] = {{20, 0}, {28, 0},  {26, 20}, {34, 28}, {57, 0}, {63, 28},
                                   {30, 0}, {36, 30}, {38, 30}, {59, 0},  {67, 30}};

template <class T>
void Put(std::uint8_t* bytes, std::size_t at, T value) {
    std::memcpy(bytes + at, &value, sizeof(value));
}

}  // namespace

std::uint16_t LasRecordBytes(std::uint8_t pointFormat) {
    return kShapes[pointFormat].bytes;
}

std::uint16_t LasHeaderBytes(int minorVersion) {
    return minorVersion == 4 ? 375 : minorVersion == 3 ? 235 : 227;
}

std::vector<std::uint8_t> LasHeaderOf(const LasLayout& layout, std::uint64_t points) {
    const std::uint16_t headerBytes = LasHeaderBytes(layout.minorVersion);
    const std::uint32_t firstPoint = layout.firstPointByte.value_or(headerBytes);
    std::vector<std::uint8_t> bytes(std::max<std::size_t>(headerBytes, firstPoint));
    std::uint8_t* header = bytes.data();
    std::memcpy(header, "LASF", 4);
    header[24] = 1;
    header[25] = static_cast<std::uint8_t>(layout.minorVersion);
    Put(header, 94, headerBytes);
    Put(header, 96, firstPoint);
    header[104] = layout.pointFormat;
    Put<std::uint16_t>(
        header, 105,
        static_cast<std::uint16_t>(LasRecordBytes(layout.pointFormat & 0x0F) + layout.extraBytes));
    const bool onlyWide = layout.minorVersion == 4 && layout.pointFormat >= 6;
    Put(header, 107, layout.count32.value_or(onlyWide ? 0 : static_cast<std::uint32_t>(points)));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Put(header, 131 + 8 * axis, layout.scale[axis]);
        Put(header, 155 + 8 * axis, layout.offset[axis]);
    }
    if (layout.minorVersion == 4) Put(header, 247, layout.count64.value_or(points));
    return bytes;
}

void AppendLasPoint(const LasLayout& layout, const LasPoint& point,
                    std::vector<std::uint8_t>& bytes) {
    const RecordShape shape = kShapes[layout.pointFormat];
    const std::size_t start = bytes.size();
    bytes.resize(start + shape.bytes + layout.extraBytes, 0xA5);
    std::uint8_t* record = bytes.data() + start;
    Put(record, 0, point.x);
    Put(record, 4, point.y);
    Put(record, 8, point.z);
    Put(record, 12, point.intensity);
    if (layout.pointFormat < 6) {
        record[15] = static_cast<std::uint8_t>((point.classification & 0x1F) | 0xE0);
    } else {
        record[16] = point.classification;
    }
    if (shape.colour == 0) return;
    Put(record, shape.colour, point.red);
    Put(record, shape.colour + std::size_t{2}, point.green);
    Put(record, shape.colour + std::size_t{4}, point.blue);
}

std::vector<std::uint8_t> MakeLas(const LasLayout& layout, const std::vector<LasPoint>& points) {
    std::vector<std::uint8_t> bytes = LasHeaderOf(layout, points.size());
    for (const LasPoint& point : points) AppendLasPoint(layout, point, bytes);
    return bytes;
}

}  // namespace orvix::test
