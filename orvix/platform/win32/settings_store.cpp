// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/settings_store.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace orvix::platform {
namespace {

/// What the longest accepted text takes; longer values are asked for again.
constexpr DWORD kUsualBytes = 512;
/// Characters in the name of a key and of a value, with the terminating zero.
constexpr DWORD kKeyNameRoom = 256;
constexpr DWORD kValueNameRoom = 16'384;

/// Closes a key at the end of a scope.
class Key {
public:
    static Key Open(HKEY parent, const CString& path) {
        Key key;
        RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key.key_);
        return key;
    }
    static Key OpenToWrite(HKEY parent, const CString& path) {
        Key key;
        RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ | KEY_WRITE, &key.key_);
        return key;
    }
    static Key Create(HKEY parent, const CString& path) {
        Key key;
        RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE, nullptr, &key.key_, nullptr);
        return key;
    }
    static Key Own(HKEY opened) {
        Key key;
        key.key_ = opened;
        return key;
    }
    Key(Key&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    Key& operator=(Key&& other) noexcept {
        std::swap(key_, other.key_);
        return *this;
    }
    ~Key() {
        if (key_ != nullptr) RegCloseKey(key_);
    }

    [[nodiscard]] HKEY Get() const { return key_; }
    explicit operator bool() const { return key_ != nullptr; }

private:
    Key() = default;
    HKEY key_ = nullptr;
};

std::vector<CString> PartsOf(const CString& path) {
    std::vector<CString> parts;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', at), path.size());
        if (end > at) parts.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

CString Below(const CString& key, const CString& part) {
    return key.empty() ? part : key + L'\\' + part;
}

/// A key path without empty parts.
CString Plain(const CString& path) {
    CString plain;
    for (const CString& part : PartsOf(path)) plain = Below(plain, part);
    return plain;
}

/// Reads a value whole, however long; whoever makes it longer meanwhile is asked again. Returns the
/// system's answer.
LONG ReadValue(HKEY key, const CString& name, StoredSetting& value) {
    DWORD bytes = kUsualBytes;
    LONG result = ERROR_MORE_DATA;
    std::vector<std::byte> buffer;
    DWORD type = 0;
    while (result == ERROR_MORE_DATA) {
        buffer.resize(std::max<std::size_t>(bytes, buffer.size()));
        bytes = static_cast<DWORD>(buffer.size());
        result = RegQueryValueExW(key, name.c_str(), nullptr, &type,
                                  reinterpret_cast<BYTE*>(buffer.data()), &bytes);
    }
    if (result != ERROR_SUCCESS) return result;
    buffer.resize(bytes);
    value = {type, std::move(buffer)};
    return result;
}

std::vector<CString> KeysIn(HKEY key) {
    std::vector<CString> names;
    wchar_t name[kKeyNameRoom];
    for (DWORD index = 0;; ++index) {
        DWORD length = kKeyNameRoom;
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name, length);
    }
}

std::vector<CString> ValuesIn(HKEY key) {
    std::vector<CString> names;
    CString name(kValueNameRoom, L'\0');
    for (DWORD index = 0;; ++index) {
        DWORD length = kValueNameRoom;
        if (RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name, 0, length);
    }
}

/// The spelling under which the store keeps an existing key.
CString SpellingOf(HKEY hive, const CString& path) {
    CString spelt;
    for (const CString& part : PartsOf(path)) {
        const Key parent = Key::Open(hive, spelt);
        const std::vector<CString> names = KeysIn(parent.Get());
        const auto same = std::find_if(names.begin(), names.end(), [&part](const CString& name) {
            return EqualIgnoringCase(name, part);
        });
        spelt = Below(spelt, same != names.end() ? *same : part);
    }
    return spelt;
}

void Collect(HKEY hive, const CString& path, std::vector<NamedSetting>& settings) {
    const Key key = Key::Open(hive, path);
    if (!key) return;
    for (const CString& name : ValuesIn(key.Get())) {
        StoredSetting value;
        if (ReadValue(key.Get(), name, value) == ERROR_SUCCESS)
            settings.push_back({path, name, std::move(value)});
    }
    for (const CString& name : KeysIn(key.Get())) Collect(hive, Below(path, name), settings);
}

}  // namespace

Lookup LookUpSetting(HKEY root, const CString& key, const CString& name, StoredSetting& value) {
    HKEY opened = nullptr;
    LONG result = RegOpenKeyExW(root, Plain(key).c_str(), 0, KEY_READ, &opened);
    const Key owner = Key::Own(opened);
    if (result == ERROR_SUCCESS) result = ReadValue(opened, name, value);
    if (result == ERROR_SUCCESS) return Lookup::Found;
    const bool missing = result == ERROR_FILE_NOT_FOUND || result == ERROR_PATH_NOT_FOUND;
    return missing ? Lookup::Missing : Lookup::Unreadable;
}

bool StoreSetting(HKEY root, const CString& key, const CString& name, std::uint32_t type,
                  std::span<const std::byte> bytes) {
    const Key created = Key::Create(root, Plain(key));
    if (!created) return false;
    // A zero found behind a text that ends without one would be stored with it.
    std::vector<std::byte> guarded(bytes.begin(), bytes.end());
    guarded.resize(bytes.size() + sizeof(wchar_t), std::byte{0xFF});
    return RegSetValueExW(created.Get(), name.c_str(), 0, type,
                          reinterpret_cast<const BYTE*>(guarded.data()),
                          static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS;
}

// The registry has no such change in one step; between the look and the write lie microseconds.
bool StoreSettingOver(HKEY root, const CString& key, const CString& name,
                      const std::optional<StoredSetting>& seen, std::uint32_t type,
                      std::span<const std::byte> bytes) {
    StoredSetting now;
    const Lookup lookup = LookUpSetting(root, key, name, now);
    if (lookup == Lookup::Unreadable) return false;
    const bool same = lookup == Lookup::Found ? seen == now : !seen;
    return !same || StoreSetting(root, key, name, type, bytes);
}

bool CreateSettingKey(HKEY root, const CString& key) {
    return static_cast<bool>(Key::Create(root, Plain(key)));
}

bool SettingKeyExists(HKEY root, const CString& key) {
    return static_cast<bool>(Key::Open(root, Plain(key)));
}

bool RemoveSetting(HKEY root, const CString& key, const CString& name) {
    const Key opened = Key::OpenToWrite(root, Plain(key));
    return opened && RegDeleteValueW(opened.Get(), name.c_str()) == ERROR_SUCCESS;
}

std::vector<NamedSetting> ListSettings(HKEY root, const CString& keyPrefix) {
    std::vector<NamedSetting> settings;
    Collect(root, SpellingOf(root, keyPrefix), settings);
    std::sort(settings.begin(), settings.end(), [](const NamedSetting& a, const NamedSetting& b) {
        const CString keyA = FoldCase(a.key);
        const CString keyB = FoldCase(b.key);
        return keyA != keyB ? keyA < keyB : FoldCase(a.name) < FoldCase(b.name);
    });
    return settings;
}

const char* SettingsPlace() {
    return "the registry, under SOFTWARE\\Orvix";
}

const char* SettingsRemedy(Lookup) {
    return "make the registry key SOFTWARE\\Orvix writable for this user (regedit, Permissions)";
}

// The registry keeps its troubles to itself as it is: the results alone show them.
QuietSettings::QuietSettings() = default;
QuietSettings::~QuietSettings() = default;

}  // namespace orvix::platform
