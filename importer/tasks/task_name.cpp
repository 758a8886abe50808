// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/task_name.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace orvix::importer {
namespace {

constexpr std::array<std::string_view, 7> kWords{"survey", "sort",   "join",   "plan",
                                                 "merge",  "finish", "publish"};

bool IsNumbered(TaskKind kind) {
    return kind == TaskKind::Survey || kind == TaskKind::Sort || kind == TaskKind::Join ||
           kind == TaskKind::Merge;
}

template <class Number>
bool ReadNumber(std::string_view& text, Number& number) {
    if (!text.starts_with('/')) return false;
    text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto digits = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || (digits > 1 && text.front() == '0')) return false;
    text.remove_prefix(digits);
    return true;
}

}  // namespace

std::string TextOf(const TaskName& task) {
    const std::string_view word = kWords[static_cast<std::size_t>(task.kind)];
    if (task.kind == TaskKind::Join) return fmt::format("{}/{}/{}", word, task.level, task.number);
    return IsNumbered(task.kind) ? fmt::format("{}/{}", word, task.number) : std::string(word);
}

std::optional<TaskName> TaskOf(std::string_view text) {
    for (std::size_t i = 0; i < kWords.size(); ++i) {
        if (!text.starts_with(kWords[i])) continue;
        TaskName task{static_cast<TaskKind>(i)};
        std::string_view rest = text.substr(kWords[i].size());
        const bool isJoin = task.kind == TaskKind::Join;
        if (isJoin && (!ReadNumber(rest, task.level) || task.level == 0)) return std::nullopt;
        if (IsNumbered(task.kind) && !ReadNumber(rest, task.number)) return std::nullopt;
        return rest.empty() ? std::optional(task) : std::nullopt;
    }
    return std::nullopt;
}

std::string FileNameOf(const TaskName& task) {
    std::string name = TextOf(task);
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

}  // namespace orvix::importer
