// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/gather_cells.h"

#include <fmt/format.h>
#include <algorithm>
#include <atomic>
#include <memory>

namespace orvix::detection {
namespace {

constexpr std::size_t kSampledPlaces = 12;
constexpr std::uint64_t kSampledPoints = 2048;  // at each
constexpr std::uint32_t kTypicalPoints = 4;

tl::unexpected<Error> Placeless(std::uint64_t record) {
    return Fail(
        ErrorCode::Damaged,
        fmt::format("record {} has no finite place; check the project or import it again", record));
}

Cell CellOf(const CellPlace& place, const MomentSum& sum) {
    Cell cell;
    cell.place = place;
    cell.count = static_cast<std::uint32_t>(sum.count);
    const Vector mean = sum.Mean();
    cell.mean = {static_cast<float>(mean.x), static_cast<float>(mean.y),
                 static_cast<float>(mean.z)};
    const Symmetric covariance = sum.Covariance();
    for (std::size_t i = 0; i < 6; ++i) cell.covariance[i] = static_cast<float>(covariance[i]);
    return cell;
}

Expected<std::vector<Cell>> CellsOf(CAlivePointReader& reader, const PointChunk& chunk,
                                    const CellFrame& frame) {
    CellNumbering numbering(frame);
    std::vector<CellPlace> places;
    std::vector<MomentSum> sums;
    std::uint64_t record = chunk.first;
    std::uint64_t placeless = ~std::uint64_t{0};
    Vector middle;
    MomentSum* sum = nullptr;
    std::uint32_t current = kNoCell;
    const bool mapped = ForEachPoint(reader, chunk, [&](const CCloudPoint<float>& p) {
        if (!CellFrame::Holds(p)) {
            placeless = std::min(placeless, record);
            return;
        }
        ++record;
        const CellPlace place = frame.PlaceOf(p);
        bool isNew = false;
        const std::uint32_t number = numbering.NumberOf(place, isNew);
        if (isNew) {
            places.push_back(place);
            sums.emplace_back();
        }
        if (isNew || number != current) {
            middle = frame.Middle(place);
            current = number;
            sum = &sums[number];
        }
        sum->Add(Vector{p.x - middle.x, p.y - middle.y, p.z - middle.z});
    });
    if (!mapped) return NoView();
    if (placeless != ~std::uint64_t{0}) return Placeless(placeless);
    std::vector<Cell> cells;
    cells.reserve(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) cells.push_back(CellOf(places[i], sums[i]));
    return cells;
}

// Readers, one a thread, made when first asked for.
class Readers {
public:
    Readers(CProjectCore& core, unsigned threads) : core_(core), readers_(threads) {}
    CAlivePointReader& operator[](unsigned worker) {
        if (!readers_[worker]) readers_[worker] = core_.CreateAlivePointReader();
        return *readers_[worker];
    }

private:
    CProjectCore& core_;
    std::vector<std::shared_ptr<CAlivePointReader>> readers_;
};

Expected<std::uint32_t> MedianCount(CAlivePointReader& reader,
                                    const std::vector<PointChunk>& samples,
                                    const CellFrame& frame) {
    std::vector<std::uint32_t> counts;
    for (const PointChunk& sample : samples) {
        CellNumbering numbering(frame);
        const std::size_t first = counts.size();
        const bool mapped = ForEachPoint(reader, sample, [&](const CCloudPoint<float>& p) {
            if (!CellFrame::Holds(p)) return;
            bool isNew = false;
            const std::uint32_t number = numbering.NumberOf(frame.PlaceOf(p), isNew);
            if (isNew) counts.push_back(0);
            ++counts[first + number];
        });
        if (!mapped) return NoView();
    }
    if (counts.empty()) return 0;
    const auto middle = counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
    std::nth_element(counts.begin(), middle, counts.end());
    return *middle;
}

// Stretches of the file, evenly spread over it; the first and the last cell of each may be cut.
std::vector<PointChunk> Samples(std::uint64_t points) {
    std::vector<PointChunk> samples;
    if (points <= kSampledPlaces * kSampledPoints) return {{0, points}};
    for (std::size_t i = 0; i < kSampledPlaces; ++i)
        samples.push_back({points / kSampledPlaces * i, kSampledPoints});
    return samples;
}

}  // namespace

Expected<std::size_t> TypicalCellStep(CProjectCore& core, const WorkTeam& team) {
    const auto samples = Samples(static_cast<std::uint64_t>(core.AlivePointCount()));
    constexpr std::size_t kSteps = CellFrame::kSizes.size();
    constexpr std::size_t kBatch = 4;
    Readers readers(core, team.Threads());
    for (std::size_t first = 0; first < kSteps; first += kBatch) {
        std::array<std::uint32_t, kBatch> medians{};
        auto done = team.Run(kBatch, [&](std::size_t i, unsigned worker) -> Expected<void> {
            const auto median = MedianCount(readers[worker], samples, CellFrame(first + i));
            if (!median) return tl::unexpected<Error>(median.error());
            medians[i] = *median;
            return {};
        });
        if (!done) return tl::unexpected<Error>(done.error());
        for (std::size_t i = 0; i < kBatch; ++i)
            if (medians[i] >= kTypicalPoints) return first + i;
    }
    return kSteps - 1;
}

Expected<CellCloud> GatherCells(CProjectCore& core, const CellFrame& frame, const WorkTeam& team,
                                std::uint64_t memoryLimit) {
    auto chunks =
        CutIntoChunks(core, frame.InMetre() ? ChunkBorder::Metre : ChunkBorder::TenMetres);
    if (!chunks) return tl::unexpected<Error>(chunks.error());
    Readers readers(core, team.Threads());
    std::vector<std::vector<Cell>> parts(chunks->size());
    std::atomic<std::uint64_t> bytes{0};
    auto done = team.Run(chunks->size(), [&](std::size_t job, unsigned worker) -> Expected<void> {
        auto cells = CellsOf(readers[worker], (*chunks)[job], frame);
        if (!cells) return tl::unexpected<Error>(cells.error());
        parts[job] = std::move(*cells);
        if ((bytes += CellGrid::BytesOf(parts[job].size())) <= memoryLimit) return {};
        return Fail(ErrorCode::BadInput,
                    fmt::format("cells of {} m take more than the {} bytes allowed; allow more "
                                "memory, or choose larger cells",
                                frame.Size(), memoryLimit));
    });
    if (!done) return tl::unexpected<Error>(done.error());
    CellCloud cloud;
    std::vector<Cell> cells;
    std::size_t total = 0;
    for (const auto& part : parts) total += part.size();
    cells.reserve(total);
    for (auto& part : parts) {
        cloud.firstCell.push_back(static_cast<std::uint32_t>(cells.size()));
        cells.insert(cells.end(), part.begin(), part.end());
        part = {};
    }
    for (const PointChunk& chunk : *chunks) cloud.points += chunk.count;
    cloud.chunks = std::move(*chunks);
    cloud.grid = CellGrid(frame, std::move(cells));
    if (auto linked = cloud.grid.Link(); !linked) return tl::unexpected<Error>(linked.error());
    return cloud;
}

}  // namespace orvix::detection
