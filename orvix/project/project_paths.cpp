// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_paths.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::detail {
namespace {

using Manager = ProjectManager;

struct Entry {
    CString Manager::*path;
    const wchar_t* name;
};

// One table per folder; a folder that is itself an entry stands in a table before its own.
constexpr Entry kProjectFiles[] = {
    {&Manager::headFile, L"head"},       {&Manager::transformFile, L"transform"},
    {&Manager::panoFolder, L"pano"},     {&Manager::indexFolder, L"Index"},
    {&Manager::dataFolder, L"Data"},     {&Manager::dataViewFolder, L"DataView"},
    {&Manager::imagesFolder, L"Images"}, {&Manager::logicViewFolder, L"LogicView"},
};

constexpr Entry kGridFiles[] = {
    {&Manager::scanposFolder, L"scanpos"},
    {&Manager::indexHash, L"index_hash"},
    {&Manager::gridPts, L"Grid.pts"},
    {&Manager::gridUnsortedPts, L"GridUnsorted.pts"},
    {&Manager::gridIdx, L"Grid.idx"},
    {&Manager::grid10cmIdx, L"Grid10cm.idx"},
    {&Manager::grid1to10cmIdx, L"Grid1to10cm.idx"},
    {&Manager::grid1000cmIdx, L"Grid1000cm.idx"},
    {&Manager::gridUnsortedIdx, L"GridUnsorted.idx"},
    {&Manager::gridSkeletLas, L"GridSkelet.las"},
    {&Manager::gridSkelet4RcpLas, L"GridSkelet4RCP.las"},
    {&Manager::gridSkeletCoordPts, L"GridSkelet.coordpts"},
    {&Manager::gridSkeletDataPts, L"GridSkelet.datapts"},
    {&Manager::gridSkeletDataClassCount, L"GridSkelet.dataclasscount"},
    {&Manager::gridSkeletPcg, L"GridSkelet.pcg"},
};

constexpr Entry kDataFiles[] = {
    {&Manager::slicesFolder, L"Slices"},
    {&Manager::intensitiesSliceHist, L"intensities_slice.hist"},
    {&Manager::intensitiesHist, L"intensities.hist"},
    {&Manager::intensitiesCls, L"intensities.cls"},
    {&Manager::zSliceHist, L"z_slice.hist"},
    {&Manager::zHist, L"z.hist"},
    {&Manager::zCls, L"z.cls"},
};

constexpr Entry kSlicesFiles[] = {{&Manager::colorPlaneFolder, L"Color_Plane"}};

constexpr Entry kDataViewFiles[] = {
    {&Manager::viewGridDtv, L"view_grid.dtv"},
    {&Manager::viewEntriesDtv, L"view_entries.dtv"},
};

constexpr Entry kLogicViewFiles[] = {
    {&Manager::viewGridLv, L"view_grid.lv"},
    {&Manager::mergedLv, L"merged.lv"},
};

constexpr Entry kImagesFiles[] = {
    {&Manager::cadFolder, L"Cad"},
    {&Manager::sketchUpFolder, L"SketchUp"},
    {&Manager::mlFolder, L"ML"},
    {&Manager::histFolder, L"Hist"},
};

void Fill(Manager& manager, const CString& folder, std::span<const Entry> entries) {
    for (const Entry& entry : entries) manager.*entry.path = platform::JoinPath(folder, entry.name);
}

// The end of a text file is enough to find its last line; no path is longer.
constexpr std::uint64_t kLongestLine = 1u << 17;

std::string ReadTail(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return {};
    const std::uint64_t size = file.Size();
    const std::uint64_t bytes = std::min(size, kLongestLine);
    std::string text(static_cast<std::size_t>(bytes), '\0');
    text.resize(file.ReadAt(size - bytes, text.data(), text.size(), error));
    return text;
}

std::string_view LastLine(std::string_view text) {
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
        if (text.ends_with('\r')) text.remove_suffix(1);
    }
    return text.substr(text.rfind('\n') + 1);
}

CString GridFolder(const CString& indexFolder) {
    const std::string redirection = ReadTail(platform::JoinPath(indexFolder, L"network"));
    // BEHAVIOUR P2
    return redirection.empty() ? indexFolder : platform::FromUtf8(LastLine(redirection));
}

}  // namespace

void BuildPaths(ProjectManager& manager, const CString& projectFile) {
    const CString base = platform::RemoveExtension(projectFile);
    manager.projectFile = projectFile;
    manager.projectName = platform::FileNameOf(base);
    manager.projectFilesFolder = base + L"_Project_Files";
    Fill(manager, manager.projectFilesFolder, kProjectFiles);
    Fill(manager, GridFolder(manager.indexFolder), kGridFiles);
    Fill(manager, manager.dataFolder, kDataFiles);
    Fill(manager, manager.slicesFolder, kSlicesFiles);
    Fill(manager, manager.dataViewFolder, kDataViewFiles);
    Fill(manager, manager.logicViewFolder, kLogicViewFiles);
    Fill(manager, manager.imagesFolder, kImagesFiles);
}

void ClearPaths(ProjectManager& manager) {
    manager.projectFile.clear();
    manager.projectName.clear();
    manager.projectFilesFolder.clear();
    const std::span<const Entry> tables[] = {kProjectFiles, kGridFiles,     kDataFiles,
                                             kSlicesFiles,  kDataViewFiles, kLogicViewFiles,
                                             kImagesFiles};
    for (const std::span<const Entry> table : tables) {
        for (const Entry& entry : table) (manager.*entry.path).clear();
    }
}

Expected<void> FindProject(ProjectManager& manager, const CString& projectFile) {
    const std::string name = platform::ToUtf8(projectFile);
    if (!platform::PathExists(projectFile)) {
        return Fail(ErrorCode::BadInput, name + " does not exist; name a project file");
    }
    if (platform::IsFolder(projectFile)) {
        return Fail(ErrorCode::BadInput, name + " is a folder; name the project file beside it");
    }
    BuildPaths(manager, projectFile);
    if (platform::IsFolder(manager.projectFilesFolder)) return {};
    return Fail(ErrorCode::BadInput, name + " is no project: there is no folder " +
                                         platform::ToUtf8(manager.projectFilesFolder));
}

CString SavedPlanesPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"planes");
}

CString UnfinishedPlanesPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"planes.orvix-part");
}

CString PlanesLockPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"planes.lock");
}

CString SavedModelPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"model");
}

CString UnfinishedModelPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"model.orvix-part");
}

CString ModelLockPath(const ProjectManager& paths) {
    return platform::JoinPath(paths.projectFilesFolder, L"model.lock");
}

}  // namespace orvix::detail
