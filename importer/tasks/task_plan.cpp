// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/task_plan.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace orvix::importer {
namespace {

constexpr std::uint64_t kParts = 16;
constexpr std::uint64_t kMostPoints = 64u << 20;
constexpr std::size_t kKeysLookedAt = 1u << 20;
constexpr std::uint32_t kFineKeysPerMetre = 1000;

SortKey MetreOf(const SortKey& key) {
    return {key.block, key.inside / kFineKeysPerMetre * kFineKeysPerMetre};
}

std::uint64_t PartOf(std::uint64_t points, std::uint64_t leastPoints) {
    return std::max((points + kParts - 1) / kParts, leastPoints);
}

// Keys along the runs with the points that each stands for, in order.
std::vector<std::pair<SortKey, std::uint64_t>> KeysOf(const std::vector<SortedRun>& runs) {
    std::size_t samples = 0;
    for (const SortedRun& run : runs) samples += run.samples.size();
    const std::size_t step = samples / kKeysLookedAt + 1;
    std::vector<std::pair<SortKey, std::uint64_t>> keys;
    for (const SortedRun& run : runs) {
        for (std::size_t i = 0; i < run.samples.size(); i += step)
            keys.emplace_back(run.samples[i], run.stride * step);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

// The first keys of all ranges but the first.
std::vector<SortKey> CutsOf(const std::vector<SortedRun>& runs, std::uint64_t rangePoints) {
    std::vector<SortKey> cuts;
    std::uint64_t points = 0;
    for (const auto& [key, weight] : KeysOf(runs)) {
        const SortKey metre = MetreOf(key);
        if (points >= rangePoints && kFirstKey < metre && (cuts.empty() || cuts.back() < metre)) {
            cuts.push_back(metre);
            points = 0;
        }
        points += weight;
    }
    return cuts;
}

Expected<std::uint64_t> CountBelow(const std::vector<SortedRun>& runs, const GridFrame& frame,
                                   const SortKey& key) {
    std::uint64_t points = 0;
    for (const SortedRun& run : runs) {
        const auto below = CountBelow(run, frame, key);
        if (!below) return below;
        points += *below;
    }
    return points;
}

}  // namespace

std::vector<SortTask> PlanSorts(const std::vector<InputSurvey>& inputs, std::uint64_t mostPoints,
                                std::uint64_t leastPoints) {
    std::uint64_t total = 0;
    for (const InputSurvey& input : inputs) {
        for (const SurveyMark& mark : input.marks) total += mark.points;
    }
    const std::uint64_t most = std::min(mostPoints, PartOf(total, leastPoints));
    std::vector<SortTask> tasks;
    SortTask task;
    bool open = false;
    for (std::size_t input = 0; input < inputs.size(); ++input) {
        const std::vector<SurveyMark>& marks = inputs[input].marks;
        for (std::size_t i = 0; i < marks.size(); ++i) {
            if (open && task.points + marks[i].points > most) {
                if (i != 0) {
                    task.stretch.lastInput = input;
                    task.stretch.to = marks[i].place;
                }
                tasks.push_back(std::exchange(task, {}));
                open = false;
            }
            if (!open) {
                task.stretch.firstInput = input;
                if (i != 0) task.stretch.from = marks[i].place;
            }
            open = true;
            task.stretch.lastInput = input;
            task.points += marks[i].points;
            task.bytes += marks[i].bytes;
        }
    }
    if (open) tasks.push_back(task);
    return tasks;
}

std::vector<std::uint64_t> RunsByLevel(std::uint64_t sorts, std::uint32_t mergeRuns) {
    std::vector<std::uint64_t> levels{sorts};
    while (levels.back() > mergeRuns) {
        levels.push_back((levels.back() + mergeRuns - 1) / mergeRuns);
    }
    return levels;
}

Expected<std::vector<RangeTask>> PlanRanges(const std::vector<SortedRun>& runs,
                                            const GridFrame& frame, std::uint64_t leastPoints) {
    const std::uint64_t total =
        std::accumulate(runs.begin(), runs.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const SortedRun& run) { return sum + run.count; });
    std::vector<RangeTask> ranges;
    RangeTask range{kFirstKey, kEndKey, 0, 0};
    const auto close = [&](const SortKey& high, std::uint64_t end) {
        range.high = high;
        range.points = end - range.first;
        if (range.points != 0) ranges.push_back(range);
        range = {high, kEndKey, end, 0};
    };
    for (const SortKey& cut : CutsOf(runs, std::min(PartOf(total, leastPoints), kMostPoints))) {
        const auto below = CountBelow(runs, frame, cut);
        if (!below) return ErrorOf(below);
        close(cut, *below);
    }
    close(kEndKey, total);
    return ranges;
}

}  // namespace orvix::importer
