// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/verbs.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/access/settings_update.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/destroy_project.h"
#include "orvix/project/project_paths.h"

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

// The project's files that lie where its Index/network points to.
// BEHAVIOUR C18
std::vector<CString> FilesElsewhere(const CString& project) {
    ProjectManager paths;
    detail::BuildPaths(paths, project);
    std::vector<CString> files;
    const CString folder = platform::ParentOf(paths.gridPts);
    if (folder == paths.indexFolder) return files;
    for (const CString& path : detail::OwnedFilesOf(paths)) {
        if (platform::ParentOf(path) == folder && platform::PathExists(path)) files.push_back(path);
    }
    return files;
}

// Of a project that is complete, or whose destruction was ended on the way.
Outcome Destroyed(const std::string& argument, const CString& folder,
                  const std::vector<CString>& elsewhere) {
    std::vector<std::string> remains;
    if (platform::IsFolder(folder)) ListRemains(folder, 0, remains);
    for (const CString& path : elsewhere) remains.push_back(platform::ToUtf8(path));
    return OutcomeOf(argument, remains);
}

Expected<Outcome> Remove(const std::string& argument, const CString& project,
                         const CString& folder) {
    const std::vector<CString> elsewhere = FilesElsewhere(project);
    if (auto gone = detail::DestroyProject(project); !gone) return ErrorOf(gone);
    std::error_code ignored;
    platform::RemoveFile(project + detail::kUnfinishedSettingsEnding, ignored);
    platform::RemoveFile(detail::UnfinishedPathOf(project), ignored);
    return Destroyed(argument, folder, elsewhere);
}

Expected<Outcome> GoOn(const std::string& argument, const CString& project) {
    const CString folder = platform::RemoveExtension(project) + L"_Project_Files";
    if (auto own = RefuseLinks(project, folder); !own) return ErrorOf(own);
    const auto lock = detail::ProjectLock::Acquire(project);
    if (!lock) return ErrorOf(lock);
    return Remove(argument, project, folder);
}

Expected<Outcome> RunDestroy(const std::string& argument) {
    const CString named = platform::FromUtf8(argument);
    if (!argument.empty() && detail::IsHalfDestroyed(named)) {
        return GoOn(argument, named);
    }
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
    const auto lock = detail::ProjectLock::Acquire(*project);
    if (!lock) return ErrorOf(lock);
    if (auto own = RefuseLinks(*project, folder); !own) return ErrorOf(own);
    return Remove(argument, *project, folder);
}

}  // namespace

void AddDestroyVerb(CLI::App& app, CommandContext& context) {
    const auto project = std::make_shared<std::string>();
    CLI::App* verb = AddVerb(app, context, "destroy", "Remove a project", kExamples,
                             [project](CommandContext&) { return RunDestroy(*project); });
    // Whoever watches a project holds its points open, and some systems keep a file until then.
    AddUnwatchedProjectOption(*verb, *project);
}

}  // namespace orvix::cli
