// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvix::importer {

/// What to tell about a file whose first bytes are those of a format that is not read: its name
/// and the way to a format that is. Empty when the bytes are of no such format.
std::optional<std::string> WhyNotRead(std::span<const std::uint8_t> firstBytes);

}  // namespace orvix::importer
