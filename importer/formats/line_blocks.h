// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "importer/formats/scan_file.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Cuts a file of lines into pieces of whole lines.
///
/// Boundaries a piece ends with a line end, the last one where the file ends. A line longer than
///            a piece (2 MiB) is an error: no scan has one, and a file without line ends must
///            not be read into memory whole.
/// Order      `firstRecord` of a piece is the number of its first line in the file, from 0.
/// Lifetime   borrows the file.
class LineBlocks {
public:
    struct Start {
        std::uint64_t offset = 0;
        std::uint64_t line = 0;
        char lineEnd = '\n';
    };
    LineBlocks(const ScanFile& file, const Start& start)
        : file_(&file), start_(start), offset_(start.offset), line_(start.line) {}

    /// The next piece, of one to `maxLines` lines.
    Expected<bool> Next(RawPiece& piece, std::uint64_t maxLines = ~std::uint64_t{0});
    void Rewind() { GoTo(start_.offset, start_.line); }
    /// Goes on at another line, by its first byte and its number.
    void GoTo(std::uint64_t offset, std::uint64_t line) {
        offset_ = offset;
        line_ = line;
    }
    /// Where the next piece begins.
    [[nodiscard]] std::uint64_t Offset() const { return offset_; }
    [[nodiscard]] std::uint64_t Line() const { return line_; }

private:
    const ScanFile* file_;
    Start start_;
    std::uint64_t offset_;
    std::uint64_t line_;
};

/// Takes lines off the front of a text, one at a time.
class LineCursor {
public:
    LineCursor(std::string_view text, char lineEnd) : rest_(text), lineEnd_(lineEnd) {}
    explicit LineCursor(const RawPiece& piece, char lineEnd)
        : LineCursor({reinterpret_cast<const char*>(piece.bytes.data()), piece.bytes.size()},
                     lineEnd) {}

    /// False when no line is left. The line comes without its end.
    bool Next(std::string_view& line) {
        if (rest_.empty()) return false;
        const std::size_t end = rest_.find(lineEnd_);
        line = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return true;
    }
    [[nodiscard]] std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
    char lineEnd_;
};

inline bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

inline bool IsBlankLine(std::string_view line) {
    for (const char c : line) {
        if (!IsBlank(c)) return false;
    }
    return true;
}

}  // namespace orvix::importer
