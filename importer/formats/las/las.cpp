// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las/las.h"

#include <algorithm>
#include <utility>

#include "importer/formats/las/las_records.h"

namespace orvix::importer {
namespace {

class LasReader final : public ScanReader {
public:
    LasReader(ScanFile file, const LasHeader& header)
        : file_(std::move(file)), header_(header), info_(DescribeLas(header)) {}

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
            return ErrorOf(read);
        }
        next_ += piece.records;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.resize(piece.bytes.size() / header_.recordBytes);
        DecodeLasRecords(header_, piece.bytes.data(), decoded.points);
        return {};
    }

    Expected<void> Rewind() override {
        next_ = 0;
        return {};
    }

    ReadPlace Place() const override { return {next_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        next_ = std::min(place[0], header_.points);
        return {};
    }

private:
    ScanFile file_;
    LasHeader header_;
    ScanInfo info_;
    std::uint64_t next_ = 0;  // number of the next piece's first point
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenLas(ScanFile file, const LasHeader& header) {
    return std::make_unique<LasReader>(std::move(file), header);
}

}  // namespace orvix::importer
