// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/cache.h"

#include <optional>
#include <string>
#include <vector>

#include "orvix/platform/debug_flag.h"
#include "orvix/platform/number_text.h"

namespace orvix {
namespace {

constexpr std::size_t kLongestValueBytes = 512;

std::vector<std::byte> TextBytes(const CString& text) {
    std::vector<std::byte> bytes;
    const std::u16string units = platform::ToUtf16(text);
    bytes.reserve((units.size() + 1) * 2);
    for (std::size_t i = 0; i <= units.size(); ++i) {
        const unsigned unit = i < units.size() ? units[i] : 0u;
        bytes.push_back(static_cast<std::byte>(unit & 0xFF));
        bytes.push_back(static_cast<std::byte>(unit >> 8));
    }
    return bytes;
}

char16_t UnitAt(const std::vector<std::byte>& bytes, std::size_t at) {
    return static_cast<char16_t>(std::to_integer<unsigned>(bytes[at]) |
                                 std::to_integer<unsigned>(bytes[at + 1]) << 8);
}

/// The acceptance rule: nothing for a value that counts as missing.
std::optional<CString> AcceptedText(const platform::StoredSetting& stored) {
    const std::vector<std::byte>& bytes = stored.bytes;
    const bool isText =
        stored.type == platform::kSettingText || stored.type == platform::kSettingExpandableText;
    if (!isText || bytes.size() > kLongestValueBytes || bytes.size() % 2 != 0) return {};
    if (bytes.empty()) return CString();
    if (UnitAt(bytes, bytes.size() - 2) != 0) return {};
    std::u16string units;
    for (std::size_t at = 0; UnitAt(bytes, at) != 0; at += 2) units.push_back(UnitAt(bytes, at));
    return platform::FromUtf16(units);
}

std::optional<CString> ReadText(RegistryRoot root, const CString& key, const CString& name) {
    const auto stored = platform::QuerySetting(root, key, name);
    return stored ? AcceptedText(*stored) : std::nullopt;
}

CString OrEmpty(const wchar_t* text) {
    return text != nullptr ? CString(text) : CString();
}

}  // namespace

CString Cache::ReadRegistry(const RegistryRoot& root, const CString& key, const CString& name,
                            const CString& defaultValue) {
    if (const auto text = ReadText(root, key, name)) return *text;
    WriteRegistry(root, key, name, defaultValue);
    return defaultValue;
}

CString Cache::ReadRegistry(const RegistryRoot& root, const CString& key, const CString& name) {
    return ReadText(root, key, name).value_or(CString());
}

std::int32_t Cache::ReadRegistry(const RegistryRoot& root, const wchar_t* key, const wchar_t* name,
                                 std::int32_t defaultValue) {
    if (const auto text = ReadText(root, OrEmpty(key), OrEmpty(name))) {
        return platform::LeadingInteger(*text);
    }
    WriteRegistry(root, OrEmpty(key), OrEmpty(name), defaultValue);
    return defaultValue;
}

double Cache::ReadRegistry(const RegistryRoot& root, const CString& key, const CString& name,
                           double defaultValue) {
    if (const auto text = ReadText(root, key, name)) return platform::LeadingDouble(*text);
    WriteRegistry(root, key, name, platform::SixDigits(defaultValue));
    return defaultValue;
}

void Cache::WriteRegistry(const RegistryRoot& root, const CString& key, const CString& name,
                          const CString& value) {
    platform::StoreSetting(root, key, name, platform::kSettingText, TextBytes(value));
}

void Cache::WriteRegistry(const RegistryRoot& root, const CString& key, const CString& name,
                          int value) {
    WriteRegistry(root, key, name, CString(std::to_wstring(value)));
}

void Cache::WriteRegistry(const RegistryRoot& root, const CString& key, const CString& name,
                          const wchar_t* value) {
    if (value != nullptr) {
        WriteRegistry(root, key, name, CString(value));
    } else {
        platform::CreateSettingKey(root, key);
    }
}

namespace detail {
namespace {

std::int32_t ReadDebugFlag() {
    const platform::QuietSettings quiet;
    return Cache::ReadRegistry(kCurrentUser, L"SOFTWARE\\Orvix\\Shared\\Cache", L"Debug", 0);
}

}  // namespace

const std::int32_t debugFlag = ReadDebugFlag();

}  // namespace detail
}  // namespace orvix
