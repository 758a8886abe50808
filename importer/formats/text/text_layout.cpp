// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/text/text_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <span>

#include "importer/formats/number_text.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kLinesLookedAt = 1000;
constexpr std::size_t kCommentsLookedAt = 20;
constexpr std::size_t kNamesLookedAt = 1000;

struct SampleLine {
    std::string_view text;
    std::uint64_t offset = 0;
    std::uint64_t number = 0;  ///< in the file, from 0
};

/// The lines of a file's start that may hold points, and the last comments before the first.
struct Sample {
    char lineEnd = '\n';
    std::vector<std::string_view> comments;
    std::vector<SampleLine> lines;
};

struct Dialect {
    char separator;
    char decimalPoint;
};
// BEHAVIOUR X11
constexpr Dialect kDialects[] = {{';', '.'}, {';', ','},  {',', '.'}, {'\t', '.'},
                                 {' ', '.'}, {'\t', ','}, {' ', ','}};

using Columns = std::vector<std::string_view>;

std::string_view Unquoted(std::string_view column) {
    const bool quoted = column.size() >= 2 && column.front() == '"' && column.back() == '"';
    return quoted ? column.substr(1, column.size() - 2) : column;
}

bool IsNumberColumn(const Columns& columns, std::size_t index, char decimalPoint) {
    return index < columns.size() && IsNumber(Unquoted(columns[index]), decimalPoint);
}

bool IsCount(std::string_view line) {
    return CountIn(line).has_value();
}

bool IsTextByte(std::uint8_t byte) {
    return byte >= 0x20 || (byte >= '\t' && byte <= '\r') || byte == 0x1A;
}

Expected<void> CheckIsText(const ScanFile& file, std::span<const std::uint8_t> bytes) {
    const auto second = bytes.size() > 1 ? bytes[1] : std::uint8_t{1};
    const bool mark = (bytes[0] == 0xFF && second == 0xFE) || (bytes[0] == 0xFE && second == 0xFF);
    const bool unmarked = (bytes[0] == 0) != (second == 0) && IsTextByte(bytes[0] | second) &&
                          bytes.size() > 3 && bytes[bytes[0] == 0 ? 2 : 3] == 0;
    if (mark || unmarked) {
        return file.Bad(
            "this is text in UTF-16, which is not read. Save it as UTF-8 or plain text.");
    }
    const auto odd = std::find_if_not(bytes.begin(), bytes.end(), IsTextByte);
    if (odd != bytes.end()) {
        return file.Bad(fmt::format(
            "this is not a scan file: it is none of the formats that are read (E57, LAS, PCD, PLY, "
            "PTX, text), "
            "and no text, with the value {} at byte {}. Export the scan in one of them.",
            *odd, platform::CountText(static_cast<std::uint64_t>(odd - bytes.begin()))));
    }
    return {};
}

Sample CollectLines(std::string_view text, bool wholeFile) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    Sample sample;
    sample.lineEnd = text.find('\n') == std::string_view::npos ? '\r' : '\n';
    const std::uint64_t size = text.size();
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    LineCursor lines(text, sample.lineEnd);
    for (std::uint64_t number = 0; sample.lines.size() < kLinesLookedAt; ++number) {
        const std::uint64_t offset = size - lines.Rest().size();
        std::string_view line;
        if (!lines.Next(line)) break;
        // Without the rest of the file the last line may be half of one.
        if (!wholeFile && lines.Rest().empty()) break;
        if (IsCommentLine(line, ';')) {
            if (!sample.lines.empty()) continue;
            if (sample.comments.size() == kCommentsLookedAt) {
                sample.comments.erase(sample.comments.begin());
            }
            sample.comments.push_back(line);
        } else if (!IsBlankLine(line)) {
            sample.lines.push_back({line, offset, number});
        }
    }
    return sample;
}

/// Names in a comment may have another separator than the data.
RoleColumns RolesOfNames(std::string_view line, char separator) {
    std::string_view text = line;
    while (!text.empty() && (text[0] == '#' || text[0] == '/' || IsBlank(text[0]))) {
        text.remove_prefix(1);
    }
    for (const char candidate : {separator, ',', ';', ' '}) {
        const Columns columns = SplitColumns(text, candidate);
        const auto count = static_cast<std::ptrdiff_t>(std::min(columns.size(), kNamesLookedAt));
        const std::vector<std::string> names(columns.begin(), columns.begin() + count);
        const RoleColumns roles = FindRoles(names);
        if (roles.HasPosition()) return roles;
    }
    return {};
}

/// One dialect tried on the sample: what it makes of the lines, and of how many.
class Trial {
public:
    Trial(const Sample& sample, const Dialect& dialect) : dialect_(dialect) {
        for (const SampleLine& line : sample.lines) {
            if (!IsCommentLine(line.text, dialect.separator)) lines_.push_back(line);
        }
        SkipCount();
        FindNames(sample);
        SkipCount();
        for (const SampleLine& line : lines_) {
            rows_.push_back(SplitColumns(line.text, dialect.separator));
        }
        if (!columns_.HasPosition()) ChooseColumnsByNumber();
        understood_ = static_cast<std::size_t>(
            std::count_if(rows_.begin(), rows_.end(), [&](const Columns& row) {
                return IsNumberColumn(row, columns_.Of(Role::X), dialect_.decimalPoint) &&
                       IsNumberColumn(row, columns_.Of(Role::Y), dialect_.decimalPoint) &&
                       IsNumberColumn(row, columns_.Of(Role::Z), dialect_.decimalPoint);
            }));
    }

    [[nodiscard]] std::size_t Understood() const { return understood_; }
    [[nodiscard]] std::size_t Lines() const { return rows_.size(); }

    [[nodiscard]] TextLayout Layout(char lineEnd) const {
        TextLayout layout;
        layout.separator = dialect_.separator;
        layout.decimalPoint = dialect_.decimalPoint;
        layout.data = {lines_.front().offset, lines_.front().number, lineEnd};
        layout.columns = columns_;
        layout.roles = columns_.ByColumn();
        layout.count = count_;
        layout.unitColours = HasUnitColours();
        layout.colourScale = layout.unitColours ? 65535 : 1;
        return layout;
    }

private:
    void SkipCount() {
        if (lines_.empty() || !IsCount(lines_.front().text)) return;  // BEHAVIOUR X10
        count_ = CountIn(lines_.front().text);
        lines_.erase(lines_.begin());
    }
    void FindNames(const Sample& sample);
    void ChooseColumnsByNumber();
    [[nodiscard]] bool AnyNegative(std::size_t firstColumn) const;
    [[nodiscard]] bool HasUnitColours() const;

    Dialect dialect_;
    std::vector<SampleLine> lines_;
    std::vector<Columns> rows_;  // their columns
    RoleColumns columns_;
    std::optional<std::uint64_t> count_;
    std::size_t understood_ = 0;
};

void Trial::FindNames(const Sample& sample) {
    if (lines_.empty()) return;
    const Columns first = SplitColumns(lines_.front().text, dialect_.separator);
    const bool noNumber = std::none_of(first.begin(), first.end(), [&](std::string_view column) {
        return IsNumber(Unquoted(column), dialect_.decimalPoint);
    });
    if (noNumber) {
        columns_ = RolesOfNames(lines_.front().text, dialect_.separator);
        lines_.erase(lines_.begin());
    }
    for (auto comment = sample.comments.rbegin();
         comment != sample.comments.rend() && !columns_.HasPosition(); ++comment) {
        columns_ = RolesOfNames(*comment, dialect_.separator);
    }
}

void Trial::ChooseColumnsByNumber() {
    columns_ = {};
    for (const Role role : {Role::X, Role::Y, Role::Z}) {
        columns_.Set(role, static_cast<std::size_t>(role));
    }
    std::map<std::size_t, std::size_t> linesByWidth;
    for (const Columns& row : rows_) ++linesByWidth[row.size()];
    std::size_t width = 3;
    for (const auto& [columns, lines] : linesByWidth) {
        if (columns >= 3 && lines > linesByWidth[width]) width = columns;
    }
    if (width == 4 || width == 7) columns_.Set(Role::Intensity, 3);  // BEHAVIOUR X12
    if ((width == 6 || width == 7) && !AnyNegative(width - 3)) {
        columns_.Set(Role::Red, width - 3);
        columns_.Set(Role::Green, width - 2);
        columns_.Set(Role::Blue, width - 1);
    }
}

bool Trial::AnyNegative(std::size_t firstColumn) const {
    return std::any_of(rows_.begin(), rows_.end(), [&](const Columns& row) {
        const auto first =
            row.begin() + static_cast<std::ptrdiff_t>(std::min(firstColumn, row.size()));
        return std::any_of(first, row.end(), [](std::string_view column) {
            return Unquoted(column).starts_with('-');
        });
    });
}

bool Trial::HasUnitColours() const {
    if (!columns_.HasColour()) return false;
    bool fraction = false;
    double largest = 0;
    for (const Columns& row : rows_) {
        for (const Role role : {Role::Red, Role::Green, Role::Blue}) {
            if (!IsNumberColumn(row, columns_.Of(role), dialect_.decimalPoint)) continue;
            const std::string_view text = Unquoted(row[columns_.Of(role)]);
            double value = 0;
            ParseNumber(text.data(), text.data() + text.size(), dialect_.decimalPoint, value);
            fraction |= text.find_first_of(".,eE") != std::string_view::npos;
            largest = std::max(largest, value);
        }
    }
    return fraction && largest > 0 && largest <= 1;
}

tl::unexpected<Error> BadNoPoints(const ScanFile& file, const Sample& sample) {
    if (sample.lines.empty()) {
        return file.Bad(
            "the file holds no line with a point, only blank lines or comments. "
            "Export the scan again.");
    }
    const SampleLine& line = sample.lines.front();
    return file.Bad(fmt::format(
        "this is not a scan file: it is none of the formats that are read (E57, LAS, PCD, PLY, "
        "PTX, text), and "
        "less than half of its first {} lines hold three coordinates, beginning with line {}, "
        "\"{}\". A text scan has lines such as \"1.25 3.5 0.75\".",
        sample.lines.size(), line.number + 1, line.text.substr(0, 60)));
}

}  // namespace

bool IsCommentLine(std::string_view line, char separator) {
    std::size_t at = 0;
    while (at < line.size() && IsBlank(line[at])) ++at;
    if (at == line.size()) return false;
    if (line[at] == '#') return true;
    if (line[at] == ';') return separator != ';';
    return line[at] == '/' && at + 1 < line.size() && line[at + 1] == '/';
}

std::optional<std::uint64_t> CountIn(std::string_view line) {
    const Columns columns = SplitColumns(line, ' ');
    if (columns.size() != 1 || !std::all_of(columns[0].begin(), columns[0].end(), IsDigit)) {
        return std::nullopt;
    }
    // A count too large for 64 bits is more than any file holds.
    std::uint64_t count = ~std::uint64_t{0};
    std::from_chars(columns[0].data(), columns[0].data() + columns[0].size(), count);
    return count;
}

Expected<TextLayout> FindTextLayout(const ScanFile& file) {
    std::vector<std::uint8_t> bytes;
    const std::uint64_t read = std::min(file.Size(), kPieceBytes);
    if (auto done = file.ReadBlock(0, static_cast<std::size_t>(read), bytes); !done) {
        return ErrorOf(done);
    }
    if (auto text = CheckIsText(file, bytes); !text) return ErrorOf(text);
    const Sample sample = CollectLines({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                                       read == file.Size());
    if (sample.lines.empty() && read < file.Size()) {
        return file.Bad(
            fmt::format("this is not a scan file: the first {} bytes hold no whole "
                        "line with a point. Check that it is a text scan with line ends.",
                        platform::CountText(read)));
    }
    std::vector<Trial> trials;
    for (const Dialect& dialect : kDialects) trials.emplace_back(sample, dialect);
    const auto best = std::max_element(
        trials.begin(), trials.end(),
        [](const auto& a, const auto& b) { return a.Understood() < b.Understood(); });
    if (best->Understood() == 0 || best->Understood() < best->Lines() - best->Understood()) {
        return BadNoPoints(file, sample);
    }
    return best->Layout(sample.lineEnd);
}

std::string DescribeLayout(const TextLayout& layout) {
    constexpr std::string_view kRoleNames[] = {"x",     "y",    "z",     "intensity", "red",
                                               "green", "blue", "class", "-"};
    std::string text = layout.separator == ';'    ? "text, semicolon-separated"
                       : layout.separator == ','  ? "text, comma-separated"
                       : layout.separator == '\t' ? "text, tab-separated"
                                                  : "text, blank-separated";
    if (layout.decimalPoint == ',') text += ", decimal comma";
    text += ':';
    for (const Role role : layout.roles) {
        text += ' ';
        text += kRoleNames[static_cast<std::size_t>(role)];
    }
    return text;
}

}  // namespace orvix::importer
