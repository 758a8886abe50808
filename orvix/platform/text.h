// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace orvix {

/// The wide string of every interface: paths, settings, messages.
using CString = std::wstring;

}  // namespace orvix

namespace orvix::platform {

/// Wide text as UTF-8 and back. The pair is lossless in both directions that matter: a byte
/// that is not valid UTF-8 (a Linux file name may hold any) becomes the lone surrogate
/// U+DC00 + byte and turns back into that byte, so every file that a folder lists can be opened.
///
/// Errors   none: a code point that no encoding can hold becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
CString FromUtf8(std::string_view bytes);

}  // namespace orvix::platform
