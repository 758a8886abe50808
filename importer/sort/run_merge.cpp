// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/run_merge.h"

#include <algorithm>
#include <utility>

#include "orvix/points/record_hash.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

/// Points of one run that lie in one cell.
struct CellPart {
    const SortedRun* run;
    std::uint64_t first;
    std::uint64_t count;
};

/// Cuts the merged order into tasks of a bounded number of points.
class TaskPlanner {
public:
    TaskPlanner(const std::vector<SortedRun>& runs, const GridFrame& frame,
                const MergeOptions& options, const ImportPool& pool)
        : runs_(runs), frame_(frame), options_(options), pool_(pool) {}

    Expected<std::vector<MergeTask>> Plan() {
        GatherSamples();
        SortKey low = options_.low;
        std::uint64_t weight = 0;
        for (std::size_t i = 0; i < samples_.size();) {
            const SortKey key = samples_[i].first;
            std::uint64_t keyWeight = 0;
            for (; i < samples_.size() && samples_[i].first == key; ++i) {
                keyWeight += samples_[i].second;
            }
            if (keyWeight > maxWeight_) {
                AddRange(low, key);
                if (auto added = AddCell(key); !added) {
                    return ErrorOf(added);
                }
                low = key.Next();
                weight = 0;
            } else if (weight + keyWeight > maxWeight_) {
                AddRange(low, key);
                low = key;
                weight = keyWeight;
            } else {
                weight += keyWeight;
            }
        }
        AddRange(low, options_.high);
        return std::move(tasks_);
    }

private:
    // A range that holds n samples of a run holds at most n + 1 strides of its points. So the
    // weight of its samples plus one stride per run bounds what a block must hold.
    void GatherSamples() {
        std::uint64_t slack = 0;
        for (const SortedRun& run : runs_) {
            slack += std::min<std::uint64_t>(run.stride, run.count);
            for (const SortKey& key : run.samples) {
                if (!(key < options_.low) && key < options_.high)
                    samples_.emplace_back(key, run.stride);
            }
        }
        std::sort(samples_.begin(), samples_.end());
        blockPoints_ = std::max(options_.blockPoints, 2 * slack);
        maxWeight_ = blockPoints_ - slack;
    }

    void AddRange(const SortKey& low, const SortKey& high) {
        if (!(low < high)) return;
        MergeTask task;
        task.low = low;
        task.high = high;
        tasks_.push_back(task);
    }

    Expected<void> AddCell(const SortKey& key) {
        std::vector<CellPart> parts;
        for (const SortedRun& run : runs_) {
            const auto first = CountBelow(run, frame_, key);
            if (!first) return ErrorOf(first);
            const auto end = CountBelow(run, frame_, key.Next());
            if (!end) return ErrorOf(end);
            if (*end > *first) parts.push_back({&run, *first, *end - *first});
        }
        std::shared_ptr<const std::vector<bool>> duplicates;
        if (options_.removeDuplicates) {
            auto found = DuplicatesOf(parts);
            if (!found) return ErrorOf(found);
            duplicates = std::make_shared<const std::vector<bool>>(std::move(*found));
        }
        std::uint64_t inCell = 0;
        for (const CellPart& part : parts) {
            for (std::uint64_t done = 0; done < part.count; done += blockPoints_) {
                const std::uint64_t count = std::min(blockPoints_, part.count - done);
                tasks_.push_back({key, key.Next(), part.run, part.first + done, count, duplicates,
                                  inCell + done});
            }
            inCell += part.count;
        }
        return {};
    }

    Expected<std::vector<bool>> DuplicatesOf(const std::vector<CellPart>& parts) const {
        std::uint64_t total = 0;
        for (const CellPart& part : parts) total += part.count;
        RawBuffer<AlivePoint> buffer;
        const CellReader reader = [&](std::uint64_t first,
                                      std::size_t count) -> Expected<std::span<const AlivePoint>> {
            buffer.Clear();
            for (const CellPart& part : parts) {
                if (first >= part.count) {
                    first -= part.count;
                    continue;
                }
                const auto taken = static_cast<std::size_t>(
                    std::min<std::uint64_t>(count - buffer.Size(), part.count - first));
                auto read = AppendPoints(*part.run, part.first + first, taken, buffer);
                if (!read) return ErrorOf(read);
                first = 0;
                if (buffer.Size() == count) break;
            }
            return std::span<const AlivePoint>(buffer.All());
        };
        return FindDuplicates(reader, total, blockPoints_, [&] { return pool_.Stopping(); });
    }

    const std::vector<SortedRun>& runs_;
    const GridFrame& frame_;
    const MergeOptions& options_;
    const ImportPool& pool_;
    std::vector<std::pair<SortKey, std::uint32_t>> samples_;
    std::uint64_t blockPoints_ = 0;
    std::uint64_t maxWeight_ = 0;
    std::vector<MergeTask> tasks_;
};

// A part of one cell: in order already, perhaps with points to leave out.
Expected<void> TakePart(MergedBlock& block) {
    const MergeTask& task = block.task;
    block.points.Clear();
    auto read =
        AppendPoints(*task.run, task.first, static_cast<std::size_t>(task.count), block.points);
    if (!read) return read;
    if (task.duplicates != nullptr) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < block.points.Size(); ++i) {
            if ((*task.duplicates)[task.firstInCell + i]) {
                ++block.removed.points;
                block.removed.hash += detail::RecordHash(block.points[i]);
            } else {
                block.points[kept++] = block.points[i];
            }
        }
        block.points.Resize(kept);
    }
    block.cells.clear();
    if (block.points.Size() != 0) {
        block.cells.push_back({task.low, static_cast<std::uint32_t>(block.points.Size())});
    }
    return {};
}

Expected<void> TakeRange(MergedBlock& block, const std::vector<SortedRun>& runs,
                         const GridFrame& frame, const MergeOptions& options) {
    block.gathered.Clear();
    for (const SortedRun& run : runs) {
        auto read = AppendRange(run, frame, block.task.low, block.task.high, block.gathered);
        if (!read) return read;
    }
    block.points.Resize(block.gathered.Size());
    block.sorter.Sort(frame, block.gathered.All(), block.points.Data(), &block.cells);
    if (!options.removeDuplicates) return {};
    block.removed = RemoveDuplicates(block.points.All(), block.cells);
    block.points.Resize(block.points.Size() - static_cast<std::size_t>(block.removed.points));
    return {};
}

}  // namespace

Expected<void> MergeRuns(const std::vector<SortedRun>& runs, const GridFrame& frame,
                         const MergeOptions& options, ImportPool& pool, MergeSink& sink) {
    std::vector<MergeTask> tasks;
    auto planned = pool.RunOne([&]() -> Expected<void> {
        auto plan = TaskPlanner(runs, frame, options, pool).Plan();
        if (!plan) return ErrorOf(plan);
        tasks = std::move(*plan);
        return sink.Begin(std::all_of(tasks.begin(), tasks.end(),
                                      [](const MergeTask& task) { return task.run == nullptr; }));
    });
    if (!planned) return planned;
    std::size_t next = 0;
    parallel::OrderedSteps<MergedBlock> steps;
    steps.take = [&](MergedBlock& block) -> Expected<bool> {
        if (next == tasks.size()) return false;
        block.task = std::move(tasks[next++]);
        return true;
    };
    steps.work = [&](MergedBlock& block) -> Expected<void> {
        block.removed = {};
        auto taken =
            block.task.run != nullptr ? TakePart(block) : TakeRange(block, runs, frame, options);
        if (taken) sink.Prepare(block);
        return taken;
    };
    steps.commit = [&](MergedBlock& block) { return sink.Commit(block); };
    steps.finish = [&](MergedBlock& block) -> Expected<void> {
        auto stored = sink.Store(block);
        const std::uint64_t points = block.points.Size();
        pool.Meter().Add((points + block.removed.points) * sizeof(AlivePoint), points);
        return stored;
    };
    return parallel::RunInOrder(pool, steps);
}

}  // namespace orvix::importer
