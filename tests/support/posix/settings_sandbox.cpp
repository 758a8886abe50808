// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/settings_sandbox.h"

#include <cstdlib>

#include "orvix/platform/system.h"
#include "orvix/platform/text.h"
#include "tests/support/posix/settings_files.h"

namespace orvix::test {
namespace {

constexpr const char* kVariable = "ORVIX_SETTINGS_DIR";

}  // namespace

SettingsFiles::SettingsFiles() : before_(platform::EnvironmentVariable(kVariable)) {
    MoveTo(folder_.Path());
}

SettingsFiles::~SettingsFiles() {
    MoveTo(before_);
}

// An empty variable counts as one that is not set.
void SettingsFiles::MoveTo(const CString& folder) {
    setenv(kVariable, platform::ToUtf8(folder).c_str(), 1);
}

struct SettingsSandbox::State {
    SettingsFiles files;
};

SettingsSandbox::SettingsSandbox() : state_(std::make_unique<State>()) {}
SettingsSandbox::~SettingsSandbox() = default;

// The environment reaches programs that this process starts.
struct ChildSettingsSandbox::State {
    SettingsFiles files;
};

ChildSettingsSandbox::ChildSettingsSandbox() : state_(std::make_unique<State>()) {}
ChildSettingsSandbox::~ChildSettingsSandbox() = default;

}  // namespace orvix::test
