// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvix::importer {

/// The kinds of tasks that an import consists of, in their order.
enum class TaskKind {
    Survey,   ///< one input is read: counts, ranges, bounds, the places where it can be cut
    Sort,     ///< a stretch of the inputs becomes a sorted run
    Join,     ///< several runs become a longer one
    Plan,     ///< the merged order is cut into ranges of cells, each with its place
    Merge,    ///< a range of cells: its points, its part of indexes, skeleton and histograms
    Finish,   ///< the parts become the project's files
    Publish,  ///< the project appears
};

/// One task: "survey/0", "sort/17", "join/1/3" (the fourth of the first level), "plan", "merge/3",
/// "finish", "publish".
struct TaskName {
    TaskKind kind = TaskKind::Survey;
    std::uint64_t number = 0;
    std::uint32_t level = 0;  ///< of a Join, from 1

    auto operator<=>(const TaskName&) const = default;
};

std::string TextOf(const TaskName& task);
/// Empty for a text that names no task.
std::optional<TaskName> TaskOf(std::string_view text);

/// The name of the task's note, and the start of its files' names: "join_1_3".
std::string FileNameOf(const TaskName& task);

}  // namespace orvix::importer
