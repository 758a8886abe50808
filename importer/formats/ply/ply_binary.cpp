// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "importer/formats/ply/ply.h"
#include "importer/formats/ply/ply_records.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

/// Reads a few bytes at a time from anywhere in a file, near ones from the same block.
class ByteWindow {
public:
    explicit ByteWindow(const ScanFile& file) : file_(&file) {}

    Expected<const std::uint8_t*> At(std::uint64_t offset, std::size_t bytes) {
        const bool inside = offset >= first_ && offset - first_ <= block_.size() &&
                            bytes <= block_.size() - (offset - first_);
        if (!inside) {
            const std::uint64_t left = std::max<std::uint64_t>(file_->BytesFrom(offset), bytes);
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBlockBytes));
            first_ = offset;
            if (auto read = file_->ReadBlock(offset, size, block_); !read) {
                block_.clear();
                return ErrorOf(read);
            }
        }
        return block_.data() + (offset - first_);
    }

private:
    static constexpr std::uint64_t kBlockBytes = 65'536;

    const ScanFile* file_;
    std::uint64_t first_ = 0;
    std::vector<std::uint8_t> block_;
};

class PlyBinaryReader final : public ScanReader {
public:
    PlyBinaryReader(ScanFile file, PlyHeader header)
        : file_(std::move(file)),
          header_(std::move(header)),
          info_(DescribePly(header_)),
          decoder_(header_),
          window_(file_),
          offset_(header_.bodyByte) {}

    const ScanInfo& Info() const override { return info_; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override;

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.malformed = 0;
        decoder_.Decode(piece.bytes, decoded.points);
        return {};
    }

    Expected<void> Rewind() override {
        element_ = 0;
        record_ = 0;
        offset_ = header_.bodyByte;
        return {};
    }

    ReadPlace Place() const override { return {element_, record_, offset_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        element_ =
            static_cast<std::size_t>(std::min<std::uint64_t>(place[0], header_.vertexElement));
        record_ = std::min(place[1], header_.elements[element_].count);
        offset_ = place[2];
        return {};
    }

private:
    Expected<void> SkipElement();
    Expected<void> CutRecords(RawPiece& piece);
    Expected<void> CutListRecords(RawPiece& piece);
    Expected<std::uint64_t> RecordEnd(const PlyElement& element, std::uint64_t offset);

    ScanFile file_;
    PlyHeader header_;
    ScanInfo info_;
    PlyRecordDecoder decoder_;
    ByteWindow window_;
    // Where reading stands: the element, the record in it, its first byte.
    std::size_t element_ = 0;
    std::uint64_t record_ = 0;
    std::uint64_t offset_ = 0;
};

Expected<bool> PlyBinaryReader::Next(RawPiece& piece) {
    const bool atVertices = element_ == header_.vertexElement;
    piece.records = 0;
    piece.fileOffset = offset_;
    piece.firstRecord = atVertices ? record_ : 0;
    if (!atVertices) {
        piece.bytes.clear();
        if (auto skipped = SkipElement(); !skipped) return ErrorOf(skipped);
        return true;
    }
    const PlyElement& vertex = header_.Vertex();
    if (record_ == vertex.count) return false;
    const auto cut = vertex.HasList() ? CutListRecords(piece) : CutRecords(piece);
    if (!cut) return ErrorOf(cut);
    return true;
}

/// Skips one element, or a stretch of one whose records must be walked: the caller gets an empty
/// piece and the chance to stop.
Expected<void> PlyBinaryReader::SkipElement() {
    constexpr std::uint64_t kStretch = 65'536;
    const PlyElement& element = header_.elements[element_];
    if (!element.HasList()) {
        const std::uint64_t bytes = std::max<std::uint64_t>(element.MinBytes(), 1);
        if (element.MinBytes() != 0 && element.count > file_.BytesFrom(offset_) / bytes) {
            return BadCutShort(file_, {.noun = element.name,
                                       .declared = element.count,
                                       .recordBytes = bytes,
                                       .firstByte = offset_});
        }
        offset_ += element.MinBytes() * (element.MinBytes() != 0 ? element.count : 0);
        record_ = element.count;
    }
    const std::uint64_t stop = record_ + std::min(element.count - record_, kStretch);
    for (; record_ < stop; ++record_) {
        const auto end = RecordEnd(element, offset_);
        if (!end) return ErrorOf(end);
        offset_ = *end;
    }
    if (record_ == element.count) {
        ++element_;
        record_ = 0;
    }
    return {};
}

Expected<void> PlyBinaryReader::CutRecords(RawPiece& piece) {
    const std::uint64_t recordBytes = header_.Vertex().MinBytes();
    const std::uint64_t left = header_.Vertex().count - record_;
    if (left > file_.BytesFrom(offset_) / recordBytes) {
        return BadCutShort(file_, {.noun = "vertices",
                                   .declared = left,
                                   .recordBytes = recordBytes,
                                   .firstByte = offset_});
    }
    piece.records = std::min(left, kPieceBytes / recordBytes);
    const std::uint64_t bytes = piece.records * recordBytes;
    record_ += piece.records;
    offset_ += bytes;
    return file_.ReadBlock(piece.fileOffset, static_cast<std::size_t>(bytes), piece.bytes);
}

Expected<void> PlyBinaryReader::CutListRecords(RawPiece& piece) {
    const PlyElement& vertex = header_.Vertex();
    while (record_ < vertex.count) {
        const auto end = RecordEnd(vertex, offset_);
        if (!end) return ErrorOf(end);
        if (*end - piece.fileOffset > kPieceBytes) {
            if (piece.records != 0) break;
            return file_.Bad(fmt::format(
                "vertex {} takes {} bytes with its lists; up to {} are read. The file is damaged, "
                "or needs to be exported without lists in its vertices.",
                platform::CountText(record_), platform::CountText(*end - offset_),
                platform::CountText(kPieceBytes)));
        }
        offset_ = *end;
        ++record_;
        ++piece.records;
    }
    return file_.ReadBlock(piece.fileOffset, static_cast<std::size_t>(offset_ - piece.fileOffset),
                           piece.bytes);
}

Expected<std::uint64_t> PlyBinaryReader::RecordEnd(const PlyElement& element,
                                                   std::uint64_t offset) {
    const std::uint64_t record = record_;
    const auto cutShort = [&](std::uint64_t at) {
        return file_.Bad(fmt::format(
            "the file ends at byte {}, inside record {} of the {} that the header declares for "
            "\"{}\" (byte {}). The file is cut short; copy, download or export it again.",
            platform::CountText(file_.Size()), platform::CountText(record),
            platform::CountText(element.count), element.name, platform::CountText(at)));
    };
    for (const PlyProperty& property : element.properties) {
        std::uint64_t bytes = SizeOf(property.type);
        if (property.countType) {
            const std::size_t lead = SizeOf(*property.countType);
            if (lead > file_.BytesFrom(offset)) return cutShort(offset);
            const auto at = window_.At(offset, lead);
            if (!at) return ErrorOf(at);
            const bool bigEndian = header_.encoding == PlyEncoding::BigEndian;
            const std::int64_t length = LoadListLength(*property.countType, bigEndian, *at);
            if (length < 0) {
                return file_.Bad(fmt::format(
                    "the list at byte {} says that its length is negative. The file is damaged: "
                    "copy or export it again.",
                    platform::CountText(offset)));
            }
            offset += lead;
            bytes *= static_cast<std::uint64_t>(length);  // below 2^32 times 8
        }
        if (bytes > file_.BytesFrom(offset)) return cutShort(offset);
        offset += bytes;
    }
    return offset;
}

}  // namespace

std::unique_ptr<ScanReader> MakePlyBinaryReader(ScanFile file, PlyHeader header) {
    return std::make_unique<PlyBinaryReader>(std::move(file), std::move(header));
}

}  // namespace orvix::importer
