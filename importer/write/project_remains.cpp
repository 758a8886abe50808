// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_remains.h"

#include <system_error>

#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

using orvix::detail::ImportMarks;
using orvix::detail::MarkerState;
using orvix::detail::MarkerStateOf;
using orvix::detail::ReadImportText;

bool Renamed(const CString& from, const CString& to) {
    std::error_code error;
    platform::Rename(from, to, error);
    return !error;
}

bool RemovedFile(const CString& path) {
    std::error_code ignored;
    if (IsTaken(path)) platform::RemoveFile(path, ignored);
    return !IsTaken(path);
}

// One entry goes last.
bool RemovedFolderBut(const CString& path, const CString& last) {
    if (!platform::IsFolder(path) || platform::IsLink(path)) return RemovedFile(path);
    std::error_code error;
    for (const CString& name : platform::ListFolder(path, error)) {
        const CString entry = platform::JoinPath(path, name);
        if (entry != last) platform::RemoveTree(entry, error);
    }
    if (platform::ListFolder(path, error).size() > 1) return false;
    if (RemovedFile(last)) platform::RemoveFolder(path, error);
    return !IsTaken(path);
}

// While there is a marker, the folder is known to be an import's own.
bool RemovedFolder(const CString& path) {
    return RemovedFolderBut(path, ImportMarks::MarkerIn(path));
}

// While there is a report, a continued import knows that the project is its own.
bool RemovedTasks(const CString& path) {
    if (!platform::IsFolder(path) || platform::IsLink(path)) return RemovedFile(path);
    std::error_code error;
    for (const CString& name : platform::ListFolder(path, error)) {
        const CString folder = platform::JoinPath(path, name);
        if (!RemovedFolderBut(folder, platform::JoinPath(folder, kReportName))) return false;
    }
    platform::RemoveFolder(path, error);
    return !IsTaken(path);
}

// Puts the former folder where the new one is, and the new one under the working name.
bool ExchangedBack(const TargetNames& names) {
    const ImportMarks& marks = names.marks;
    if (!platform::PathExists(marks.aside)) {
        std::error_code error;
        platform::ExchangePaths(marks.workingFiles, names.files, error);
        if (error != std::errc::operation_not_supported) return !error;
        if (!Renamed(marks.workingFiles, marks.aside)) return false;
    }
    return Renamed(names.files, marks.workingFiles) && Renamed(marks.aside, names.files);
}

// Of a new folder that is in place while its project file is not. Where the former folder is gone,
// this one is all that there is, and the project file follows.
bool UndonePublication(const TargetNames& names) {
    const ImportMarks& marks = names.marks;
    if (platform::PathExists(marks.aside) || platform::PathExists(marks.workingFiles))
        return ExchangedBack(names);
    if (platform::PathExists(names.project)) return Renamed(marks.workingProject, names.project);
    return Renamed(names.files, marks.workingFiles);
}

// Whether the folder under the working name is the one that was replaced. The import's own has a
// marker with its text, or one that was not finished, or nothing at all in it.
bool IsFormer(const CString& folder, const std::string& text, std::error_code& error) {
    const MarkerState marker = MarkerStateOf(folder, text);
    if (marker == MarkerState::Unreadable) error = std::make_error_code(std::errc::io_error);
    if (marker == MarkerState::None) return HoldsFiles(folder, error);
    return marker == MarkerState::Other && !ReadImportText(ImportMarks::MarkerIn(folder)).empty();
}

}  // namespace

bool MadeWhole(const TargetNames& names, const std::string& text) {
    const ImportMarks& marks = names.marks;
    const MarkerState marker = MarkerStateOf(names.files, text);
    if (marker == MarkerState::Unreadable) return false;
    if (marker == MarkerState::Own && platform::PathExists(marks.workingProject))
        return UndonePublication(names);
    if (IsTaken(names.files)) return true;
    if (platform::PathExists(marks.aside)) return Renamed(marks.aside, names.files);
    if (!platform::IsFolder(marks.workingFiles)) return true;
    std::error_code error;
    const bool former = IsFormer(marks.workingFiles, text, error);
    return !error && (!former || Renamed(marks.workingFiles, names.files));
}

// BEHAVIOUR I23
std::vector<CString> ClearRemains(const TargetNames& names, const std::string& text,
                                  ImportStage stage) {
    const ImportMarks& marks = names.marks;
    const bool whole = stage != ImportStage::Unknown || MadeWhole(names, text);
    std::vector<CString> left;
    const auto clear = [&](const CString& path, bool (*removed)(const CString&)) {
        if (IsTaken(path) && (!whole || !removed(path))) left.push_back(path);
    };
    const bool published =
        stage == ImportStage::Published ||
        (stage == ImportStage::Unknown && MarkerStateOf(names.files, text) == MarkerState::Own);
    // Without a project that appeared, a report says nothing: it goes before the working file does.
    if (!published) clear(marks.tasks, RemovedTasks);
    if (published) clear(ImportMarks::MarkerIn(names.files), RemovedFile);
    clear(marks.workingProject, RemovedFile);
    clear(marks.workingFiles, RemovedFolder);
    clear(marks.aside, RemovedFolder);
    clear(marks.tasks, RemovedTasks);
    if (!left.empty() || !RemovedFile(marks.note)) left.push_back(marks.note);
    return left;
}

std::string RemainsSentence(const std::vector<CString>& paths) {
    std::string names;
    for (const CString& path : paths) names += (names.empty() ? "" : ", ") + platform::ToUtf8(path);
    return names.empty() ? names : "; left until the next import removes them: " + names;
}

}  // namespace orvix::importer
