// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "orvix/platform/text.h"

namespace orvix::output {

/// Whether a path ends in `ending`, such as ".ply", after at least one other character.
///
/// Boundaries `ending` is in small letters; the path's may be capitals, or both, of the Latin
///            alphabet, in any language's settings.
inline bool HasEnding(const CString& path, std::wstring_view ending) {
    if (path.size() <= ending.size()) return false;
    const std::size_t start = path.size() - ending.size();
    for (std::size_t i = 0; i < ending.size(); ++i) {
        const wchar_t c = path[start + i];
        if ((c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c) != ending[i]) return false;
    }
    return true;
}

}  // namespace orvix::output
