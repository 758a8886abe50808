// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/run_tasks.h"

#include <optional>

namespace orvix::importer {
namespace {

Expected<void> BeginPhase(ImportWork& work, TaskKind kind, ProgressMeter& meter) {
    const auto all = work.All(kind);
    if (!all) return ErrorOf(all);
    std::uint64_t total = 0;
    std::uint64_t done = 0;
    for (const TaskName& task : *all) {
        total += work.BytesOf(task);
        if (work.IsDone(task)) done += work.BytesOf(task);
    }
    if (kind == TaskKind::Merge) {
        meter.Begin(ImportPhase::Write, total, ImportPhase::Skeleton);
    } else {
        meter.Begin(PhaseOf(kind), total);
    }
    meter.Add(done, 0);
    return {};
}

}  // namespace

ImportPhase PhaseOf(TaskKind kind) {
    switch (kind) {
        case TaskKind::Survey:
            return ImportPhase::Scan;
        case TaskKind::Sort:
        case TaskKind::Join:
            return ImportPhase::Sort;
        case TaskKind::Plan:
        case TaskKind::Merge:
            return ImportPhase::Write;
        default:
            return ImportPhase::Finish;
    }
}

Expected<void> RunTasks(ImportWork& work, ImportPool& pool) {
    std::optional<TaskKind> current;
    for (;;) {
        const auto ready = work.Ready();
        if (!ready) return ErrorOf(ready);
        if (ready->empty()) return {};
        for (const TaskName& task : *ready) {
            if (current != task.kind) {
                if (auto begun = BeginPhase(work, task.kind, pool.Meter()); !begun) return begun;
                current = task.kind;
            }
            if (auto done = work.Run(task); !done) return done;
        }
    }
}

}  // namespace orvix::importer
