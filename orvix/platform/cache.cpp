// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/cache.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>
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

/// What a read found. A default is stored where the value is known to be missing: a store that
/// cannot be read just now may hold one, and another program may store one meanwhile.
class ReadText {
public:
    ReadText(HKEY root, const CString& key, const CString& name)
        : root_(root), key_(key), name_(name) {
        platform::StoredSetting stored;
        const platform::Lookup lookup = platform::LookUpSetting(root, key, name, stored);
        if (lookup == platform::Lookup::Found) text = AcceptedText(stored);
        missing_ = !text && lookup != platform::Lookup::Unreadable;  // BEHAVIOUR U5
        if (lookup == platform::Lookup::Found) seen_ = std::move(stored);
    }
    // BEHAVIOUR U1
    void WriteBack(const CString& value) const {
        if (!missing_) return;
        platform::StoreSettingOver(root_, key_, name_, seen_, platform::kSettingText,
                                   TextBytes(value));
    }
    std::optional<CString> text;

private:
    HKEY root_;
    const CString& key_;
    const CString& name_;
    std::optional<platform::StoredSetting> seen_;
    bool missing_ = false;
};

CString OrEmpty(const wchar_t* text) {
    return text != nullptr ? CString(text) : CString();
}

}  // namespace

CString Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                            const CString& defaultValue) {
    const ReadText read(root, key, name);
    read.WriteBack(defaultValue);
    return read.text.value_or(defaultValue);
}

CString Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name) {
    return ReadText(root, key, name).text.value_or(CString());
}

std::int32_t Cache::ReadRegistry(const HKEY& root, const wchar_t* key, const wchar_t* name,
                                 std::int32_t defaultValue) {
    const CString keyText = OrEmpty(key);
    const CString nameText = OrEmpty(name);
    const ReadText read(root, keyText, nameText);
    read.WriteBack(CString(std::to_wstring(defaultValue)));
    return read.text ? platform::LeadingInteger(*read.text) : defaultValue;
}

double Cache::ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                           double defaultValue) {
    const ReadText read(root, key, name);
    read.WriteBack(platform::SixDigits(defaultValue));
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
    // While a program is loaded nobody can catch what is thrown.
    try {
        const platform::QuietSettings quiet;  // BEHAVIOUR U6
        return Cache::ReadRegistry(kCurrentUser, L"SOFTWARE\\Orvix\\Shared\\Cache", L"Debug", 0);
    } catch (const std::exception&) {
        return 0;
    }
}

}  // namespace

const std::int32_t debugFlag = ReadDebugFlag();

}  // namespace detail
}  // namespace orvix
