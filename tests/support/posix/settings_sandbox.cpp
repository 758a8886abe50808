// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/settings_sandbox.h"

#include <cstdlib>

#include "orvix/platform/system.h"
#include "orvix/platform/text.h"

namespace orvix::test {
namespace {

constexpr const char* kVariable = "ORVIX_SETTINGS_DIR";

}  // namespace

SettingsSandbox::SettingsSandbox() : before_(platform::EnvironmentVariable(kVariable)) {
    MoveTo(folder_.Path());
}

SettingsSandbox::~SettingsSandbox() {
    MoveTo(before_);
}

// An empty variable counts as one that is not set.
void SettingsSandbox::MoveTo(const CString& folder) {
    setenv(kVariable, platform::ToUtf8(folder).c_str(), 1);
}

}  // namespace orvix::test
