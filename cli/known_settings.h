// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "orvix/platform/error.h"
#include "orvix/platform/settings_store.h"

namespace orvix::cli {

enum class SettingKind { Length, Tolerance, Count, Switch, Number };

/// A setting that the library reads: its place in the settings store, its default and its meaning.
struct KnownSetting {
    const char* name;
    HKEY root;
    const wchar_t* key;
    SettingKind kind;
    double defaultValue;
    const char* meaning;
};

/// Every setting, in the order in which `orvix settings list` shows them.
std::span<const KnownSetting> KnownSettings();

/// By name, without regard to case; null when there is none.
const KnownSetting* FindSetting(std::string_view name);

bool IsWhole(const KnownSetting& setting);  ///< its value is a whole number

/// A setting's value now. Reading it here stores nothing, unlike the library's own reads.
struct SettingValue {
    double value = 0;
    bool stored = false;  ///< false: the default holds
};
SettingValue ReadSetting(const KnownSetting& setting);

/// Stores a value the way the library does. Errors: BadInput for a value out of range, Failure
/// when the store refuses.
Expected<void> WriteSetting(const KnownSetting& setting, std::string_view text);

/// Removes the stored value, so that the default holds; true when there was one. Errors: Failure
/// when the store cannot be read, or refuses.
Expected<bool> ResetSetting(const KnownSetting& setting);

/// A value as text: "0.100000", "400".
std::string ValueText(const KnownSetting& setting, double value);

}  // namespace orvix::cli
