// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/settings_sandbox.h"

#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "orvix/platform/settings_store.h"

namespace orvix::test {
namespace {

const CString kTestKeys = L"SOFTWARE\\Orvix Tests";

/// A key of this process's own; tests that run at once share the hive.
CString UniqueKey() {
    static int number = 0;
    return kTestKeys + L"\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(++number);
}

/// Makes this process see `path` of the current user in place of a whole hive.
void Replace(HKEY hive, const CString& path) {
    HKEY key = nullptr;
    const LONG made = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0,
                                      KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (made != ERROR_SUCCESS || RegOverridePredefKey(hive, key) != ERROR_SUCCESS) {
        throw std::runtime_error("no registry key for a test");
    }
    RegCloseKey(key);
}

}  // namespace

struct SettingsSandbox::State {
    CString key = UniqueKey();
};

SettingsSandbox::SettingsSandbox() : state_(std::make_unique<State>()) {
    // The user's own hive comes last: the other's key lies in it too.
    Replace(HKEY_LOCAL_MACHINE, state_->key + L"\\Machine");
    Replace(HKEY_CURRENT_USER, state_->key + L"\\User");
}

SettingsSandbox::~SettingsSandbox() {
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, state_->key.c_str());
}

// Programs started see the user's real settings: they are put aside and brought back.
struct ChildSettingsSandbox::State {
    std::vector<platform::NamedSetting> before;
};

namespace {

const CString kWormKey = L"SOFTWARE\\Orvix\\Shared\\Worm";

void RemoveAll() {
    for (const auto& setting : platform::ListSettings(kCurrentUser, kWormKey)) {
        platform::RemoveSetting(kCurrentUser, setting.key, setting.name);
    }
}

}  // namespace

ChildSettingsSandbox::ChildSettingsSandbox() : state_(std::make_unique<State>()) {
    state_->before = platform::ListSettings(kCurrentUser, kWormKey);
    RemoveAll();
}

ChildSettingsSandbox::~ChildSettingsSandbox() {
    RemoveAll();
    for (const auto& setting : state_->before) {
        platform::StoreSetting(kCurrentUser, setting.key, setting.name, setting.value.type,
                               setting.value.bytes);
    }
}

}  // namespace orvix::test
