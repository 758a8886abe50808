// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvix::platform {

/// Amounts as people type and read them. The decimal point is "." in every locale, and blanks at
/// either end are left out.

/// "512M", "1GiB", "2000000", "1.5 GB": bytes. K, M, G, T with or without "iB" are powers of 1024,
/// "kB", "MB", "GB", "TB" powers of 1000, in letters of either case. Empty for anything else, for
/// what is below 0, and from 9.2e18 (about 2^63) on.
std::optional<std::uint64_t> ParseBytes(std::string_view text);

/// "X,Y,Z": three finite numbers, blanks allowed around the commas.
std::optional<std::array<double, 3>> ParsePosition(std::string_view text);

/// A whole text as one finite number.
std::optional<double> ParseNumber(std::string_view text);

std::string CountText(std::uint64_t count);  ///< "1,234,567"
std::string BytesText(std::uint64_t bytes);  ///< "1.2 GiB"
std::string HexText(std::uint64_t value);    ///< 16 digits

}  // namespace orvix::platform
