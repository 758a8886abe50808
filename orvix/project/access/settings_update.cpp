// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/settings_update.h"

#include <array>
#include <cstdint>
#include <string>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/unfinished_file.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/manifest/manifest.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::detail {

namespace {

using Record = std::array<std::uint8_t, kProjectFileBytes>;

// Not emptied first: whoever reads meanwhile finds the former record or this one.
void WriteInPlace(const CString& path, const Record& record, std::error_code& error) {
    platform::File file = platform::File::OpenReadWrite(path, error);
    if (!error) file.WriteAt(0, record.data(), record.size(), error);
    if (!error) file.Resize(record.size(), error);
    if (!error) file.Sync(error);
    if (!error) file.Close(error);
}

void WriteBeside(const CString& path, const Record& record, std::error_code& error) {
    platform::UnfinishedFile file(path, kUnfinishedSettingsEnding, error);
    if (!error) file.TakePermissions(error);
    if (!error) file.Append(record.data(), record.size(), error);
    if (!error) file.Publish(error);
}

}  // namespace

bool IsRefusal(std::error_code error) {
    return error == std::errc::permission_denied || error == std::errc::read_only_file_system ||
           error == std::errc::operation_not_permitted;
}

Expected<void> ReadSettings(const CString& projectFile, PROJECT_SETTINGS& settings) {
    Record bytes{};
    std::error_code error;
    const platform::File file = platform::File::OpenRead(projectFile, error);
    if (error) return FailSystem(error, platform::ToUtf8(projectFile) + " cannot be opened");
    const std::size_t read = file.ReadAt(0, bytes.data(), bytes.size(), error);
    if (error) return FailSystem(error, platform::ToUtf8(projectFile) + " cannot be read");
    DecodeSettings({bytes.data(), read}, settings);
    return {};
}

// BEHAVIOUR P18
void ReplaceSettings(const CString& projectFile, std::int32_t version,
                     const PROJECT_SETTINGS& settings, std::error_code& error) {
    const Record record = EncodeSettings(version, settings);
    ProjectManager paths;
    BuildPaths(paths, projectFile);
    // BEHAVIOUR K8
    error = AnnounceRecord(ManifestPath(paths), kSettingsName, projectFile, record);
    if (error) return;  // a record that the manifest does not know would be damage
    const bool link = platform::IsLink(projectFile);
    if (!link) WriteBeside(projectFile, record, error);
    if (link || IsRefusal(error)) WriteInPlace(projectFile, record, error);
}

Expected<void> ReplaceSettings(const CString& projectFile, const PROJECT_SETTINGS& settings) {
    std::error_code error;
    ReplaceSettings(projectFile, kSettingsVersion, settings, error);
    if (!error) return {};
    return FailSystem(
        error, platform::ToUtf8(projectFile) + " could not be written; its former settings hold");
}

Expected<void> ChangeSettings(const CString& projectFile,
                              const std::function<bool(PROJECT_SETTINGS&)>& change) {
    const auto lock = ProjectLock::Acquire(projectFile, ProjectLock::Wait::Briefly);
    if (!lock) return ErrorOf(lock);
    PROJECT_SETTINGS settings{};
    if (auto read = ReadSettings(projectFile, settings); !read) return read;
    if (!change(settings)) return {};
    return ReplaceSettings(projectFile, settings);
}

}  // namespace orvix::detail
