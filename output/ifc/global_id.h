// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvix::output {

/// IFC's GlobalId of a thing whose values are these bytes: a UUID of version 8 in 22 of IFC's digits.
///
///     std::string bytes = "wall";
///     AppendBytes(bytes, wall.base);
///     GlobalIdOf(bytes);
///
/// The same bytes give the same identifier at any time and on every system, and other bytes another
/// one, so that models of several scans can be put together and a model that is made again takes the
/// place of the one before.
///
/// Source  XXH3 with 128 bits (Y. Collet); RFC 9562, 5.8 for version 8.
std::string GlobalIdOf(std::string_view bytes);

/// Eight bytes more, the lowest first.
void AppendBytes(std::string& bytes, std::uint64_t value);
void AppendBytes(std::string& bytes, double value);

}  // namespace orvix::output
