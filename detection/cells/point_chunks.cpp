// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/point_chunks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>

#include "orvix/points/grid_cells.h"

namespace orvix::detection {
namespace {

constexpr std::uint64_t kChunkPoints = 32'768;

tl::unexpected<Error> IndexDisagrees(std::uint64_t at, std::uint64_t points) {
    return Fail(ErrorCode::Damaged,
                fmt::format("the 100 cm cells lead to {} of {} points; check the project or import "
                            "it again",
                            at, points));
}

// No point that has a cell (CellFrame::Holds) lies in such a 100 cm cell.
bool IsTooFar(const CellPlace& metre) {
    constexpr std::int32_t kFarthest = 100'000'000;
    return std::any_of(metre.begin(), metre.end(),
                       [](std::int32_t at) { return at < -kFarthest || at >= kFarthest; });
}

/// Collects the 100 cm cells, in the order of the file, into chunks.
class Cutter {
public:
    explicit Cutter(const CellFrame& frame) { result_.frame = frame; }

    void Take(const CellPlace& metre, std::uint64_t count) {
        const CellPlace block{detail::FloorTenth(metre[0]), detail::FloorTenth(metre[1]),
                              detail::FloorTenth(metre[2])};
        const CellPlace tile = result_.frame.TileOfMetre(metre);
        const bool mayCut = result_.frame.InMetre() || !Same(block, block_);
        if ((chunk_.count >= kChunkPoints && mayCut) || !Same(tile, tile_)) Cut();
        block_ = block;
        tile_ = tile;
        chunk_.count += count;
    }
    [[nodiscard]] std::uint64_t Taken() const { return chunk_.first + chunk_.count; }
    PointChunks Finish() {
        Cut();
        result_.points = chunk_.first;
        for (auto& [place, chunks] : tiles_) {
            TileChunks tile{place, 0, std::move(chunks)};
            for (const std::uint32_t chunk : tile.chunks) {
                tile.points += result_.chunks[chunk].count;
                result_.chunks[chunk].tile = static_cast<std::uint32_t>(result_.tiles.size());
            }
            result_.tiles.push_back(std::move(tile));
        }
        return std::move(result_);
    }

private:
    void Cut() {
        if (chunk_.count == 0) return;
        tiles_[tile_].push_back(static_cast<std::uint32_t>(result_.chunks.size()));
        result_.chunks.push_back(chunk_);
        chunk_ = {Taken(), 0, 0};
    }

    CellPlace block_{};
    CellPlace tile_{};
    PointChunk chunk_;
    PointChunks result_;
    std::map<CellPlace, std::vector<std::uint32_t>> tiles_;
};

}  // namespace

Expected<PointChunks> CutIntoChunks(CProjectCore& core, const CellFrame& frame) {
    const auto points = static_cast<std::uint64_t>(core.AlivePointCount());
    const auto index = core.CreateIndexReader();
    const auto cells = static_cast<std::uint64_t>(index->Count100());
    Cutter cutter(frame);
    for (std::uint64_t i = 0; i < cells; ++i) {
        index->ReadIndex100(0);
        CellPlace metre{};
        index->GetXYZ100(metre[0], metre[1], metre[2]);
        CIndexerSmall run;
        index->GetOffsetCount100(run.offset, run.count);
        const std::uint64_t at = cutter.Taken();
        if (IsTooFar(metre))
            return Fail(ErrorCode::Damaged,
                        fmt::format("100 cm cell {} lies at {}, {}, {} m, where no point can be; "
                                    "check the project or import it again",
                                    i, metre[0], metre[1], metre[2]));
        if (run.offset != at || run.count > points - at) return IndexDisagrees(at, points);
        cutter.Take(metre, run.count);
    }
    if (cutter.Taken() != points) return IndexDisagrees(cutter.Taken(), points);
    return cutter.Finish();
}

}  // namespace orvix::detection
