// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace orvix::cli {

/// Text with nothing in it that a terminal obeys: control characters, marks that turn the direction
/// of writing, and bytes that are no UTF-8 are spelt out, as \x1b and \u202e. Line breaks and tabs
/// stay; a name that stands within a line has its line breaks spelt out too (`PrintableName`).
///
///     fmt::print("{}", Printable(text));
///
/// Boundaries a text without such characters is returned as it is, backslashes included.
std::string Printable(std::string_view text);
std::string PrintableName(std::string_view name);

}  // namespace orvix::cli
