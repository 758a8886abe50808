// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/scratch_folder.h"

namespace orvix::test {

/// A settings sandbox whose files are there to be spoilt.
class SettingsFiles {
public:
    SettingsFiles();
    ~SettingsFiles();
    SettingsFiles(const SettingsFiles&) = delete;
    SettingsFiles& operator=(const SettingsFiles&) = delete;

    /// Sends settings to another folder for the rest of this sandbox's life.
    void MoveTo(const CString& folder);
    /// The file of the current user's settings in the sandbox's own folder.
    [[nodiscard]] CString UserFile() const { return folder_ / L"user.db"; }
    [[nodiscard]] const CString& Path() const { return folder_.Path(); }

private:
    ScratchFolder folder_;
    CString before_;
};

}  // namespace orvix::test
