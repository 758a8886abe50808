// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes are the file of the user's settings, as any other program could have written it. Where
// settings are in the registry there is no such file, and no such target.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

#include "fuzz/small_project.h"
#include "orvix/platform/cache.h"
#include "orvix/platform/error_channel.h"
#include "orvix/platform/settings_store.h"

namespace {

using namespace orvix;

void ReadStore() {
    const CString key = L"Orvix\\Planes";
    platform::StoredSetting value;
    static_cast<void>(platform::LookUpSetting(kCurrentUser, key, L"SplitSize", value));
    static_cast<void>(platform::LookUpSetting(kCurrentUser, key, L"Name", value));
    static_cast<void>(platform::SettingKeyExists(kCurrentUser, key));
    for (const platform::NamedSetting& setting : platform::ListSettings(kCurrentUser, L""))
        fuzz::Require(setting.value.bytes.size() <= 1 << 20, "values are of a file's size");
    static_cast<void>(Cache::ReadRegistry(kCurrentUser, key, L"SplitSize", 0.1));
    static_cast<void>(Cache::ReadRegistry(kCurrentUser, key, L"Name", CString(L"none")));
}

// What was just stored reads back, or the store has refused.
void WriteStore() {
    const CString key = L"Orvix\\Written";
    const std::array<std::byte, 4> bytes{std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
    if (!platform::StoreSetting(kCurrentUser, key, L"Value", platform::kSettingDword, bytes))
        return;
    platform::StoredSetting read;
    const bool found =
        platform::LookUpSetting(kCurrentUser, key, L"Value", read) == platform::Lookup::Found;
    fuzz::Require(found && std::ranges::equal(read.bytes, bytes), "what is stored reads back");
    platform::RemoveSetting(kCurrentUser, key, L"Value");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::ScratchFolder folder;
    static const bool ready = [] {
        SetErrorChannel([](const wchar_t*) {});
        return setenv("ORVIX_SETTINGS_DIR", platform::ToUtf8(folder.Path()).c_str(), 1) == 0;
    }();
    if (!ready) return 0;
    test::WriteBytes(folder / L"user.db", data, size);
    ReadStore();
    WriteStore();
    return 0;
}
