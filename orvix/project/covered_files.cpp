// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/covered_files.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::detail {
namespace {

using platform::ToUtf8;

constexpr bool kDerived = true;
constexpr bool kFine = true;

constexpr ProjectFile kFiles[] = {
    {kSettingsName, &ProjectManager::projectFile, kDerived},
    {kHeadName, &ProjectManager::headFile, kDerived},
    {"transform", &ProjectManager::transformFile},
    {kPointsName, &ProjectManager::gridPts},
    {"Index/Grid1000cm.idx", &ProjectManager::grid1000cmIdx, kDerived},
    {"Index/Grid.idx", &ProjectManager::gridIdx, kDerived},
    {"Index/Grid1to10cm.idx", &ProjectManager::grid1to10cmIdx, kDerived, kFine},
    {"Index/Grid10cm.idx", &ProjectManager::grid10cmIdx, kDerived, kFine},
    {kSkeletonPlacesName, &ProjectManager::gridSkeletCoordPts, kDerived},
    {kSkeletonDataName, &ProjectManager::gridSkeletDataPts, kDerived},
    {"Data/intensities.hist", &ProjectManager::intensitiesHist, kDerived},
    {"Data/intensities_slice.hist", &ProjectManager::intensitiesSliceHist, kDerived},
    {"Data/z.hist", &ProjectManager::zHist, kDerived},
    {"Data/z_slice.hist", &ProjectManager::zSliceHist, kDerived},
    {"DataView/view_grid.dtv", &ProjectManager::viewGridDtv, kDerived},
    {"DataView/view_entries.dtv", &ProjectManager::viewEntriesDtv, kDerived},
    {"LogicView/view_grid.lv", &ProjectManager::viewGridLv, kDerived},
};

constexpr std::string_view kStationFolder = "Index/scanpos/";
constexpr std::string_view kStationStart = "station_";
constexpr std::string_view kStationEndings[] = {".pos", ".orientation", ".intens", ".name"};

constexpr std::wstring_view kUnfinishedEnding = L".orvix-part";

// station_N and one of the endings, and nothing else: a name never leads out of its folder.
bool IsStationFile(std::string_view name) {
    if (!name.starts_with(kStationStart)) return false;
    name.remove_prefix(kStationStart.size());
    const std::size_t digits = std::min(name.find_first_not_of("0123456789"), name.size());
    if (digits == 0 || digits > 10) return false;
    return std::find(std::begin(kStationEndings), std::end(kStationEndings), name.substr(digits)) !=
           std::end(kStationEndings);
}

}  // namespace

std::span<const ProjectFile> ProjectFiles() {
    return kFiles;
}

CString ManifestPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"manifest");
}

CString WrittenMarkPath(const CString& pointFile) {
    return platform::JoinPath(platform::ParentOf(pointFile), L"Grid.written");
}

void MarkAsWritten(const CString& pointFile) {
    const CString path = WrittenMarkPath(pointFile);
    std::error_code error;
    platform::File mark = platform::File::OpenReadWrite(path, error);
    const bool fresh = static_cast<bool>(error);
    if (fresh) mark = platform::File::Create(path, error);
    if (error) return;
    const std::uint8_t one = 1;
    mark.WriteAt(mark.Size(), &one, sizeof one, error);
    if (!error) mark.Sync(error);
    if (fresh) platform::SyncFolder(platform::ParentOf(path), error);
}

std::uint64_t TimesWritten(const CString& pointFile) {
    std::uint64_t bytes = 0;
    platform::QueryFileSize(WrittenMarkPath(pointFile), bytes);
    return bytes;
}

std::vector<CoveredFile> CoveredFiles(const ProjectManager& paths) {
    std::error_code ignored;
    return CoveredFiles(paths, ignored);
}

std::vector<CoveredFile> CoveredFiles(const ProjectManager& paths, std::error_code& error) {
    std::vector<CoveredFile> files;
    for (const ProjectFile& entry : kFiles) {
        const CString& path = paths.*entry.path;
        if (platform::PathExists(path) && !platform::IsFolder(path)) {
            files.push_back({entry.name, path});
        }
    }
    for (const CString& file : platform::ListFolder(paths.scanposFolder, error)) {
        const std::string name = ToUtf8(file);
        if (!IsStationFile(name)) continue;
        files.push_back(
            {std::string(kStationFolder) + name, platform::JoinPath(paths.scanposFolder, file)});
    }
    if (error == std::errc::no_such_file_or_directory) error.clear();
    return files;
}

CString UnfinishedPathOf(const CString& path) {
    return CString(path).append(kUnfinishedEnding);
}

std::vector<CString> UnfinishedFiles(const ProjectManager& paths) {
    std::vector<CString> files;
    for (const ProjectFile& entry : kFiles) {
        if (entry.name != std::string_view(kPointsName))  // which are never made anew
            files.push_back(UnfinishedPathOf(paths.*entry.path));
    }
    std::error_code ignored;
    for (const CString& file : platform::ListFolder(paths.scanposFolder, ignored)) {
        if (!file.ends_with(kUnfinishedEnding)) continue;
        const CString station = file.substr(0, file.size() - kUnfinishedEnding.size());
        if (IsStationFile(ToUtf8(station)))
            files.push_back(platform::JoinPath(paths.scanposFolder, file));
    }
    return files;
}

CString CoveredPath(const ProjectManager& paths, const std::string& name) {
    for (const ProjectFile& entry : kFiles) {
        if (name == entry.name) return paths.*entry.path;
    }
    const std::string_view view = name;
    if (!view.starts_with(kStationFolder)) return {};
    const std::string_view station = view.substr(kStationFolder.size());
    if (!IsStationFile(station)) return {};
    return platform::JoinPath(paths.scanposFolder, platform::FromUtf8(std::string(station)));
}

bool IsRecord(const std::string& name) {
    return name == kSettingsName || name == kHeadName || name == "transform" ||
           name.starts_with("Data/") || name.starts_with(kStationFolder);
}

bool IsChangedInPlace(const std::string& name) {
    return name == kPointsName || name == kSkeletonPlacesName || name == kSkeletonDataName;
}

Expected<void> SumProject(const ProjectManager& paths, const std::vector<FileSums>& known,
                          const BlockRunner& run) {
    std::error_code error;
    const std::vector<CoveredFile> covered = CoveredFiles(paths, error);
    if (error) return FailSystem(error, "cannot list " + ToUtf8(paths.scanposFolder));
    std::vector<SummedFile> files(covered.size());
    std::vector<std::size_t> places(covered.size());  // in the manifest
    Manifest manifest;
    for (std::size_t i = 0; i < covered.size(); ++i) {
        const auto isIt = [&](const FileSums& sums) { return sums.name == covered[i].name; };
        const auto found = std::find_if(known.begin(), known.end(), isIt);
        files[i].path = covered[i].path;
        if (found != known.end()) {
            std::copy_if(found, known.end(), std::back_inserter(manifest.files), isIt);
            continue;
        }
        platform::QueryFileSize(covered[i].path, files[i].bytes);
        places[i] = manifest.files.size();
        manifest.files.push_back({covered[i].name, files[i].bytes, {}});
    }
    if (auto summed = SumBlocks(files, run); !summed) return summed;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].error) {
            return FailSystem(files[i].error, ToUtf8(files[i].path) + " cannot be read");
        }
        if (files[i].cut) {
            return Fail(ErrorCode::Failure, ToUtf8(files[i].path) +
                                                " became shorter while it was summed; is another "
                                                "program at work in its folder?");
        }
        if (!files[i].sums.empty()) manifest.files[places[i]].sums = std::move(files[i].sums);
    }
    for (const FileSums& sums : known) {
        const auto isIt = [&](const FileSums& file) { return file.name == sums.name; };
        const auto& held = manifest.files;
        if (std::none_of(held.begin(), held.end(), isIt)) manifest.files.push_back(sums);
    }
    return WriteManifest(ManifestPath(paths), manifest);
}

}  // namespace orvix::detail
