// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/export.h"
#include "orvix/platform/settings_store.h"
#include "orvix/platform/text.h"

namespace orvix {

/// Keeps user settings as text values, each with a default that is written back when the value
/// is missing: every setting that was ever read shows up in the store and can be edited there.
///
///     HKEY root = HKEY_CURRENT_USER;  // on Windows its own, elsewhere orvix::HKEY
///     const CString key = L"SOFTWARE\\Orvix\\Shared\\Worm";
///     double size = Cache::ReadRegistry(root, key, L"SplitSize", 0.1);  // needs a CString
///     std::int32_t debug = Cache::ReadRegistry(root, L"SOFTWARE\\...", L"Debug", 0);
///     Cache::WriteRegistry(root, key, L"Vertical", 1);                  // text "1"
///
/// A stored value is accepted when its type is text or expandable text (which is returned
/// unexpanded) and its bytes are at most 512, even in number, and end with a zero character, or
/// none at all: the empty string. Anything else counts as missing, and a default overwrites it.
/// The text ends at its first zero.
///
/// Units      doubles are stored with six digits after the point: what lies beyond 1e-6 is lost.
///            Numbers always use ".", in every locale.
/// Boundaries on Windows the root is any key handle, a hive or an open key; elsewhere one of two
///            (settings_store.h).
///            A text of 255 UTF-16 units is read back, one of 256 is stored but counts as missing.
///            Numbers are read from the text's start: leading blanks, a sign, digits; "12abc" is
///            12, "abc" and "" are 0, and what 32 bits or a double cannot hold is their limit.
/// Errors     none are reported here: a failed read yields the default, a failed write nothing
///            (settings_store.h says what the user hears).
/// Threads    any; no state is kept.
/// Cost       a fraction of a millisecond; a write waits until it is on the device.
class ORVIX_API Cache {
public:
    /// A missing value: `defaultValue` is written and returned.
    static CString ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                                const CString& defaultValue);
    /// A missing value: the empty string is returned, nothing is written.
    static CString ReadRegistry(const HKEY& root, const CString& key, const CString& name);
    /// A missing value: `defaultValue` is written and returned. Takes literals, unlike the others.
    static std::int32_t ReadRegistry(const HKEY& root, const wchar_t* key, const wchar_t* name,
                                     std::int32_t defaultValue);
    /// A missing value: `defaultValue` is written, and returned in full precision.
    static double ReadRegistry(const HKEY& root, const CString& key, const CString& name,
                               double defaultValue);

    static void WriteRegistry(const HKEY& root, const CString& key, const CString& name,
                              const CString& value);
    static void WriteRegistry(const HKEY& root, const CString& key, const CString& name, int value);
    /// The text that a pointer names; null writes no value but still creates the key.
    static void WriteRegistry(const HKEY& root, const CString& key, const CString& name,
                              const wchar_t* value);
};

}  // namespace orvix
