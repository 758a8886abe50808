// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "orvix/platform/text.h"
#include "orvix/project/manifest/block_sums.h"
#include "orvix/project/manifest/manifest.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Names of files as the manifest has them.
inline constexpr const char* kSettingsName = "settings";
inline constexpr const char* kHeadName = "head";
inline constexpr const char* kPointsName = "Index/Grid.pts";
inline constexpr const char* kSkeletonPlacesName = "Index/GridSkelet.coordpts";
inline constexpr const char* kSkeletonDataName = "Index/GridSkelet.datapts";

/// Where a project keeps its manifest.
CString ManifestPath(const ProjectManager& paths);

/// The mark that a point file was opened for writing since it was summed; beside the point file, one
/// byte for each opening.
CString WrittenMarkPath(const CString& pointFile);
/// Adds to the mark and brings it to the disk. Failures are ignored: the check then reports what was
/// written as damage.
void MarkAsWritten(const CString& pointFile);
/// How often the point files were opened for writing since they were summed.
std::uint64_t TimesWritten(const CString& pointFile);

/// A file that a project has one of, under its name in the manifest.
struct ProjectFile {
    const char* name;
    CString ProjectManager::*path;
    bool derived = false;  ///< the points determine it, so a repair makes it anew
    bool fine = false;     ///< of the 10 cm level, which a project with a skeleton of 1 m has not
};
/// All of them; station files, of which there are many, are none. In the order of docs/FORMAT.md.
std::span<const ProjectFile> ProjectFiles();

/// A file that a manifest covers.
struct CoveredFile {
    std::string name;
    CString path;
};

/// The files of a project that there are: what the importer makes and readers trust, saved planes
/// aside, which have a checksum of their own.
///
/// Order    that of the table in docs/FORMAT.md, then the station files by name.
std::vector<CoveredFile> CoveredFiles(const ProjectManager& paths);
/// The same, with an error where the stations' folder is there and cannot be listed.
std::vector<CoveredFile> CoveredFiles(const ProjectManager& paths, std::error_code& error);

/// The name under which a repair makes a covered file anew, beside it.
CString UnfinishedPathOf(const CString& path);
/// Where a repair that was ended may have left one, whether or not it did.
std::vector<CString> UnfinishedFiles(const ProjectManager& paths);

/// The path of a name; empty for a name that no such file has.
CString CoveredPath(const ProjectManager& paths, const std::string& name);

/// Whether a file is small, so that every check compares its sum: settings, head, transform,
/// histograms, stations.
bool IsRecord(const std::string& name);
/// Whether a file is changed in place, through views that can be written to (MarkAsWritten).
bool IsChangedInPlace(const std::string& name);

/// Sums the covered files on the disk and makes the manifest of what it finds.
///
///     SumProject(paths, {}, RunOneByOne);
///
/// Boundaries files of the same name in `known` are not read; those are their sums, all states of a
///            file, also where there is no such file.
/// Errors     those of `run`, of a file that cannot be read, and of writing.
Expected<void> SumProject(const ProjectManager& paths, const std::vector<FileSums>& known,
                          const BlockRunner& run);

}  // namespace orvix::detail
