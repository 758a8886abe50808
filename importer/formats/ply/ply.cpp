// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/ply/ply.h"

#include <utility>

namespace orvix::importer {

Expected<std::unique_ptr<ScanReader>> OpenPly(ScanFile file) {
    auto header = ReadPlyHeader(file);
    if (!header) return ErrorOf(header);
    const bool ascii = header->encoding == PlyEncoding::Ascii;
    const PlyElement& vertex = header->Vertex();
    // A line holds at least a digit and a line end or blank for each property.
    const std::uint64_t minBytes = ascii ? 2 * vertex.properties.size() : vertex.MinBytes();
    const std::uint64_t present = file.BytesFrom(header->bodyByte) + (ascii ? 1 : 0);
    if (vertex.count > present / minBytes) {
        return BadCutShort(file, {.noun = "vertices",
                                  .declared = vertex.count,
                                  .recordBytes = minBytes,
                                  .firstByte = header->bodyByte});
    }
    return ascii ? MakePlyAsciiReader(std::move(file), std::move(*header))
                 : MakePlyBinaryReader(std::move(file), std::move(*header));
}

}  // namespace orvix::importer
