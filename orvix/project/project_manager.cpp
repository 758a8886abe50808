// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_manager.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <system_error>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/io_utility.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/utility_lib.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/run_views.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/destroy_project.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"
#include "orvix/project/required_files.h"
#include "orvix/project/station_files.h"

namespace orvix {
namespace {

constexpr unsigned kTextReadOnly = 1366;
constexpr unsigned kTextMissing = 1370;

// The project's files and folders are made, replaced and removed on a best-effort basis.
void WriteFile(const CString& path, const void* data, std::size_t bytes) {
    std::error_code ignored;
    platform::File file = platform::File::Create(path, ignored);
    if (!ignored) file.WriteAt(0, data, bytes, ignored);
}

// Replaces a record whose sum the manifest holds; where the manifest cannot follow, the check
// reports the record. BEHAVIOUR K8
void ReplaceRecord(const ProjectManager& paths, const char* name, const CString& path,
                   std::span<const std::uint8_t> next) {
    static_cast<void>(detail::AnnounceRecord(detail::ManifestPath(paths), name, path, next));
    WriteFile(path, next.data(), next.size());
}

void MakeFolder(const CString& path) {
    std::error_code ignored;
    platform::MakeFolder(path, ignored);
}

void RemoveFolder(const CString& path) {
    std::error_code ignored;
    platform::RemoveFolder(path, ignored);
}

bool RemoveFile(const CString& path) {
    std::error_code error;
    platform::RemoveFile(path, error);
    return !error;
}

// Index comes before the station folder, which lies in it unless the grid files are redirected.
// The note is written while the station folder of a new project does not exist yet.
// BEHAVIOUR P1
void MakeFolders(const ProjectManager& paths) {
    MakeFolder(paths.projectFilesFolder);
    WriteFile(detail::StationNotePath(paths), detail::kStationNote.data(),
              detail::kStationNote.size());
    for (const CString* folder :
         {&paths.panoFolder, &paths.indexFolder, &paths.scanposFolder, &paths.dataFolder,
          &paths.slicesFolder, &paths.colorPlaneFolder, &paths.dataViewFolder,
          &paths.logicViewFolder, &paths.imagesFolder, &paths.cadFolder, &paths.sketchUpFolder}) {
        MakeFolder(*folder);
    }
}

// The number of the text that says what is wrong with the project; 0 when it is complete.
unsigned FaultOf(const ProjectManager& paths) {
    const auto files = detail::RequiredFilesOf(paths);
    for (const CString* file : files) {
        if (!platform::PathExists(*file)) return kTextMissing;
    }
    for (const CString* file : files) {
        if (!IOUtility::FileIsWritable(*file)) return kTextReadOnly;
    }
    return 0;
}

// Whether the three core point files can be opened and queried, as the readers will need them.
bool CoreFilesOpen(const ProjectManager& paths) {
    using platform::FileAccess;
    bool opened = true;
    for (const CString* path :
         {&paths.gridSkeletCoordPts, &paths.gridSkeletDataPts, &paths.gridPts}) {
        const platform::Handle file = platform::OpenExisting(*path, FileAccess::Read);
        opened = platform::IsValid(file) && opened;
        platform::CloseHandleOf(file);
    }
    std::uint64_t bytes = 0;
    return opened && platform::QueryFileSize(paths.gridSkeletCoordPts, bytes) &&
           platform::QueryFileSize(paths.gridSkeletDataPts, bytes);
}

}  // namespace

struct ProjectManager::OpenPointFile {
    platform::Handle file = nullptr;
    platform::Handle mapping = nullptr;
    std::shared_ptr<detail::RunViews> runViews = std::make_shared<detail::RunViews>();

    ~OpenPointFile() { Close(); }

    void Close() {
        runViews->Release();  // BEHAVIOUR R15
        platform::CloseMapping(std::exchange(mapping, nullptr));
        platform::CloseHandleOf(std::exchange(file, nullptr));
    }
};

ProjectManager::ProjectManager() = default;

ProjectManager::~ProjectManager() = default;

bool ProjectManager::Set(const CString& path, bool create) {
    if (path.empty()) {
        detail::ClearPaths(*this);
        return true;
    }
    detail::BuildPaths(*this, path);
    MakeFolders(*this);  // BEHAVIOUR P3
    if (create && !platform::PathExists(projectFile)) WriteFile(projectFile, nullptr, 0);
    GetProjectSettings(&projectSettings);
    GetCloudHeader(&cloudHeader);
    if (create) return true;
    const unsigned fault = FaultOf(*this);
    if (fault == 0) return true;
    errorText = UtilityLib::LocaleString(fault);  // BEHAVIOUR P4
    Close();
    return false;
}

void ProjectManager::Create(CString path) {
    Set(path, true);
}

bool ProjectManager::Open(const CString& path) {
    Close();
    if (!Set(path, false) || !CoreFilesOpen(*this)) return false;
    const platform::Handle file = platform::OpenExisting(gridPts, platform::FileAccess::Read);
    if (!platform::IsValid(file)) return false;
    platform::SizeOf(file, pointFileSize);
    // BEHAVIOUR P9
    const platform::Handle mapping = platform::CreateMapping(file, platform::FileAccess::Read);
    openPointFile_ = std::shared_ptr<OpenPointFile>(new OpenPointFile{file, mapping});
    pointFile = file;
    pointMapping = mapping;
    aliveReader.reset(CreateAliveReader());
    const std::int16_t level = LASScale(cloudHeader.scale);
    fineLevel = level == 5;
    coarseLevel = level == 2;
    return true;
}

void ProjectManager::Close() {
    if (openPointFile_ != nullptr) openPointFile_->Close();  // BEHAVIOUR P8
    openPointFile_.reset();
    pointMapping = nullptr;
    pointFile = nullptr;
}

void ProjectManager::Destroy(const CString& path) {
    if (Set(path, false)) Destroy();
}

void ProjectManager::Destroy() {
    if (projectFile.empty()) return;  // BEHAVIOUR P7
    for (const CString& file : detail::OwnedFilesOf(*this)) RemoveFile(file);
    EraseDirs();
}

// Data stays. DataView is asked for twice: a viewer that was letting go of it during the first
// request has done so by the second.
// BEHAVIOUR P5, P6
void ProjectManager::EraseDirs() {
    for (const CString* folder : {&panoFolder, &scanposFolder, &indexFolder, &colorPlaneFolder,
                                  &slicesFolder, &dataViewFolder, &dataViewFolder, &logicViewFolder,
                                  &imagesFolder, &mlFolder, &projectFilesFolder}) {
        RemoveFolder(*folder);
    }
}

bool ProjectManager::CanOverwrite(const CString& folder) {
    const CString index = platform::JoinPath(folder, L"Index");
    const CString skeleton = platform::JoinPath(index, L"GridSkelet.pcg");
    return !platform::PathExists(skeleton) || RemoveFile(skeleton);
}

CString ProjectManager::GetRecapFolder() const {
    return platform::JoinPath(projectFilesFolder, L"Recap");
}

CAlivePointReader* ProjectManager::CreateAliveReader() {
    return new (std::nothrow)
        CAlivePointReader(pointFileSize, 0, 0, nullptr, nullptr, pointMapping, platform::kViewRead,
                          platform::kViewRead, platform::kViewRead,
                          openPointFile_ == nullptr ? nullptr : openPointFile_->runViews);
}

void ProjectManager::GetCloudHeader(CLOUD_HEADER* header) {
    header->reserved72 = 0;
    std::error_code error;
    const platform::File file = platform::File::OpenRead(headFile, error);
    if (error) {
        header->pointCount = ~std::uint64_t{0};  // BEHAVIOUR P10
        return;
    }
    header->stationCount = 0;
    file.ReadAt(0, header, kHeadFileBytes, error);
}

void ProjectManager::SetCloudHeader(const CLOUD_HEADER* header) {
    std::array<std::uint8_t, kHeadFileBytes> bytes{};
    std::memcpy(bytes.data(), header, bytes.size());
    ReplaceRecord(*this, detail::kHeadName, headFile, bytes);
}

bool ProjectManager::GetProjectSettings(PROJECT_SETTINGS* settings) {
    std::array<std::uint8_t, kProjectFileBytes> bytes{};
    std::error_code error;
    const platform::File file = platform::File::OpenRead(projectFile, error);
    const std::size_t read = error ? 0 : file.ReadAt(0, bytes.data(), bytes.size(), error);
    detail::DecodeSettings({bytes.data(), read}, projectSettings);
    *settings = projectSettings;
    return true;
}

void ProjectManager::SetProjectSettings(PROJECT_SETTINGS settings) {
    projectSettings = settings;
    const auto bytes = detail::EncodeSettings(settingsVersion, settings);
    ReplaceRecord(*this, detail::kSettingsName, projectFile, bytes);
}

std::int16_t ProjectManager::LASScale(const double& scale) {
    if (scale == 1.0) return 3;
    return scale > 1.0 ? 2 : 5;
}

}  // namespace orvix
