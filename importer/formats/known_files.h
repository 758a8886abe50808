// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvix::importer {

/// Explains why a file is not read whose first bytes are those of another known format.
///
/// Returns that format's name and the way to a format that is read; empty for other bytes.
std::optional<std::string> WhyNotRead(std::span<const std::uint8_t> firstBytes);

}  // namespace orvix::importer
