// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/tasks/stage_results.h"

#include <algorithm>
#include <utility>

#include "orvix/points/stream_hash.h"

namespace orvix::detection {
namespace {

// Each of these hands a struct, part by part, to a TaskWriter or a TaskReader.

template <class Archive>
void Exchange(Archive& archive, Vector& v) {
    archive.Value(v.x);
    archive.Value(v.y);
    archive.Value(v.z);
}

template <class Archive>
void Exchange(Archive& archive, MomentSum& sum) {
    archive.Value(sum.count);
    Exchange(archive, sum.sum);
    archive.Value(sum.squares.xx);
    archive.Value(sum.squares.xy);
    archive.Value(sum.squares.xz);
    archive.Value(sum.squares.yy);
    archive.Value(sum.squares.yz);
    archive.Value(sum.squares.zz);
}

template <class Archive>
void Exchange(Archive& archive, Region& region) {
    Exchange(archive, region.plane.normal);
    Exchange(archive, region.plane.centre);
    Exchange(archive, region.sum);
    Exchange(archive, region.origin);
    archive.Value(region.rms);
    archive.Value(region.scatter);
    archive.Value(region.scattered);
    archive.Value(region.extent);
    std::uint8_t kind = static_cast<std::uint8_t>((region.small ? 1 : 0) | (region.rough ? 2 : 0));
    archive.Value(kind);
    region.small = (kind & 1) != 0;
    region.rough = (kind & 2) != 0;
    archive.Value(region.cells);
}

template <class Archive>
void Exchange(Archive& archive, RasterPlan& plan) {
    archive.Value(plan.bounds.min.x);
    archive.Value(plan.bounds.min.y);
    archive.Value(plan.bounds.max.x);
    archive.Value(plan.bounds.max.y);
    archive.Value(plan.pixel);
    archive.Value(plan.parts);
}

template <class Archive>
void Exchange(Archive& archive, PlaneSearchSettings& settings) {
    for (double* value :
         {&settings.cellSize, &settings.spacing, &settings.noise, &settings.distance,
          &settings.angle, &settings.minArea, &settings.minPoints, &settings.bridge})
        archive.Value(*value);
}

template <class Archive>
void Exchange(Archive& archive, TaskPlan& plan) {
    PlaneSearchOptions& options = plan.options;
    for (double* value : {&options.cellSize, &options.distance, &options.angle, &options.minArea,
                          &options.minPoints, &options.bridge})
        archive.Value(*value);
    archive.Value(options.detail);
    archive.Value(options.memoryLimitBytes);
    Exchange(archive, plan.settings);
    archive.Value(plan.step);
    archive.Value(plan.cloud);
    archive.List(plan.firstTile);
}

template <class Archive>
void Exchange(Archive& archive, JoinedRegions& joined) {
    archive.List(joined.regionsIn);
    archive.List(joined.merged.numbers);
    archive.Value(joined.merged.leftOut);
    archive.List(joined.regions, [&](Region& region) { Exchange(archive, region); });
    archive.List(joined.rasters, [&](RasterPlan& plan) { Exchange(archive, plan); });
}

template <class Archive>
void Exchange(Archive& archive, ChunkSums& sums) {
    archive.List(sums, [&](std::pair<std::int32_t, MomentSum>& part) {
        archive.Value(part.first);
        Exchange(archive, part.second);
    });
}

// What TakeTile reads, but for the regions that grew in the tile.
template <class Archive>
void ExchangeCells(Archive& archive, GrownTiles& grown, std::size_t tile,
                   std::vector<std::uint32_t>& firstNumbers) {
    archive.List(firstNumbers);
    grown.map.Exchange(tile, archive);
}

CellMap EmptyMapOf(const PointChunks& cut) {
    std::vector<CellPlace> places;
    for (const TileChunks& tile : cut.tiles) places.push_back(tile.place);
    return {cut.frame, places};
}

}  // namespace

void Encode(TaskPlan plan, TaskWriter& writer) {
    Exchange(writer, plan);
}

Expected<TaskPlan> DecodePlan(TaskReader& reader) {
    TaskPlan plan;
    Exchange(reader, plan);
    const bool ascends = std::is_sorted(plan.firstTile.begin(), plan.firstTile.end());
    if (!reader.AtEnd() || !ascends || plan.firstTile.empty() ||
        plan.step >= CellFrame::kSizes.size() ||
        (plan.options.detail != Detail::Fine && plan.options.detail != Detail::Normal &&
         plan.options.detail != Detail::Coarse))
        return reader.Damage();
    return plan;
}

Expected<std::uint64_t> CloudMark(CProjectCore& core, const PointChunks& cut) {
    constexpr std::size_t kSamples = 16;
    detail::StreamHash hash;
    for (const PointChunk& chunk : cut.chunks) {
        hash.Add(&chunk.first, sizeof chunk.first);
        hash.Add(&chunk.count, sizeof chunk.count);
        hash.Add(cut.tiles[chunk.tile].place.data(), sizeof(CellPlace));
    }
    if (cut.chunks.empty()) return hash.Value();
    const auto reader = core.CreateAlivePointReader();
    if (!reader) return PointsNotMapped();
    constexpr std::uint32_t kPoints = 4096;
    std::vector<CCloudPoint<float>> points;
    for (std::size_t i = 0; i < kSamples; ++i) {
        const PointChunk& chunk = cut.chunks[i * (cut.chunks.size() - 1) / (kSamples - 1)];
        points.clear();
        const auto count =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(chunk.count, kPoints));
        reader->ReadIndexPoints(chunk.first, count, points);
        if (points.size() != count) return PointsNotMapped();
        const std::uint64_t places =
            detail::PlacesHash(std::span<const CCloudPoint<float>>(points));
        hash.Add(&places, sizeof places);
    }
    return hash.Value();
}

void Encode(GrownTiles& grown, const PointChunks& cut, TileRange tiles, TaskWriter& writer) {
    writer.Value(grown.leftOut);
    std::size_t first = 0;  // of the tile's regions
    for (std::size_t tile = tiles.first; tile < tiles.last; ++tile) {
        TaskWriter its;
        const std::size_t count = grown.regionsIn[tile];
        std::vector<Region> regions(
            grown.regions.begin() + static_cast<std::ptrdiff_t>(first),
            grown.regions.begin() + static_cast<std::ptrdiff_t>(first + count));
        its.List(regions, [&](Region& region) { Exchange(its, region); });
        std::vector<std::uint32_t> firstNumbers;
        for (const std::uint32_t chunk : cut.tiles[tile].chunks)
            firstNumbers.push_back(grown.firstNumber[chunk]);
        ExchangeCells(its, grown, tile, firstNumbers);
        writer.List(its.Bytes());
        first += count;
    }
}

TileCollector::TileCollector(const PointChunks& cut) : cut_(cut), regions_(cut.tiles.size()) {
    grown_.map = EmptyMapOf(cut);
    grown_.firstNumber.resize(cut.chunks.size());
}

bool TileCollector::TakeTile(TaskReader& reader, std::size_t tile) {
    reader.List(regions_[tile], [&](Region& region) { Exchange(reader, region); });
    std::vector<std::uint32_t> firstNumbers;
    ExchangeCells(reader, grown_, tile, firstNumbers);
    const std::vector<std::uint32_t>& chunks = cut_.tiles[tile].chunks;
    if (!reader.Sound() || firstNumbers.size() != chunks.size()) return false;
    for (std::size_t i = 0; i < chunks.size(); ++i) grown_.firstNumber[chunks[i]] = firstNumbers[i];
    return grown_.map.IsSound(tile, regions_[tile].size());
}

Expected<void> TileCollector::Take(TaskReader& reader, TileRange tiles,
                                   const std::function<bool(std::size_t)>& wanted) {
    std::uint64_t leftOut = 0;
    reader.Value(leftOut);
    grown_.leftOut += leftOut;
    for (std::size_t tile = tiles.first; tile < tiles.last; ++tile) {
        std::uint64_t bytes = 0;
        reader.Value(bytes);
        if (!wanted(tile)) {
            reader.Skip(bytes);
        } else if (!TakeTile(reader, tile)) {
            return reader.Damage();
        }
    }
    if (!reader.AtEnd()) return reader.Damage();
    return {};
}

GrownTiles TileCollector::Finish() {
    for (auto& regions : regions_) {
        grown_.regionsIn.push_back(static_cast<std::uint32_t>(regions.size()));
        std::move(regions.begin(), regions.end(), std::back_inserter(grown_.regions));
        regions = {};
    }
    return std::move(grown_);
}

void Encode(JoinedRegions& joined, TaskWriter& writer) {
    Exchange(writer, joined);
}

Expected<JoinedRegions> DecodeJoined(TaskReader& reader, std::size_t tiles) {
    JoinedRegions joined;
    Exchange(reader, joined);
    std::uint64_t grown = 0;
    for (const std::uint32_t count : joined.regionsIn) grown += count;
    const auto& numbers = joined.merged.numbers;
    const auto isRegion = [&](std::int32_t number) {
        return number == kNoRegion ||
               (number >= 0 && static_cast<std::size_t>(number) < joined.regions.size());
    };
    const auto isDrawable = [](const RasterPlan& plan) {
        return plan.pixel > 0 && plan.parts > 0 && plan.Pixels() <= kMaxPixels;
    };
    if (!reader.AtEnd() || joined.regionsIn.size() != tiles || numbers.size() != grown ||
        joined.rasters.size() != joined.regions.size() ||
        !std::all_of(numbers.begin(), numbers.end(), isRegion) ||
        !std::all_of(joined.rasters.begin(), joined.rasters.end(), isDrawable))
        return reader.Damage();
    return joined;
}

void Encode(std::span<const std::uint32_t> chunks, std::vector<ChunkSums>& sums,
            const std::vector<RegionPoints>& points, TaskWriter& writer) {
    writer.List(std::vector<std::uint32_t>(chunks.begin(), chunks.end()));
    for (ChunkSums& each : sums) Exchange(writer, each);
    std::vector<std::uint64_t> places, words;
    for (std::size_t region = 0; region < points.size(); ++region) {
        const PlaneRaster& raster = points[region].raster;
        places.clear();
        words.clear();
        for (std::size_t i = 0; i < raster.AllWords(); ++i) {
            if (raster.WordAt(i) == 0) continue;
            places.push_back(i);
            words.push_back(raster.WordAt(i));
        }
        if (places.empty()) continue;
        writer.Value(std::uint64_t{region});
        writer.List(places);
        writer.List(words);
    }
}

Expected<void> TakePoints(TaskReader& reader, std::vector<ChunkSums>& sums, std::vector<bool>& seen,
                          std::vector<RegionPoints>& points) {
    std::vector<std::uint32_t> chunks;
    reader.List(chunks);
    for (const std::uint32_t chunk : chunks) {
        if (chunk >= sums.size() || seen[chunk]) return reader.Damage();
        seen[chunk] = true;
        Exchange(reader, sums[chunk]);
        for (const auto& [region, sum] : sums[chunk])
            if (region < 0 || static_cast<std::size_t>(region) >= points.size())
                return reader.Damage();
    }
    std::vector<std::uint64_t> places, words;
    while (reader.Sound() && !reader.AtEnd()) {
        std::uint64_t region = 0;
        reader.Value(region);
        reader.List(places);
        reader.List(words);
        if (region >= points.size() || places.size() != words.size()) return reader.Damage();
        PlaneRaster& raster = points[region].raster;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i] >= raster.AllWords()) return reader.Damage();
            raster.MarkWord(places[i], words[i]);
        }
    }
    if (!reader.AtEnd()) return reader.Damage();
    return {};
}

}  // namespace orvix::detection
