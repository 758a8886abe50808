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
    // BEHAVIOUR U3
    if (!isText || bytes.size() > kLongestValueBytes || bytes.size() % 2 != 0) return {};
    if (bytes.empty()) return CString();
    if (UnitAt(bytes, bytes.size() - 2) != 0) return {};
    std::u16string units;
    for (std::size_t at = 0; UnitAt(bytes, at) != 0; at += 2) units.push_back(UnitAt(bytes, at));
    return platform::FromUtf16(units);
}

/// What a read found; `writeBack`: the value is known to be missing. A store that
/// cannot be read just now may hold one, which a default must not overwrite.
struct ReadText {
    ReadText(HKEY root, const CString& key, const CString& name) {
        platform::StoredSetting stored;
        const platform::Lookup lookup = platform::LookUpSetting(root, key, name, stored);
        if (lookup == platform::Lookup::Found) text = AcceptedText(stored);
        writeBack = !text && lookup != platform::Lookup::Unreadable;  // BEHAVIOUR U5
    }
    std::optional<CString> text;
    bool writeBack = false;
};

CString OrEmpty(const wchar_t* text) {
    return text != nullptr ? CString(text) : CString();
}

}  // namespace

CString Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                            const CString& defaultValue) {
    const ReadText read(root, key, name);
    if (read.writeBack) WriteRegistry(root, key, name, defaultValue);  // BEHAVIOUR U1
    return read.text.value_or(defaultValue);
}

CString Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name) {
    return ReadText(root, key, name).text.value_or(CString());
}

std::int32_t Cache::ReadRegistry(const HKEY& root, const wchar_t* key, const wchar_t* name,
                                 std::int32_t defaultValue) {
    const ReadText read(root, OrEmpty(key), OrEmpty(name));
    if (read.writeBack) WriteRegistry(root, OrEmpty(key), OrEmpty(name), defaultValue);
    return read.text ? platform::LeadingInteger(*read.text) : defaultValue;
}

double Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                           double defaultValue) {
    const ReadText read(root, key, name);
    if (read.writeBack) WriteRegistry(root, key, name, platform::SixDigits(defaultValue));
    return read.text ? platform::LeadingDouble(*read.text) : defaultValue;
}

void Cache::WriteRegistry(const HKEY& root, const CString& key, const CString& name,
                          const CString& value) {
    platform::StoreSetting(root, key, name, platform::kSettingText, TextBytes(value));
}

void Cache::WriteRegistry(const HKEY& root, const CString& key, const CString& name, int value) {
    WriteRegistry(root, key, name, CString(std::to_wstring(value)));
}

void Cache::WriteRegistry(const HKEY& root, const CString& key, const CString& name,
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
    const platform::QuietSettings quiet;  // BEHAVIOUR U6
    return Cache::ReadRegistry(kCurrentUser, L"SOFTWARE\\Orvix\\Shared\\Cache", L"Debug", 0);
}

}  // namespace

const std::int32_t debugFlag = ReadDebugFlag();

}  // namespace detail
}  // namespace orvix
