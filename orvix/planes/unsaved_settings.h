// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/planes/plane_worm_settings.h"
#include "orvix/platform/error.h"

namespace orvix::detail {

/// A project's search settings as PlaneWormSettings(projectFile, 1.0) loads them, with nothing
/// stored: a negative split size is replaced in the result alone. Use it for a search that may yet
/// be refused; StoreSplitSizes then stores the split sizes.
///
/// Errors  those of ReadSettings: a search by defaults is not what was asked for.
Expected<PlaneWormSettings> SettingsUnsaved(const CString& projectFile);

/// Whether a record that is empty or cut short may be replaced: where the project's other files are
/// there.
enum class CutSettings { Stay, AreReplaced };

/// Stores split sizes that were not chosen yet, as loading the class does, and nothing else of the
/// record. Where this user may not write, or another program keeps the project for long, nothing is
/// stored: the next search finds the same sizes.
///
/// Errors  those of ReadSettings, and of writing where writing is allowed.
Expected<void> StoreSplitSizes(const CString& projectFile, CutSettings cut = CutSettings::Stay);

/// `settings.Save()` for a program that has to know: into the record as it is now, which others may
/// have changed since it was loaded.
///
/// Errors  those of ChangeSettings.
Expected<void> SaveToProject(const PlaneWormSettings& settings);

}  // namespace orvix::detail
