// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/cloud_estimate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "detection/cells/cell_runs.h"
#include "detection/cells/cell_shapes.h"
#include "detection/cells/gather_cells.h"
#include "detection/cells/point_readers.h"
#include "orvix/geometry/quantile.h"

namespace orvix::detection {
namespace {

constexpr std::size_t kMinSamples = 16;
constexpr std::size_t kMaxSamples = 256;
constexpr std::size_t kChunksPerSample = 16;
constexpr std::uint64_t kPointsPerSample = 4096;  // or as many as make
constexpr std::uint64_t kPointsOfAll = kMinSamples * kPointsPerSample;
constexpr std::uint32_t kMinTypicalCount = 2;

constexpr double kMinGain = 1.15;  // in points of flat cells: what makes a larger size better

// The heads of chunks, spread evenly; the last cells of each may be cut.
std::vector<PointChunk> SamplesOf(const PointChunks& cut) {
    const std::size_t samples =
        std::min(cut.chunks.size(),
                 std::clamp(cut.chunks.size() / kChunksPerSample, kMinSamples, kMaxSamples));
    std::vector<PointChunk> chosen;
    if (samples == 0) return chosen;
    const std::uint64_t most = std::max(kPointsPerSample, kPointsOfAll / samples);
    for (std::size_t i = 0; i < samples; ++i) {
        PointChunk chunk = cut.chunks[cut.chunks.size() * i / samples];
        chunk.count = std::min(chunk.count, most);
        chosen.push_back(chunk);
    }
    return chosen;
}

/// The cells of one sample.
struct SampledCells {
    std::vector<std::uint32_t> counts;      // of every cell
    std::vector<std::uint32_t> flatCounts;  // of those with a normal
    std::vector<float> rms;                 // of the same, in an order of their own
};

Expected<SampledCells> ReadSample(CAlivePointReader& reader, const PointChunks& cut,
                                  const PointChunk& sample) {
    const CellFrame& frame = cut.frame;
    const CellPlace origin = frame.OriginOf(cut.tiles[sample.tile].place);
    auto sums = GatherCells(reader, sample, frame, origin);
    if (!sums) return ErrorOf(sums);
    SampledCells cells;
    for (const MomentSum& sum : sums->sums)
        cells.counts.push_back(static_cast<std::uint32_t>(sum.count));
    TileCells tile(frame, origin, {&*sums, 1});
    if (auto checked = tile.Check(); !checked) return ErrorOf(checked);
    tile.Link();
    const std::vector<CellShape> shaped = ShapesOf(tile);
    for (std::uint32_t cell = 0; cell < tile.Size(); ++cell) {
        if (!shaped[cell].HasNormal()) continue;
        cells.flatCounts.push_back(static_cast<std::uint32_t>(tile.Sum(cell).count));
        cells.rms.push_back(shaped[cell].rms);
    }
    return cells;
}

Expected<SampledCells> ReadSamples(CProjectCore& core, const PointChunks& cut,
                                   const parallel::Pool& pool) {
    const std::vector<PointChunk> samples = SamplesOf(cut);
    std::vector<SampledCells> parts(samples.size());
    PointReaders readers(core, pool.Threads());
    auto done = pool.RunJobs(samples.size(), [&](std::size_t i, unsigned worker) -> Expected<void> {
        auto found = ReadSample(readers[worker], cut, samples[i]);
        if (!found) return ErrorOf(found);
        parts[i] = std::move(*found);
        return {};
    });
    if (!done) return ErrorOf(done);
    SampledCells all;
    for (const SampledCells& part : parts) {
        all.counts.insert(all.counts.end(), part.counts.begin(), part.counts.end());
        all.flatCounts.insert(all.flatCounts.end(), part.flatCounts.begin(), part.flatCounts.end());
        all.rms.insert(all.rms.end(), part.rms.begin(), part.rms.end());
    }
    return all;
}

// How many points the cells of a sample hold: a third of what their moments cost, and a tenth of what
// their shapes do.
Expected<std::vector<std::uint32_t>> CountCells(CAlivePointReader& reader, const CellFrame& frame,
                                                const PointChunk& sample) {
    CellNumbering numbering(frame);
    std::vector<std::uint32_t> counts;
    const auto add = [&](std::span<const CCloudPoint<float>> points, std::uint32_t cell) {
        if (cell == kNoCell) return;  // no cell of any size holds such points: growth reports them
        if (numbering.IsNew()) counts.push_back(0);
        counts[cell] += static_cast<std::uint32_t>(points.size());
    };
    if (auto read = ForEachCellRun(reader, sample, numbering, add); !read) return ErrorOf(read);
    return counts;
}

// The largest count such that cells of that many points or more hold three quarters of the points:
// strays are many cells, but few points.
std::uint32_t TypicalCount(std::vector<std::uint32_t> counts) {
    std::sort(counts.begin(), counts.end());
    std::uint64_t total = 0, passed = 0;
    for (const std::uint32_t count : counts) total += count;
    for (const std::uint32_t count : counts)
        if ((passed += count) * 4 >= total) return count;
    return 0;
}

Expected<std::uint32_t> TypicalCountIn(CProjectCore& core, const PointChunks& cut,
                                       const parallel::Pool& pool) {
    const std::vector<PointChunk> samples = SamplesOf(cut);
    std::vector<std::vector<std::uint32_t>> parts(samples.size());
    PointReaders readers(core, pool.Threads());
    auto done = pool.RunJobs(samples.size(), [&](std::size_t i, unsigned worker) -> Expected<void> {
        auto counts = CountCells(readers[worker], cut.frame, samples[i]);
        if (!counts) return ErrorOf(counts);
        parts[i] = std::move(*counts);
        return {};
    });
    if (!done) return ErrorOf(done);
    std::vector<std::uint32_t> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return TypicalCount(std::move(all));
}

// The share of the points that lie in cells with a normal.
double FlatShare(const SampledCells& found) {
    const auto sum = [](const std::vector<std::uint32_t>& counts) {
        return std::accumulate(counts.begin(), counts.end(), 0.0);
    };
    return found.counts.empty() ? 0 : sum(found.flatCounts) / sum(found.counts);
}

// Along an axis, the metres of tiles without those that hold the first and last 2 % of the points.
double ExtentAlong(const PointChunks& cut, std::size_t axis) {
    std::vector<std::pair<std::int32_t, std::uint64_t>> tiles;
    for (const TileChunks& tile : cut.tiles) tiles.emplace_back(tile.place[axis], tile.points);
    std::sort(tiles.begin(), tiles.end());
    const std::uint64_t outside = cut.points / 50;
    const auto first = [&](auto from, auto to) {
        std::uint64_t passed = 0;
        for (; from != to; ++from)
            if ((passed += from->second) > outside) return from->first;
        return std::int32_t{0};
    };
    const std::int32_t count =
        first(tiles.rbegin(), tiles.rend()) - first(tiles.begin(), tiles.end()) + 1;
    return count * cut.frame.PerTile(axis) * cut.frame.Size();
}

double ExtentOf(const PointChunks& cut) {
    const double x = ExtentAlong(cut, 0), y = ExtentAlong(cut, 1);
    return std::sqrt(x * x + y * y);
}

// Orders what was found.
CloudEstimate EstimateOf(SampledCells& found, const PointChunks& cut) {
    CloudEstimate estimate;
    estimate.spacing = cut.frame.Size();
    if (!found.flatCounts.empty())
        estimate.spacing /= std::sqrt(std::max<double>(detail::Quantile(found.flatCounts, 0.5), 1));
    // BEHAVIOUR A3
    if (!found.rms.empty()) estimate.noise = detail::Quantile(found.rms, 0.5);
    estimate.extent = ExtentOf(cut);
    return estimate;
}

}  // namespace

Expected<EstimatedCloud> EstimateTypicalCells(CProjectCore& core, const parallel::Pool& pool) {
    constexpr std::size_t kLast = CellFrame::kSizes.size() - 1;
    auto cuts = CutIntoChunksOfAllSizes(core);
    if (!cuts) return ErrorOf(cuts);
    std::size_t step = 0;
    for (; step < kLast; ++step) {
        const auto typical = TypicalCountIn(core, (*cuts)[step], pool);
        if (!typical) return ErrorOf(typical);
        if (*typical >= kMinTypicalCount) break;
    }
    auto best = ReadSamples(core, (*cuts)[step], pool);
    for (; best && step < kLast; ++step) {
        auto larger = ReadSamples(core, (*cuts)[step + 1], pool);
        if (larger && FlatShare(*larger) <= kMinGain * FlatShare(*best)) break;
        best = std::move(larger);
    }
    if (!best) return ErrorOf(best);
    const CloudEstimate estimate = EstimateOf(*best, (*cuts)[step]);
    return EstimatedCloud{step, std::move((*cuts)[step]), estimate};
}

Expected<CloudEstimate> EstimateCloud(CProjectCore& core, const PointChunks& cut,
                                      const parallel::Pool& pool) {
    auto found = ReadSamples(core, cut, pool);
    if (!found) return ErrorOf(found);
    return EstimateOf(*found, cut);
}

}  // namespace orvix::detection
