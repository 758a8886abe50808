// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importer/formats/column_roles.h"
#include "importer/formats/line_blocks.h"
#include "importer/formats/scan_file.h"
#include "importer/formats/split_columns.h"

namespace orvix::importer {

/// How the lines of a text scan are to be understood.
struct TextLayout {
    char separator = ' ';  ///< ' ': any run of blanks and tabs
    char decimalPoint = '.';
    LineBlocks::Start data;              ///< the first data line
    std::optional<std::uint64_t> count;  ///< the lone number before it
    RoleColumns columns;
    std::vector<Role> roles;  ///< by column, up to the last that is used
    double colourScale = 1;
    bool unitColours = false;  ///< colours run from 0 to 1
};

/// Whether a line is a comment: it begins with "#", "//" or, where ";" separates nothing, ";".
bool IsCommentLine(std::string_view line, char separator);

/// The number of a line that holds only a whole number, as the count before the points of a PTS
/// file.
std::optional<std::uint64_t> CountIn(std::string_view line);

/// Finds the layout of a text scan from its first lines (up to 1,000 of the first 2 MiB).
///
/// Separator and decimal point: of semicolon, comma, tab and blanks, each with a decimal point
/// and (except the comma) a decimal comma, the pair with which most lines hold three coordinates;
/// the earlier of equal ones. A first line that holds only a whole number is a count; it is skipped
/// and serves only to find where another scan may begin. A line of names before the first point
/// names the columns, whether it is a comment (one of the last 20) or not; without names their
/// number decides:
///
///     3  x y z         6  x y z red green blue (no colours where one is negative)
///     4  x y z i       7  x y z i red green blue (no colours where one is negative)
///
/// and any other number of columns is x y z and columns that are not read. Colours with a
/// fraction and none above 1 run from 0 to 1.
///
/// Errors   BadInput: text in UTF-16, bytes that no text holds, no layout with which at least half
///          of the lines hold three numbers.
Expected<TextLayout> FindTextLayout(const ScanFile& file);

/// For people: "text, comma-separated: x y z intensity".
std::string DescribeLayout(const TextLayout& layout);

}  // namespace orvix::importer
