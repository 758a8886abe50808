// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las/las_records.h"

#include <fmt/format.h>

#include "importer/formats/byte_order.h"

namespace orvix::importer {
namespace {

template <bool HasColour>
void DecodeRecords(const LasHeader& header, const std::uint8_t* record, std::span<ScanPoint> out) {
    const LasPointFormat layout = header.layout;
    const std::size_t stride = header.recordBytes;
    const auto scale = header.scale;
    const auto offset = header.offset;
    for (ScanPoint& point : out) {
        point.x = Load<std::int32_t>(record) * scale[0] + offset[0];
        point.y = Load<std::int32_t>(record + 4) * scale[1] + offset[1];
        point.z = Load<std::int32_t>(record + 8) * scale[2] + offset[2];
        point.intensity = Load<std::uint16_t>(record + 12);
        point.classification =
            static_cast<std::uint8_t>(record[layout.classByte] & layout.classMask);  // BEHAVIOUR X6
        if constexpr (HasColour) {
            point.red = Load<std::uint16_t>(record + layout.colourByte);
            point.green = Load<std::uint16_t>(record + layout.colourByte + 2);
            point.blue = Load<std::uint16_t>(record + layout.colourByte + 4);
        } else {
            point.red = point.green = point.blue = 0;
        }
        record += stride;
    }
}

}  // namespace

void DecodeLasRecords(const LasHeader& header, const std::uint8_t* records,
                      std::span<ScanPoint> points) {
    const bool hasColour = header.layout.colourByte != 0;
    (hasColour ? DecodeRecords<true> : DecodeRecords<false>)(header, records, points);
}

ScanInfo DescribeLas(const LasHeader& header) {
    ScanInfo info;
    info.format = fmt::format("{} 1.{}, point format {}", header.compressed ? "LAZ" : "LAS",
                              header.minorVersion, header.pointFormat);
    info.declaredPoints = header.points;
    info.hasIntensity = true;
    info.hasColour = header.layout.colourByte != 0;
    info.hasClassification = true;
    return info;
}

}  // namespace orvix::importer
