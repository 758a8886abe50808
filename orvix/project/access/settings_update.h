// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <system_error>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_settings.h"

namespace orvix::detail {

/// The ending of a record that is being written, after the project file's whole name.
inline constexpr const wchar_t* kUnfinishedSettingsEnding = L".settings-part";

/// Reads a project file's record; fields that it does not hold keep what `settings` has.
///
/// Errors  Failure, NoSpace or BadInput where it cannot be opened or read: a record that was not
///         read is never taken for one that holds nothing.
Expected<void> ReadSettings(const CString& projectFile, PROJECT_SETTINGS& settings);

/// Replaces a project file's record, whole or not at all: the new record is written beside it,
/// brought to the device, and takes its name. Choose it over ProjectManager::SetProjectSettings,
/// which empties the file first and reports nothing.
///
/// Boundaries  where no file can be made beside the record, and where the project file is a link,
///             the record is written in place: a power cut may then leave parts of both.
/// Errors      NoSpace or Failure, with the path; the former record is whole then.
Expected<void> ReplaceSettings(const CString& projectFile, const PROJECT_SETTINGS& settings);
/// The same, with the system's own answer; `version` is what the record begins with.
void ReplaceSettings(const CString& projectFile, std::int32_t version,
                     const PROJECT_SETTINGS& settings, std::error_code& error);

/// Whether a system's answer says that this user may not write there.
bool IsRefusal(std::error_code error);

/// Reads the record, lets `change` change it, and replaces it, with no other program's change
/// coming in between. Where `change` returns false nothing is written.
///
///     auto stored = ChangeSettings(path, [](PROJECT_SETTINGS& s) { s.usage = 0; return true; });
///
/// Errors  those of ProjectLock, after five seconds' wait, ReadSettings and ReplaceSettings.
Expected<void> ChangeSettings(const CString& projectFile,
                              const std::function<bool(PROJECT_SETTINGS&)>& change);

}  // namespace orvix::detail
