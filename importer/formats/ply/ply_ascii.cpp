// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "importer/formats/line_blocks.h"
#include "importer/formats/ply/ply.h"
#include "importer/formats/word_cursor.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

class PlyAsciiReader final : public ScanReader {
public:
    PlyAsciiReader(ScanFile file, PlyHeader header)
        : file_(std::move(file)),
          header_(std::move(header)),
          info_(DescribePly(header_)),
          roles_(header_.columns.ByColumn()),
          lines_(file_, {header_.bodyByte, header_.bodyLine, header_.lineEnd}) {
        for (std::size_t i = 0; i < header_.vertexElement; ++i) {
            const std::uint64_t count = header_.elements[i].count;
            // Saturates: more lines than any file has are skipped until the file ends.
            linesBefore_ += std::min(count, ~std::uint64_t{0} - linesBefore_);
        }
        linesToSkip_ = linesBefore_;
    }

    const ScanInfo& Info() const override { return info_; }
    bool IsDearToDecode() const override { return true; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override;
    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override;

    Expected<void> Rewind() override {
        lines_.Rewind();
        linesToSkip_ = linesBefore_;
        next_ = 0;
        return {};
    }

    ReadPlace Place() const override {
        return {lines_.Offset(), lines_.Line(), linesToSkip_, next_};
    }

    Expected<void> GoTo(const ReadPlace& place) override {
        lines_.GoTo(place[0], place[1]);
        linesToSkip_ = place[2];
        next_ = std::min(place[3], header_.Vertex().count);
        return {};
    }

private:
    bool DecodeLine(std::string_view line, ScanPoint& point) const;

    ScanFile file_;
    PlyHeader header_;
    ScanInfo info_;
    std::vector<Role> roles_;
    LineBlocks lines_;
    std::uint64_t linesBefore_ = 0;  // of the elements before the vertices
    std::uint64_t linesToSkip_ = 0;
    std::uint64_t next_ = 0;  // number of the next vertex
};

Expected<bool> PlyAsciiReader::Next(RawPiece& piece) {
    const std::uint64_t count = header_.Vertex().count;
    if (next_ == count) return false;
    const auto more = lines_.Next(piece);
    if (!more) return more;
    if (!*more) {
        return file_.Bad(fmt::format(
            "the header declares {} vertices, but the file ends after {} of them, at byte {}. The "
            "file is cut short; copy, download or export it again.",
            platform::CountText(count), platform::CountText(next_),
            platform::CountText(file_.Size())));
    }
    LineCursor lines(piece, header_.lineEnd);
    const std::size_t size = piece.bytes.size();
    std::size_t first = 0;
    std::uint64_t taken = 0;
    std::string_view line;
    while (taken < count - next_ && lines.Next(line)) {
        if (IsBlankLine(line)) continue;
        if (linesToSkip_ == 0) {
            ++taken;
        } else {
            --linesToSkip_;
            first = size - lines.Rest().size();
        }
    }
    const auto begin = piece.bytes.begin();
    piece.bytes.erase(begin + static_cast<std::ptrdiff_t>(size - lines.Rest().size()),
                      piece.bytes.end());
    piece.bytes.erase(begin, begin + static_cast<std::ptrdiff_t>(first));
    piece.fileOffset += first;
    piece.firstRecord = next_;
    piece.records = taken;
    next_ += taken;
    return true;
}

Expected<void> PlyAsciiReader::Decode(const RawPiece& piece, DecodedPiece& decoded) const {
    decoded.points.clear();
    decoded.points.reserve(static_cast<std::size_t>(piece.records));
    decoded.malformed = 0;
    LineCursor lines(piece, header_.lineEnd);
    std::string_view line;
    while (lines.Next(line)) {
        if (IsBlankLine(line)) continue;
        ScanPoint point;
        if (DecodeLine(line, point)) {
            decoded.points.push_back(point);
        } else {
            ++decoded.malformed;  // BEHAVIOUR X9
        }
    }
    return {};
}

bool PlyAsciiReader::DecodeLine(std::string_view line, ScanPoint& point) const {
    WordCursor words(line);
    const auto& properties = header_.Vertex().properties;
    double value = 0;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i].countType) {
            if (!words.Number(value) || !(value >= 0)) return false;
            for (double item = 0; item < value; ++item) {
                if (!words.Skip()) return false;
            }
        } else if (i < roles_.size() && roles_[i] != Role::None) {
            if (!words.Number(value)) return false;
            StoreValue(roles_[i], value, header_.colourScale, point);
        } else if (!words.Skip()) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::unique_ptr<ScanReader> MakePlyAsciiReader(ScanFile file, PlyHeader header) {
    return std::make_unique<PlyAsciiReader>(std::move(file), std::move(header));
}

}  // namespace orvix::importer
