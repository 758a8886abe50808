// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>
#include <vector>

namespace orvix::importer {

/// Splits a line into its columns, without the blanks around them; quotes are kept.
///
/// Boundaries with the separator ' ' any run of blanks and tabs separates. A separator at the end
///            of the line starts no further column.
/// Lifetime   the columns are parts of `line`.
std::vector<std::string_view> SplitColumns(std::string_view line, char separator);

}  // namespace orvix::importer
