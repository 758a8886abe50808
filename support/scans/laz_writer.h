// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "support/scans/las_writer.h"

namespace orvix::test {

/// How MakeLaz lays a file out.
struct LazOptions {
    std::vector<std::uint32_t> chunkPoints = {50'000};  ///< several: chunks of varying size
    bool tableAtEnd = false;    ///< its place stands in the last bytes instead of the first
    std::uint16_t version = 0;  ///< of the items; 0: 2 for point formats to 5, 3 from 6 on
    std::uint64_t seed = 1;     ///< of the choices that an encoder has
};

/// Compresses LAS records (formats 0 to 3 and 6 to 8, with any extra bytes) into a LAZ file.
///
/// Written after the format's description and apart from the decoder: its own models, coder and
/// predictions, plain instead of fast. Where several codes mean the same value (GPS times), it
/// draws one, so that files of a few thousand points use all of them.
/// Order  as given; `records` holds whole records of the layout's size.
std::vector<std::uint8_t> MakeLaz(const LasLayout& layout, const std::vector<std::uint8_t>& records,
                                  const LazOptions& options = {});

}  // namespace orvix::test
