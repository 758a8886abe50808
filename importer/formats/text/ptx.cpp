// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/text/ptx.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "importer/formats/column_roles.h"
#include "importer/formats/line_blocks.h"
#include "importer/formats/word_cursor.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

constexpr std::array<std::size_t, 10> kNumbers = {1, 1, 3, 3, 3, 3, 4, 4, 4, 4};
constexpr std::uint64_t kHeadBytes = 16u << 10;

/// The head of a block: its numbers line by line, and where they end.
struct BlockHead {
    std::array<std::array<double, 4>, kNumbers.size()> rows{};
    std::size_t bytes = 0;
    std::uint64_t lines = 0;
    bool blank = true;  ///< the text holds nothing but blank lines
};

bool ReadHead(std::string_view text, BlockHead& head) {
    LineCursor lines(text, '\n');
    std::string_view line;
    for (std::size_t row = 0; row < kNumbers.size();) {
        if (!lines.Next(line)) return false;
        ++head.lines;
        if (IsBlankLine(line)) continue;
        head.blank = false;
        WordCursor words(line);
        for (std::size_t i = 0; i < kNumbers[row]; ++i) {
            if (!words.Number(head.rows[row][i]) || !std::isfinite(head.rows[row][i])) return false;
        }
        if (words.Skip()) return false;
        const double count = head.rows[row][0];
        if (row < 2 && (count < 0 || count > 1e9 || count != std::floor(count))) return false;
        ++row;
    }
    head.bytes = text.size() - lines.Rest().size();
    return true;
}

// The matrix multiplies rows: its last row moves.
AffineMap MapOf(const BlockHead& head) {
    AffineMap map;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            map.m[4 * row + column] = head.rows[6 + column][row];
        }
    }
    return map;
}

AffineMap AxesOf(const BlockHead& head) {
    AffineMap map;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            map.m[4 * row + column] = head.rows[3 + column][row];
        }
        map.m[4 * row + 3] = head.rows[2][row];
    }
    return map;
}

std::optional<ScanPart> PartOf(const BlockHead& head) {
    const AffineMap map = MapOf(head);
    AffineMap axes = AxesOf(head);
    if (axes.m == AffineMap{}.m) axes = map;  // BEHAVIOUR X22
    const auto rotation = RotationOf(axes);
    if (!rotation || !RotationOf(map)) return std::nullopt;
    ScanPart part;
    part.pose = ScanPose{{axes.m[3], axes.m[7], axes.m[11]}, *rotation};
    if (map.m != AffineMap{}.m) part.map = map;
    return part;
}

class PtxReader final : public ScanReader {
public:
    explicit PtxReader(ScanFile file) : file_(std::move(file)), lines_(file_, {}) {
        info_.format = "PTX";
        info_.hasIntensity = true;
        info_.hasColour = true;
        info_.colourBits = 8;
        info_.scans.clear();
    }

    const ScanInfo& Info() const override { return info_; }
    bool IsDearToDecode() const override { return true; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override {
        while (linesLeft_ == 0) {
            const auto block = StartBlock();
            if (!block || !*block) return block;
        }
        const std::uint64_t before = lines_.Line();
        const auto more = lines_.Next(piece, linesLeft_);
        if (!more) return more;
        if (!*more) {
            return file_.Bad(fmt::format(
                "block {} declares {} points, but the file ends {} before, at byte {}. The file is "
                "cut short; copy, download or export it again.",
                blocks_, platform::CountText(declared_), platform::CountText(linesLeft_),
                platform::CountText(file_.Size())));
        }
        piece.scan = blocks_ - 1;
        piece.records = lines_.Line() - before;
        linesLeft_ -= piece.records;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.clear();
        LineCursor lines(piece, '\n');
        std::string_view line;
        while (lines.Next(line)) {
            ScanPoint point;
            if (!DecodeLine(line, point)) {
                ++decoded.malformed;
            } else if (point.x == 0 && point.y == 0 && point.z == 0) {
                ++decoded.noReturn;  // BEHAVIOUR X21
            } else {
                decoded.points.push_back(point);
            }
        }
        return {};
    }

    Expected<void> Rewind() override {
        lines_.Rewind();
        linesLeft_ = 0;
        blocks_ = 0;
        return {};
    }

    ReadPlace Place() const override {
        return {lines_.Offset(), lines_.Line(), linesLeft_, blocks_, declared_};
    }

    Expected<void> GoTo(const ReadPlace& place) override {
        lines_.GoTo(place[0], place[1]);
        linesLeft_ = place[2];
        blocks_ = static_cast<std::size_t>(std::min<std::uint64_t>(place[3], file_.Size()));
        declared_ = place[4];
        info_.scans.resize(std::max(info_.scans.size(), blocks_));
        return {};
    }

    /// False at the end of the file.
    Expected<bool> StartBlock() {
        const std::uint64_t offset = lines_.Offset();
        const auto bytes = static_cast<std::size_t>(std::min(kHeadBytes, file_.BytesFrom(offset)));
        if (bytes == 0) return false;
        std::vector<std::uint8_t> start;
        if (auto read = file_.ReadBlock(offset, bytes, start); !read) {
            return ErrorOf(read);
        }
        BlockHead head;
        const bool whole = ReadHead({reinterpret_cast<const char*>(start.data()), bytes}, head);
        if (!whole && head.blank && bytes == file_.BytesFrom(offset)) return false;
        const auto part = whole ? PartOf(head) : std::nullopt;
        if (!part) {
            return file_.Bad(fmt::format(
                "line {} should begin block {} with two counts, the scanner's position and axes "
                "and a 4 x 4 matrix that turns and moves, but it does not. Export the file again.",
                platform::CountText(lines_.Line() + 1), blocks_ + 1));
        }
        ++blocks_;
        if (info_.scans.size() < blocks_) info_.scans.push_back(*part);
        declared_ = static_cast<std::uint64_t>(head.rows[0][0] * head.rows[1][0]);
        linesLeft_ = declared_;
        lines_.GoTo(offset + head.bytes, lines_.Line() + head.lines);
        return true;
    }

private:
    static bool DecodeLine(std::string_view line, ScanPoint& point) {
        constexpr std::array kRoles7 = {Role::X,   Role::Y,     Role::Z,   Role::Intensity,
                                        Role::Red, Role::Green, Role::Blue};
        WordCursor words(line);
        std::size_t column = 0;
        for (double value = 0; column < kRoles7.size() && words.Number(value); ++column) {
            StoreValue(kRoles7[column], value, 1, point);
        }
        return column >= 3;
    }

    ScanFile file_;
    ScanInfo info_;
    LineBlocks lines_;
    std::size_t blocks_ = 0;  // begun
    std::uint64_t declared_ = 0;
    std::uint64_t linesLeft_ = 0;
};

}  // namespace

bool LooksLikePtx(std::string_view start) {
    BlockHead head;
    return ReadHead(start, head);
}

Expected<std::unique_ptr<ScanReader>> OpenPtx(ScanFile file) {
    auto reader = std::make_unique<PtxReader>(std::move(file));
    if (auto first = reader->StartBlock(); !first) return ErrorOf(first);
    if (auto rewound = reader->Rewind(); !rewound) return ErrorOf(rewound);
    return reader;
}

}  // namespace orvix::importer
