// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/known_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "orvix/platform/amounts.h"
#include "orvix/platform/cache.h"
#include "orvix/platform/number_text.h"

namespace orvix::cli {

namespace {

constexpr const wchar_t* kWorm = L"SOFTWARE\\Orvix\\Shared\\Worm";
constexpr const wchar_t* kCache = L"SOFTWARE\\Orvix\\Shared\\Cache";
constexpr const wchar_t* kHost = L"SOFTWARE\\Orvix\\Orvix for AutoCAD\\";

const std::array kSettings{
    KnownSetting{"SplitSize", kCurrentUser, kWorm, SettingKind::Length, 0.1,
                 "side of a plane search cell on the full cloud, metres"},
    KnownSetting{"DiffA", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' x components, full cloud"},
    KnownSetting{"DiffB", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' y components, full cloud"},
    KnownSetting{"DiffC", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' z components, full cloud"},
    KnownSetting{"MinPlane", kCurrentUser, kWorm, SettingKind::Count, 0,
                 "most points handed on per cell of the full cloud; 0, 1, 2: all"},
    KnownSetting{"SplitSize_SKELET", kCurrentUser, kWorm, SettingKind::Length, 0.4,
                 "side of a plane search cell on the skeleton, metres"},
    KnownSetting{"DiffA_SKELET", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' x components, skeleton"},
    KnownSetting{"DiffB_SKELET", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' y components, skeleton"},
    KnownSetting{"DiffC_SKELET", kCurrentUser, kWorm, SettingKind::Tolerance, 0.15,
                 "largest difference of the normals' z components, skeleton"},
    KnownSetting{"MinPlane_SKELET", kCurrentUser, kWorm, SettingKind::Count, 0,
                 "most points handed on per cell of the skeleton; 0, 1, 2: all"},
    KnownSetting{"Vertical", kCurrentUser, kWorm, SettingKind::Switch, 0,
                 "make found planes vertical: 0 or 1"},
    KnownSetting{"AutoDetect", kCurrentUser, kWorm, SettingKind::Switch, 0,
                 "detect planes without a seed: 0 or 1"},
    KnownSetting{"Debug", kCurrentUser, kCache, SettingKind::Number, 0,
                 "read at load, for diagnostic builds"},
    KnownSetting{"locale", kLocalMachine, kHost, SettingKind::Number, 1033,
                 "language of messages: 1033 English, 1031 German, 1036 French, 1034 Spanish"}};

bool SameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char left, char right) { return lower(left) == lower(right); });
}

CString NameOf(const KnownSetting& setting) {
    return platform::FromUtf8(setting.name);
}

CString StoredText(const KnownSetting& setting) {
    return Cache::ReadRegistry(setting.root, CString(setting.key), NameOf(setting));
}

platform::Lookup LookUp(const KnownSetting& setting) {
    platform::StoredSetting ignored;
    return platform::LookUpSetting(setting.root, setting.key, NameOf(setting), ignored);
}

tl::unexpected<Error> Refused(const KnownSetting& setting, const char* doing) {
    return Fail(ErrorCode::Failure, fmt::format("{} could not be {}; {}", setting.name, doing,
                                                platform::SettingsRemedy(LookUp(setting))));
}

// What a value must be, for the message; null when it is.
const char* FaultOf(SettingKind kind, double value) {
    const bool whole = value == std::floor(value) && std::fabs(value) <= 2147483647.0;
    switch (kind) {
        case SettingKind::Length:
            return value >= 1e-6 && value <= 1e6 ? nullptr : "from 0.000001 to 1000000 metres";
        case SettingKind::Tolerance:
            return value >= 0 && value <= 2 ? nullptr : "from 0 to 2";
        case SettingKind::Count:
            return whole && value >= 0 ? nullptr : "a whole number from 0";
        case SettingKind::Switch:
            return value == 0 || value == 1 ? nullptr : "0 or 1";
        case SettingKind::Number:
            return whole ? nullptr : "a whole number";
    }
    return nullptr;
}

}  // namespace

std::span<const KnownSetting> KnownSettings() {
    return kSettings;
}

const KnownSetting* FindSetting(std::string_view name) {
    const auto* found = std::find_if(kSettings.begin(), kSettings.end(),
                                     [&](const KnownSetting& s) { return SameName(s.name, name); });
    return found == kSettings.end() ? nullptr : found;
}

bool IsWhole(const KnownSetting& setting) {
    return setting.kind != SettingKind::Length && setting.kind != SettingKind::Tolerance;
}

SettingValue ReadSetting(const KnownSetting& setting) {
    const CString text = StoredText(setting);
    if (text.empty()) return {setting.defaultValue, false};
    const double value = platform::LeadingDouble(text);
    return {IsWhole(setting) ? std::trunc(value) : value, true};
}

std::string ValueText(const KnownSetting& setting, double value) {
    return IsWhole(setting) ? fmt::format("{:.0f}", value) : fmt::format("{:f}", value);
}

Expected<void> WriteSetting(const KnownSetting& setting, std::string_view text) {
    const std::optional<double> value = platform::ParseNumber(text);
    const char* fault = value ? FaultOf(setting.kind, *value) : "a number";
    if (fault != nullptr)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} must be {}, not {}", setting.name, fault, text));
    const CString wanted = platform::FromUtf8(ValueText(setting, *value));
    Cache::WriteRegistry(setting.root, CString(setting.key), NameOf(setting), wanted);
    if (StoredText(setting) == wanted) return {};
    return Refused(setting, "stored");
}

Expected<bool> ResetSetting(const KnownSetting& setting) {
    const platform::Lookup lookup = LookUp(setting);
    if (lookup == platform::Lookup::Missing) return false;
    const bool removed = lookup == platform::Lookup::Found &&
                         platform::RemoveSetting(setting.root, setting.key, NameOf(setting));
    if (!removed) return Refused(setting, "reset");
    return true;
}

}  // namespace orvix::cli
