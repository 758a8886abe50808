// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/point_chunks.h"

#include <fmt/format.h>
#include <array>

#include "orvix/points/grid_cells.h"

namespace orvix::detection {
namespace {

constexpr std::uint64_t kChunkPoints = 32'768;

tl::unexpected<Error> Torn(std::uint64_t at, std::uint64_t points) {
    return Fail(ErrorCode::Damaged,
                fmt::format("the 100 cm cells lead to {} of {} points; check the project or import "
                            "it again",
                            at, points));
}

}  // namespace

Expected<std::vector<PointChunk>> CutIntoChunks(CProjectCore& core, ChunkBorder border) {
    const auto points = static_cast<std::uint64_t>(core.AlivePointCount());
    const auto index = core.CreateIndexReader();
    const auto cells = static_cast<std::uint64_t>(index->Count100());
    std::vector<PointChunk> chunks;
    PointChunk chunk;
    std::array<std::int32_t, 3> block{};
    for (std::uint64_t i = 0; i < cells; ++i) {
        index->ReadIndex100(0);
        std::array<int, 3> cell{};
        index->GetXYZ100(cell[0], cell[1], cell[2]);
        CIndexerSmall run;
        index->GetOffsetCount100(run.offset, run.count);
        const std::uint64_t at = chunk.first + chunk.count;
        if (run.offset != at || run.count > points - at) return Torn(at, points);
        const std::array<std::int32_t, 3> itsBlock{FloorTenth(cell[0]), FloorTenth(cell[1]),
                                                   FloorTenth(cell[2])};
        const bool mayCut = border == ChunkBorder::Metre || itsBlock != block;
        if (chunk.count >= kChunkPoints && mayCut) {
            chunks.push_back(chunk);
            chunk = {at, 0};
        }
        block = itsBlock;
        chunk.count += run.count;
    }
    if (chunk.count > 0) chunks.push_back(chunk);
    if (chunk.first + chunk.count != points) return Torn(chunk.first + chunk.count, points);
    return chunks;
}

}  // namespace orvix::detection
