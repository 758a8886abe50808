// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvix/platform/text.h"

#if defined(_WIN32)
struct HKEY__;  // of windows.h, which this header does without
#endif

namespace orvix {

/// The root under which settings are kept. On Windows it is a key handle of the registry: a hive
/// (`HKEY_CURRENT_USER`, ...) or any open key. Elsewhere it is one of two database files, under
/// the names of the two hives, so that a host's source reads alike on every system:
///
///     HKEY root = HKEY_CURRENT_USER;
///     double size = Cache::ReadRegistry(root, key, L"SplitSize", 0.1);
#if defined(_WIN32)
using HKEY = ::HKEY__*;  // BEHAVIOUR U10

/// The hives of this user and of this machine, for sources that do without windows.h.
inline const HKEY kCurrentUser =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(INT32_MIN + 1));  // HKEY_CURRENT_USER
inline const HKEY kLocalMachine =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(INT32_MIN + 2));  // HKEY_LOCAL_MACHINE
#else
enum class HKEY : std::uint32_t { CurrentUser, LocalMachine };

inline constexpr HKEY HKEY_CURRENT_USER = HKEY::CurrentUser;
inline constexpr HKEY HKEY_LOCAL_MACHINE = HKEY::LocalMachine;

inline constexpr HKEY kCurrentUser = HKEY_CURRENT_USER;
inline constexpr HKEY kLocalMachine = HKEY_LOCAL_MACHINE;
#endif

}  // namespace orvix

namespace orvix::platform {

/// Value types, numbered as the Windows registry numbers them.
inline constexpr std::uint32_t kSettingText = 1;            // REG_SZ
inline constexpr std::uint32_t kSettingExpandableText = 2;  // REG_EXPAND_SZ
inline constexpr std::uint32_t kSettingBinary = 3;          // REG_BINARY
inline constexpr std::uint32_t kSettingDword = 4;           // REG_DWORD

/// A value exactly as stored: its type and its bytes (text is UTF-16, little-endian).
struct StoredSetting {
    std::uint32_t type = 0;
    std::vector<std::byte> bytes;

    bool operator==(const StoredSetting&) const = default;
};

struct NamedSetting {
    CString key;
    CString name;
    StoredSetting value;
};

/// What a lookup found.
enum class Lookup {
    Found,
    Missing,
    Unreadable,  ///< damaged, not open to this user, or held by another process for seconds
};

/// The settings store: typed values under key paths, shared by several processes at once. `Cache`
/// is the host's way to it; these calls are for what `Cache` does not show: types, bytes, lists,
/// removal.
///
///     if (const auto stored = QuerySetting(kCurrentUser, key, L"Debug")) Use(stored->bytes);
///
/// Key paths are joined with "\" on every system; empty parts (a trailing "\" among them) are
/// dropped. Keys and names compare without regard to case (`FoldCase`) and keep the spelling of
/// their first use.
///
/// Errors    a missing store reads as empty without a word. A damaged store reads as empty,
///           refuses writes and says so on the error channel; a store of the current user that
///           cannot be read or written says so too; once per process and root. That the machine's
///           store cannot be written is what a plain user expects: the result alone says so.
///           On Windows it is always the result alone: a setting always has a usable value, and
///           no box stands in the user's way.
/// Threads   any; every call opens and closes the store.
/// Cost      a fraction of a millisecond to read; a change waits until it is on the device, a
///           value stored again as it is does not.
/// Source    on Linux one SQLite file per root, `user.db` or `machine.db`, in $ORVIX_SETTINGS_DIR,
///           or else $XDG_CONFIG_HOME/orvix (~/.config/orvix) and the first $XDG_CONFIG_DIRS/orvix
///           (/etc/xdg/orvix). On Windows the registry's hives, a key path's parts being keys of
///           their own.

/// Sets `value` when it is found.
Lookup LookUpSetting(HKEY root, const CString& key, const CString& name, StoredSetting& value);
/// LookUpSetting for callers to whom what cannot be read is as good as missing.
std::optional<StoredSetting> QuerySetting(HKEY root, const CString& key, const CString& name);
/// Stores a value, creating the key path; false when the store refuses.
bool StoreSetting(HKEY root, const CString& key, const CString& name, std::uint32_t type,
                  std::span<const std::byte> bytes);
/// Stores a value where the store still holds what `seen` is, or where that is nothing, still
/// nothing: a default must not replace what another program has stored since the look. False when
/// the store refuses; true too where it holds something else by now.
bool StoreSettingOver(HKEY root, const CString& key, const CString& name,
                      const std::optional<StoredSetting>& seen, std::uint32_t type,
                      std::span<const std::byte> bytes);
/// Creates a key path that holds no value yet; false when the store refuses.
bool CreateSettingKey(HKEY root, const CString& key);
/// Whether a key path exists, by itself or because one below it does.
bool SettingKeyExists(HKEY root, const CString& key);
/// Removes one value; true when it existed.
bool RemoveSetting(HKEY root, const CString& key, const CString& name);
/// All values at and below a key path, ordered by key, then name (both folded).
std::vector<NamedSetting> ListSettings(HKEY root, const CString& keyPrefix);

/// Where this system keeps settings, in words for a user, to follow "Settings are kept in".
const char* SettingsPlace();
/// What a user does about a store that refuses, after a lookup in it: "make ... writable".
const char* SettingsRemedy(Lookup lookup);

/// While one of these lives, the store keeps its troubles to itself, and what it would have said
/// stays to be said later. The values read while the library is loaded are read so: no host has
/// had the chance to set its error channel by then.
class QuietSettings {
public:
    QuietSettings();
    ~QuietSettings();
    QuietSettings(const QuietSettings&) = delete;
    QuietSettings& operator=(const QuietSettings&) = delete;
};

}  // namespace orvix::platform
