// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/text.h"

#include <utility>

#include "importer/formats/line_blocks.h"
#include "importer/formats/number_text.h"
#include "importer/formats/text_layout.h"

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
            if (!isNumber && role <= Role::Z) return false;
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
    }

    const ScanInfo& Info() const override { return info_; }
    std::uint64_t FileBytes() const override { return file_.Size(); }
    Expected<bool> Next(RawPiece& piece) override { return lines_.Next(piece); }

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
        return {};
    }

private:
    ScanFile file_;
    TextLayout layout_;
    LineBlocks lines_;
    ScanInfo info_;
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenText(ScanFile file) {
    auto layout = SniffText(file);
    if (!layout) return tl::unexpected(layout.error());
    return std::make_unique<TextReader>(std::move(file), std::move(*layout));
}

}  // namespace orvix::importer
