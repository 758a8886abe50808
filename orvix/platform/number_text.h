// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// The integer that a text starts with, after blanks and a sign; 0 when there is none. A number
/// too large for 32 bits reads as the largest of its sign.
std::int32_t LeadingInteger(std::wstring_view text);

/// The decimal number that a text starts with, after blanks and a sign ("1.5", ".5", "2e-3",
/// "inf", "nan"); 0 when there is none. One too large reads as infinity, one too small as 0. The
/// decimal point is "." in every locale.
double LeadingDouble(std::wstring_view text);

/// `value` as "%f" writes it in the plain locale: six digits after the point.
CString SixDigits(double value);

}  // namespace orvix::platform
