// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/number_text.h"

#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace orvix::platform {
namespace {

bool IsBlank(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The text from its first character that is no blank, narrow, without a "+"; characters beyond
/// ASCII are part of no number and end it.
std::string NumberStart(std::wstring_view text) {
    std::size_t at = 0;
    while (at < text.size() && IsBlank(text[at])) ++at;
    if (at < text.size() && text[at] == L'+') {
        ++at;
        if (at < text.size() && text[at] == L'-') return {};
    }
    std::string narrow;
    for (; at < text.size() && text[at] > 0 && text[at] < 0x80; ++at) {
        narrow.push_back(static_cast<char>(text[at]));
    }
    return narrow;
}

/// Whether a number beyond the range of double is too large rather than too small, by the power of
/// ten of its first digit that is not 0.
bool IsHuge(std::string_view number) {
    if (number.starts_with('-')) number.remove_prefix(1);
    std::int64_t power = 0;
    bool fraction = false;
    bool significant = false;
    std::size_t at = 0;
    for (; at < number.size() && (IsDigit(number[at]) || number[at] == '.'); ++at) {
        if (number[at] == '.') {
            if (fraction) break;
            fraction = true;
            continue;
        }
        significant = significant || number[at] != '0';
        if (fraction && !significant) --power;
        if (!fraction && significant) ++power;
    }
    if (at == number.size() || (number[at] | 0x20) != 'e') return power > 0;
    std::string_view exponentText = number.substr(at + 1);
    if (exponentText.starts_with('+')) exponentText.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto [stop, error] =
        std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
    if (error == std::errc::result_out_of_range) return !exponentText.starts_with('-');
    return exponent > -power;  // their sum may be too large
}

}  // namespace

// BEHAVIOUR U4
std::int32_t LeadingInteger(std::wstring_view text) {
    const std::string number = NumberStart(text);
    std::int32_t value = 0;
    const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc::result_out_of_range) return value;
    return number.starts_with('-') ? std::numeric_limits<std::int32_t>::min()
                                   : std::numeric_limits<std::int32_t>::max();
}

double LeadingDouble(std::wstring_view text) {
    const std::string number = NumberStart(text);
    double value = 0.0;
    const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc::result_out_of_range) return value;
    const double magnitude = IsHuge(number) ? std::numeric_limits<double>::infinity() : 0.0;
    return number.starts_with('-') ? -magnitude : magnitude;
}

// BEHAVIOUR U2
CString SixDigits(double value) {
    constexpr std::size_t kLongest = 320;  // 309 digits of the largest double, sign, point, six
    char digits[kLongest];
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 6);
    return CString(digits, end);
}

}  // namespace orvix::platform
