// SPDX-License-Identifier: GPL-3.0-or-later
// Which tasks an import has, which are done, and which can run now.
#include <algorithm>
#include <utility>

#include "importer/tasks/import_work.h"

namespace orvix::importer {

bool ImportWork::IsDone(const TaskName& task) const {
    return notes_.Has(FileNameOf(task));
}

bool ImportWork::AreSurveyed() const {
    for (std::size_t i = 0; i < place_.inputs.size(); ++i) {
        if (!IsDone({TaskKind::Survey, i})) return false;
    }
    return true;
}

bool ImportWork::AreMerged() {
    if (IsDone({TaskKind::Finish})) return true;
    if (!IsDone({TaskKind::Plan}) || !LoadRanges()) return false;
    for (std::size_t i = 0; i < ranges_->size(); ++i) {
        if (!IsDone({TaskKind::Merge, i})) return false;
    }
    return true;
}

std::vector<TaskName> ImportWork::RunsAt(std::size_t level) const {
    std::vector<TaskName> names;
    const TaskKind kind = level == 0 ? TaskKind::Sort : TaskKind::Join;
    for (std::uint64_t i = 0; i < levels_[level]; ++i)
        names.push_back({kind, i, static_cast<std::uint32_t>(level)});
    return names;
}

Expected<std::vector<TaskName>> ImportWork::All(TaskKind kind) {
    std::vector<TaskName> names;
    const auto number = [&](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) names.push_back({kind, i});
    };
    if (kind == TaskKind::Survey) {
        number(place_.inputs.size());
    } else if (kind == TaskKind::Merge) {
        if (auto loaded = LoadRanges(); !loaded) return ErrorOf(loaded);
        number(ranges_->size());
    } else if (kind == TaskKind::Sort || kind == TaskKind::Join) {
        if (auto prepared = Prepare(); !prepared) return ErrorOf(prepared);
        const bool joins = kind == TaskKind::Join;
        for (std::size_t level = joins ? 1 : 0; level < (joins ? levels_.size() : 1); ++level) {
            const std::vector<TaskName> at = RunsAt(level);
            names.insert(names.end(), at.begin(), at.end());
        }
    } else {
        names.push_back({kind});
    }
    return names;
}

std::vector<TaskName> ImportWork::JoinedBy(const TaskName& join) const {
    const std::vector<TaskName> below = RunsAt(join.level - 1);
    const std::size_t first = static_cast<std::size_t>(join.number) * plan_.mergeRuns;
    const std::size_t end = std::min<std::size_t>(first + plan_.mergeRuns, below.size());
    return {below.begin() + static_cast<std::ptrdiff_t>(first),
            below.begin() + static_cast<std::ptrdiff_t>(end)};
}

std::vector<TaskName> ImportWork::Open(std::vector<TaskName> names) const {
    std::erase_if(names, [this](const TaskName& name) { return IsDone(name); });
    return names;
}

// A joined run stands for those that it was made of.
std::vector<TaskName> ImportWork::ReadyRuns() const {
    std::vector<TaskName> ready;
    for (std::vector<TaskName> wanted = Open(LastRuns()); !wanted.empty();) {
        std::vector<TaskName> below;
        for (const TaskName& task : wanted) {
            const std::vector<TaskName> open =
                task.level == 0 ? std::vector<TaskName>() : Open(JoinedBy(task));
            if (open.empty()) ready.push_back(task);
            below.insert(below.end(), open.begin(), open.end());
        }
        wanted = std::move(below);
    }
    std::sort(ready.begin(), ready.end());
    // The notes of sorts account for the points, also where a joined run stands for theirs.
    return ready.empty() ? Open(RunsAt(0)) : ready;
}

// Between two looks at a list another process may do the last of it: then the next list counts.
Expected<std::vector<TaskName>> ImportWork::Ready() {
    for (;;) {
        auto ready = Look();
        if (!ready || !ready->empty() || IsDone({TaskKind::Finish})) return ready;
    }
}

Expected<std::vector<TaskName>> ImportWork::Look() {
    if (IsDone({TaskKind::Finish})) return std::vector<TaskName>();
    if (!AreSurveyed()) return Open(*All(TaskKind::Survey));
    if (auto prepared = Prepare(); !prepared) return ErrorOf(prepared);
    if (AreMerged()) return std::vector<TaskName>{{TaskKind::Finish}};
    if (auto runs = ReadyRuns(); !runs.empty()) return runs;
    if (!IsDone({TaskKind::Plan})) return std::vector<TaskName>{{TaskKind::Plan}};
    const auto merges = All(TaskKind::Merge);
    if (!merges) return merges;
    std::vector<TaskName> ready = Open(*merges);
    // Where duplicates go, a range's place is known once all before it are merged.
    // BEHAVIOUR I31
    if (place_.options.dedupe && !ready.empty()) ready.resize(1);
    return ready;
}

Expected<std::vector<TaskName>> ImportWork::Done() {
    std::vector<TaskName> done;
    const bool surveyed = AreSurveyed();
    for (const TaskKind kind : {TaskKind::Survey, TaskKind::Sort, TaskKind::Join, TaskKind::Plan,
                                TaskKind::Merge, TaskKind::Finish}) {
        const bool known = kind == TaskKind::Survey ||
                           (surveyed && (kind != TaskKind::Merge || IsDone({TaskKind::Plan})));
        if (!known) continue;
        const auto all = All(kind);
        if (!all) return all;
        for (const TaskName& task : *all) {
            if (IsDone(task)) done.push_back(task);
        }
    }
    return done;
}

std::uint64_t ImportWork::BytesOf(const TaskName& task) const {
    switch (task.kind) {
        case TaskKind::Survey:
            return place_.inputs[task.number].reader->FileBytes();
        case TaskKind::Sort:
            return sorts_[task.number].bytes + sorts_[task.number].points * kAlivePointBytes;
        case TaskKind::Join:
            return survey_->usable * kAlivePointBytes / levels_[task.level];
        case TaskKind::Merge:
            return 2 * (*ranges_)[task.number].points * kAlivePointBytes;
        default:
            return 0;
    }
}

}  // namespace orvix::importer
