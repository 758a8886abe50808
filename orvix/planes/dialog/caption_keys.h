// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/text.h"

namespace orvix::detail {

/// Gives the captions of one window a key each, so that every language has its own without a
/// translator who counts them: `&` goes before the first letter of a word that no earlier caption
/// has taken, else before any such letter, else nowhere.
///
///     CaptionKeys keys;
///     keys.Mark(L"View");      // "&View"
///     keys.Mark(L"Vertical");  // "V&ertical"
///
/// Boundaries letters are a to z and A to Z, the ones on every keyboard, without regard to case. An
///            `&` of the caption itself is doubled.
class CaptionKeys {
public:
    CString Mark(const CString& caption);

private:
    CString taken_;
};

}  // namespace orvix::detail
