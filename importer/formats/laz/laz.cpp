// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/laz/laz.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "importer/formats/las/las_records.h"
#include "importer/formats/laz/laz_layout.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

using laz::Chunk;
using laz::ChunkDecoder;
using laz::LazLayout;

// Records decoded at once, before they become points: they stay in the nearest cache.
constexpr std::size_t kBlockBytes = 8192;

class LazReader final : public ScanReader {
public:
    LazReader(ScanFile file, const LasHeader& header, LazLayout layout)
        : file_(std::move(file)),
          header_(header),
          layout_(std::move(layout)),
          info_(DescribeLas(header)) {}

    const ScanInfo& Info() const override { return info_; }
    bool IsDearToDecode() const override { return true; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override {
        if (next_ == layout_.chunks.size()) {
            piece.records = 0;
            return false;
        }
        const Chunk& chunk = layout_.chunks[next_];
        piece.records = chunk.points;
        piece.firstRecord = chunk.firstPoint;
        piece.fileOffset = chunk.offset;
        const auto bytes = static_cast<std::size_t>(chunk.bytes);
        if (auto read = file_.ReadBlock(chunk.offset, bytes, piece.bytes); !read) {
            return ErrorOf(read);
        }
        ++next_;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.resize(static_cast<std::size_t>(piece.records));
        const auto decoder = layout_.layered
                                 ? laz::OpenLayeredChunk(layout_.shape, piece.bytes, piece.records,
                                                         laz::Layers::OfImport)
                                 : laz::OpenPointwiseChunk(layout_.shape, piece.bytes);
        if (!decoder) return BadChunk(piece);
        std::vector<std::uint8_t> records(std::max<std::size_t>(kBlockBytes, header_.recordBytes));
        const std::size_t perBlock = records.size() / header_.recordBytes;
        for (std::size_t first = 0; first < decoded.points.size(); first += perBlock) {
            const std::size_t count = std::min(perBlock, decoded.points.size() - first);
            decoder->Decode(std::span(records).first(count * header_.recordBytes));
            if (decoder->RanPastEnd()) return BadChunk(piece);  // BEHAVIOUR X5
            DecodeLasRecords(header_, records.data(),
                             std::span(decoded.points).subspan(first, count));
        }
        return {};
    }

    Expected<void> Rewind() override {
        next_ = 0;
        return {};
    }

    ReadPlace Place() const override { return {next_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        next_ = static_cast<std::size_t>(std::min<std::uint64_t>(place[0], layout_.chunks.size()));
        return {};
    }

private:
    [[nodiscard]] tl::unexpected<Error> BadChunk(const RawPiece& piece) const {
        return file_.Bad(fmt::format(
            "the {} bytes from byte {} on do not hold the {} compressed points from point {} on. "
            "The file is damaged; copy, download or export it again.",
            platform::CountText(piece.bytes.size()), platform::CountText(piece.fileOffset),
            platform::CountText(piece.records), platform::CountText(piece.firstRecord)));
    }

    ScanFile file_;
    LasHeader header_;
    LazLayout layout_;
    ScanInfo info_;
    std::size_t next_ = 0;  // chunk
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenLaz(ScanFile file, const LasHeader& header) {
    auto layout = laz::ReadLazLayout(file, header);
    if (!layout) return ErrorOf(layout);
    return std::make_unique<LazReader>(std::move(file), header, std::move(*layout));
}

}  // namespace orvix::importer
