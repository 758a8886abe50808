// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/text/text.h"

#include <algorithm>
#include <utility>

#include "importer/formats/line_blocks.h"
#include "importer/formats/number_text.h"
#include "importer/formats/text/text_layout.h"

namespace orvix::importer {
namespace {

/// Walks the columns of one line.
class ColumnCursor {
public:
    ColumnCursor(std::string_view line, const TextLayout& layout)
        : at_(line.data()),
          end_(line.data() + line.size()),
          separator_(layout.separator),
          decimalPoint_(layout.decimalPoint) {
        at_ = AfterBlanks(at_);
        atColumn_ = at_ != end_;
    }

    /// Whether the line has the column that the cursor stands at.
    [[nodiscard]] bool AtColumn() const { return atColumn_; }

    /// Reads a column that is one number, quoted or not.
    bool Number(double& value) {
        const bool quoted = at_ != end_ && *at_ == '"';
        const char* p = ParseNumber(at_ + (quoted ? 1 : 0), end_, decimalPoint_, value);
        if (p == nullptr) return false;
        if (quoted && p != end_ && *p == '"') ++p;
        if (separator_ != ' ') p = AfterBlanks(p);
        if (!EndsColumn(p)) return false;
        at_ = p;
        return true;
    }

    /// Goes on to the next column.
    void Advance() {
        while (!EndsColumn(at_)) ++at_;
        atColumn_ = at_ != end_;
        if (atColumn_ && separator_ != ' ') ++at_;
        at_ = AfterBlanks(at_);
        if (separator_ == ' ') atColumn_ = at_ != end_;
    }

private:
    [[nodiscard]] bool EndsColumn(const char* p) const {
        return p == end_ || (separator_ == ' ' ? IsBlank(*p) : *p == separator_);
    }
    [[nodiscard]] const char* AfterBlanks(const char* p) const {
        while (p != end_ && IsBlank(*p) && (*p != separator_ || separator_ == ' ')) ++p;
        return p;
    }

    const char* at_;
    const char* end_;
    char separator_;
    char decimalPoint_;
    bool atColumn_ = false;
};

bool DecodeLine(std::string_view line, const TextLayout& layout, ScanPoint& point) {
    ColumnCursor columns(line, layout);
    for (const Role role : layout.roles) {
        if (!columns.AtColumn()) return false;
        if (role != Role::None) {
            double value = 0;
            const bool isNumber = columns.Number(value);
            if (!isNumber && role <= Role::Z) return false;  // BEHAVIOUR X13
            StoreValue(role, isNumber ? value : 0, layout.colourScale, point);
        }
        columns.Advance();
    }
    return true;
}

class TextReader final : public ScanReader {
public:
    TextReader(ScanFile file, TextLayout layout)
        : file_(std::move(file)), layout_(std::move(layout)), lines_(file_, layout_.data) {
        info_.format = DescribeLayout(layout_);
        DescribeRoles(layout_.columns, info_);
        if (layout_.unitColours) info_.colourBits = 16;
        linesLeft_ = layout_.count;
    }

    const ScanInfo& Info() const override { return info_; }
    bool IsDearToDecode() const override { return true; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

    Expected<bool> Next(RawPiece& piece) override {
        if (linesLeft_ == std::uint64_t{0}) {
            if (auto begun = BeginScan(); !begun) return ErrorOf(begun);
        }
        piece.scan = scan_;
        const std::uint64_t before = lines_.Line();
        const auto more = lines_.Next(piece, linesLeft_.value_or(~std::uint64_t{0}));
        if (linesLeft_ && more && *more) *linesLeft_ -= lines_.Line() - before;
        return more;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.clear();
        decoded.malformed = 0;
        LineCursor lines(piece, layout_.data.lineEnd);
        std::string_view line;
        while (lines.Next(line)) {
            ScanPoint point;
            if (DecodeLine(line, layout_, point)) {
                decoded.points.push_back(point);
            } else if (!IsBlankLine(line) && !IsCommentLine(line, layout_.separator)) {
                ++decoded.malformed;
            }
        }
        return {};
    }

    Expected<void> Rewind() override {
        lines_.Rewind();
        linesLeft_ = layout_.count;
        scan_ = 0;
        return {};
    }

    ReadPlace Place() const override {
        return {lines_.Offset(), lines_.Line(), linesLeft_.has_value(), linesLeft_.value_or(0),
                scan_};
    }

    Expected<void> GoTo(const ReadPlace& place) override {
        lines_.GoTo(place[0], place[1]);
        linesLeft_.reset();
        if (place[2] != 0) linesLeft_ = place[3];
        scan_ = static_cast<std::size_t>(std::min<std::uint64_t>(place[4], file_.Size()));
        info_.scans.resize(std::max(info_.scans.size(), scan_ + 1));
        return {};
    }

private:
    // Without a count above 0 in its place, what follows belongs to the scan before.
    Expected<void> BeginScan() {
        constexpr std::uint64_t kCountBytes = 64;
        linesLeft_.reset();
        const std::uint64_t offset = lines_.Offset();
        const auto bytes = static_cast<std::size_t>(std::min(kCountBytes, file_.BytesFrom(offset)));
        std::vector<std::uint8_t> start;
        if (auto read = file_.ReadBlock(offset, bytes, start); !read) return read;
        LineCursor lines({reinterpret_cast<const char*>(start.data()), bytes},
                         layout_.data.lineEnd);
        std::string_view line;
        if (!lines.Next(line) || lines.Rest().empty()) return {};
        const auto count = CountIn(line);  // BEHAVIOUR X23
        if (!count || *count == 0) return {};
        linesLeft_ = count;
        lines_.GoTo(offset + bytes - lines.Rest().size(), lines_.Line() + 1);
        if (info_.scans.size() == ++scan_) info_.scans.emplace_back();
        return {};
    }

    ScanFile file_;
    TextLayout layout_;
    LineBlocks lines_;
    ScanInfo info_;
    std::optional<std::uint64_t> linesLeft_;  // until another scan may begin; unset: none does
    std::size_t scan_ = 0;
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenText(ScanFile file) {
    auto layout = FindTextLayout(file);
    if (!layout) return ErrorOf(layout);
    return std::make_unique<TextReader>(std::move(file), std::move(*layout));
}

}  // namespace orvix::importer
