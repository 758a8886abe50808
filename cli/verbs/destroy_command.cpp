// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/verbs.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/open_project.h"
#include "orvix/project/project_gate.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix destroy scan.prj\n"
    "Removes the project file and what belongs to the project in its project-files folder.\n"
    "Scanner station files and files of other programs stay, with their folders, and are listed.";

constexpr int kDeepest = 8;  // a project's own tree is four deep; links may go round in circles

// Files under a folder, and folders that hold nothing, in the order of their names.
void ListRemains(const CString& folder, int depth, std::vector<std::string>& remains) {
    std::error_code error;
    const std::vector<CString> names = platform::ListFolder(folder, error);
    if (names.empty()) remains.push_back(platform::ToUtf8(folder));
    for (const CString& name : names) {
        const CString path = platform::JoinPath(folder, name);
        if (depth < kDeepest && platform::IsFolder(path))
            ListRemains(path, depth + 1, remains);
        else
            remains.push_back(platform::ToUtf8(path));
    }
}

Outcome OutcomeOf(const std::string& project, const std::vector<std::string>& remains) {
    Outcome outcome;
    outcome.json["project"] = project;
    outcome.json["destroyed"] = true;
    outcome.json["remains"] = remains;
    outcome.text = fmt::format("{} is destroyed\n", project);
    for (const std::string& path : remains) outcome.text += fmt::format("remains: {}\n", path);
    return outcome;
}

// What a link points to is not this project's alone.
// BEHAVIOUR C13
Expected<void> RefuseLinks(const CString& project, const CString& folder) {
    for (const CString& path : {project, folder}) {
        if (!platform::IsLink(path)) continue;
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is a link; name the project in the folder that it really lies "
                                "in, or remove the link",
                                platform::ToUtf8(path)));
    }
    return {};
}

Expected<Outcome> RunDestroy(const std::string& argument) {
    const Expected<CString> project = detail::RequireProject(argument);
    if (!project) return ErrorOf(project);
    CString folder;
    {
        // Only a complete project is destroyed, the one that the library would open.
        auto opened = detail::OpenProject::Open(*project);
        if (!opened) return ErrorOf(opened);
        if (auto writable = (*opened)->RequireWritable(); !writable) return ErrorOf(writable);
        folder = (*opened)->Manager().projectFilesFolder;
    }
    if (auto own = RefuseLinks(*project, folder); !own) return ErrorOf(own);
    ProjectManager manager;
    manager.Destroy(*project);
    if (platform::PathExists(*project))
        return Fail(
            ErrorCode::Failure,
            fmt::format("{} could not be removed; check the permissions of its folder", argument));
    std::vector<std::string> remains;
    if (platform::IsFolder(folder)) ListRemains(folder, 0, remains);
    return OutcomeOf(argument, remains);
}

}  // namespace

void AddDestroyVerb(CLI::App& app, CommandContext& context) {
    const auto project = std::make_shared<std::string>();
    CLI::App* verb = AddVerb(app, context, "destroy", "Remove a project", kExamples,
                             [project](CommandContext&) { return RunDestroy(*project); });
    AddProjectOption(*verb, *project);
}

}  // namespace orvix::cli
