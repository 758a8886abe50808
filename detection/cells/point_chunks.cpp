// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/point_chunks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <span>

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
        if (!LiesInTile(metre)) {
            Cut();
            Enter(result_.frame.TileOfMetre(metre));
        } else if (chunk_.count >= kChunkPoints && MayCutBefore(metre)) {
            Cut();
        }
        last_ = metre;
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
    [[nodiscard]] bool LiesInTile(const CellPlace& metre) const {
        return std::ranges::equal(low_, metre, std::less_equal<>()) &&
               std::ranges::equal(metre, high_, std::less<>());
    }
    // Whether a new unit begins: a 100 cm cell, or where cells are that large, one of 1000 cm.
    [[nodiscard]] bool MayCutBefore(const CellPlace& metre) const {
        return result_.frame.InMetre() || !Same(TenMetresOf(metre), TenMetresOf(last_));
    }
    static CellPlace TenMetresOf(const CellPlace& metre) {
        return {detail::FloorTenth(metre[0]), detail::FloorTenth(metre[1]),
                detail::FloorTenth(metre[2])};
    }
    void Enter(const CellPlace& tile) {
        tile_ = tile;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int32_t side = result_.frame.TileMetres(axis);
            low_[axis] = tile[axis] * side;
            high_[axis] = low_[axis] + side;
        }
    }
    void Cut() {
        if (chunk_.count == 0) return;
        tiles_[tile_].push_back(static_cast<std::uint32_t>(result_.chunks.size()));
        result_.chunks.push_back(chunk_);
        chunk_ = {Taken(), 0, 0};
    }

    CellPlace last_{};
    CellPlace tile_{};
    CellPlace low_{}, high_{};  // the tile's metres; none at first
    PointChunk chunk_;
    PointChunks result_;
    std::map<CellPlace, std::vector<std::uint32_t>> tiles_;
};

Expected<void> TakeAll(CProjectCore& core, std::span<Cutter> cutters) {
    const auto points = static_cast<std::uint64_t>(core.AlivePointCount());
    const auto index = core.CreateIndexReader();
    const auto cells = static_cast<std::uint64_t>(index->Count100());
    std::uint64_t at = 0;
    for (std::uint64_t i = 0; i < cells; ++i) {
        index->ReadIndex100(0);
        CellPlace metre{};
        index->GetXYZ100(metre[0], metre[1], metre[2]);
        CIndexerSmall run;
        index->GetOffsetCount100(run.offset, run.count);
        if (IsTooFar(metre))
            return Fail(ErrorCode::Damaged,
                        fmt::format("100 cm cell {} lies at {}, {}, {} m, where no point can be; "
                                    "check the project or import it again",
                                    i, metre[0], metre[1], metre[2]));
        if (run.offset != at || run.count > points - at) return IndexDisagrees(at, points);
        for (Cutter& cutter : cutters) cutter.Take(metre, run.count);
        at += run.count;
    }
    if (at != points) return IndexDisagrees(at, points);
    return {};
}

}  // namespace

Expected<PointChunks> CutIntoChunks(CProjectCore& core, const CellFrame& frame) {
    Cutter cutter(frame);
    if (auto taken = TakeAll(core, {&cutter, 1}); !taken) return ErrorOf(taken);
    return cutter.Finish();
}

Expected<std::vector<PointChunks>> CutIntoChunksOfAllSizes(CProjectCore& core) {
    std::vector<Cutter> cutters;
    for (std::size_t step = 0; step < CellFrame::kSizes.size(); ++step)
        cutters.emplace_back(CellFrame(step));
    if (auto taken = TakeAll(core, cutters); !taken) return ErrorOf(taken);
    std::vector<PointChunks> cuts;
    for (Cutter& cutter : cutters) cuts.push_back(cutter.Finish());
    return cuts;
}

}  // namespace orvix::detection
