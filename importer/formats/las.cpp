// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <utility>

#include "importer/formats/byte_order.h"
#include "importer/formats/las_header.h"

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
            static_cast<std::uint8_t>(record[layout.classByte] & layout.classMask);
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

class LasReader final : public ScanReader {
public:
    LasReader(ScanFile file, const LasHeader& header) : file_(std::move(file)), header_(header) {
        info_.format =
            fmt::format("LAS 1.{}, point format {}", header.minorVersion, header.pointFormat);
        info_.declaredPoints = header.points;
        info_.hasIntensity = true;
        info_.hasColour = header.layout.colourByte != 0;
        info_.hasClassification = true;
    }

    const ScanInfo& Info() const override { return info_; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override {
        const std::uint64_t perPiece = kPieceBytes / header_.recordBytes;
        piece.records = std::min(perPiece, header_.points - next_);
        piece.firstRecord = next_;
        piece.fileOffset = header_.firstPointByte + next_ * header_.recordBytes;
        if (piece.records == 0) return false;
        const auto bytes = static_cast<std::size_t>(piece.records * header_.recordBytes);
        if (auto read = file_.ReadBlock(piece.fileOffset, bytes, piece.bytes); !read) {
            return tl::unexpected(read.error());
        }
        next_ += piece.records;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.malformed = 0;
        decoded.points.resize(piece.bytes.size() / header_.recordBytes);
        const auto decode = info_.hasColour ? DecodeRecords<true> : DecodeRecords<false>;
        decode(header_, piece.bytes.data(), decoded.points);
        return {};
    }

    Expected<void> Rewind() override {
        next_ = 0;
        return {};
    }

private:
    ScanFile file_;
    LasHeader header_;
    ScanInfo info_;
    std::uint64_t next_ = 0;  // number of the next piece's first point
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenLas(ScanFile file) {
    const auto header = ReadLasHeader(file);
    if (!header) return tl::unexpected(header.error());
    return std::make_unique<LasReader>(std::move(file), *header);
}

}  // namespace orvix::importer
