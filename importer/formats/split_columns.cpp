// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/split_columns.h"

#include "importer/formats/line_blocks.h"

namespace orvix::importer {

std::vector<std::string_view> SplitColumns(std::string_view line, char separator) {
    const auto blank = [&](char c) { return IsBlank(c) && c != separator; };
    const auto trim = [&](std::string_view text) {
        while (!text.empty() && blank(text.front())) text.remove_prefix(1);
        while (!text.empty() && blank(text.back())) text.remove_suffix(1);
        return text;
    };
    std::vector<std::string_view> columns;
    if (separator != ' ') {
        for (line = trim(line);;) {
            const std::size_t end = line.find(separator);
            columns.push_back(trim(line.substr(0, end)));
            if (end == std::string_view::npos) break;
            line.remove_prefix(end + 1);
        }
        if (columns.back().empty()) columns.pop_back();
        return columns;
    }
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t start = at;
        while (at < line.size() && !IsBlank(line[at])) ++at;
        if (at > start) columns.push_back(line.substr(start, at - start));
        while (at < line.size() && IsBlank(line[at])) ++at;
    }
    return columns;
}

}  // namespace orvix::importer
