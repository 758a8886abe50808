// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace orvix {

/// The wide string of every interface: paths, settings, messages.
using CString = std::wstring;

}  // namespace orvix

namespace orvix::platform {

/// Wide text as UTF-8 and back. The pair is lossless in the direction that matters: a byte that
/// is not valid UTF-8 (a Linux file name may hold any) becomes the lone surrogate U+DC00 + byte
/// and turns back into that byte, so every file that a folder lists can be opened.
///
///     FromUtf8("caf\xE9")   // 'c' 'a' 'f' U+DCE9, and ToUtf8 of that is "caf\xE9" again
///
/// Boundaries a surrogate pair counts as one character on every system.
/// Errors     none: a code point that no encoding can hold becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
CString FromUtf8(std::string_view bytes);

/// Wide text as UTF-16 code units, the form in which settings are stored, and back. Surrogates
/// pass through both ways, lone ones included.
std::u16string ToUtf16(std::wstring_view text);
CString FromUtf16(std::u16string_view units);

/// The text with every letter in upper case, and equality under that folding. One table serves
/// every system and locale: the letters of today's European languages in the Latin, Greek and
/// Cyrillic scripts that have a single counterpart one to one ("ß" has none and stays).
CString FoldCase(std::wstring_view text);
bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b);

}  // namespace orvix::platform
