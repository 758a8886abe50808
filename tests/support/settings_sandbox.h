// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "tests/support/scratch_folder.h"

namespace orvix::test {

/// While it lives, settings are kept in a folder of its own, empty at first.
///
/// Boundaries the values that the library reads while it is loaded come before any sandbox: the
///            tests' own environment sends those elsewhere (cmake/OrvixHelpers.cmake).
class SettingsSandbox {
public:
    SettingsSandbox();
    ~SettingsSandbox();
    SettingsSandbox(const SettingsSandbox&) = delete;
    SettingsSandbox& operator=(const SettingsSandbox&) = delete;

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
