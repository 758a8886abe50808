// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/text.h"

#include <algorithm>
#include <cstdint>

namespace orvix::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

bool IsHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}
bool IsEscapedByte(char32_t c) {
    return c >= 0xDC80 && c <= 0xDCFF;
}

char32_t Unit(wchar_t c) {
    return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
}

/// The character at `at`, which moves past it; a pair is joined, a lone surrogate handed on.
template <class Text>
char32_t Next(const Text& text, std::size_t& at) {
    const char32_t first = Unit(static_cast<wchar_t>(text[at++]));
    if (!IsHighSurrogate(first) || at == text.size()) return first;
    const char32_t second = Unit(static_cast<wchar_t>(text[at]));
    if (!IsLowSurrogate(second)) return first;
    ++at;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void AppendUtf8(std::string& out, char32_t c) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0 | (c >> 12));
        } else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

template <class Wide>
void AppendWide(Wide& out, char32_t c) {
    using Char = typename Wide::value_type;
    if (sizeof(Char) == 2 && c > 0xFFFF) {
        out.push_back(static_cast<Char>(0xD800 + ((c - 0x10000) >> 10)));
        c = 0xDC00 + ((c - 0x10000) & 0x3FF);
    }
    out.push_back(static_cast<Char>(c));
}

/// The length of the well-formed UTF-8 sequence at `at`, with its character; 0 when there is none
/// (overlong forms, surrogates and values past U+10FFFF are none).
std::size_t Decode(std::string_view bytes, std::size_t at, char32_t& character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || bytes.size() - at < length) return 0;
    character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        character = (character << 6) | (byte(i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool wellFormed = character >= kSmallest[length] && character <= 0x10FFFF &&
                            !IsHighSurrogate(character) && !IsLowSurrogate(character);
    return wellFormed ? length : 0;
}

/// Letters whose upper-case form lies `distance` below; with `step` 2, upper and lower alternate.
struct CaseRange {
    char16_t first, last, step, distance;
};
constexpr CaseRange kLowerCase[] = {
    {0x0061, 0x007A, 1, 32}, {0x00E0, 0x00F6, 1, 32}, {0x00F8, 0x00FE, 1, 32},
    {0x0101, 0x012F, 2, 1},  {0x0133, 0x0137, 2, 1},  {0x013A, 0x0148, 2, 1},
    {0x014B, 0x0177, 2, 1},  {0x017A, 0x017E, 2, 1},  {0x01A1, 0x01A5, 2, 1},
    {0x01B0, 0x01B0, 1, 1},  {0x01CE, 0x01DC, 2, 1},  {0x01DF, 0x01EF, 2, 1},
    {0x01F9, 0x021F, 2, 1},  {0x0223, 0x0233, 2, 1},  {0x03AC, 0x03AC, 1, 38},
    {0x03AD, 0x03AF, 1, 37}, {0x03B1, 0x03C1, 1, 32}, {0x03C2, 0x03C2, 1, 31},
    {0x03C3, 0x03CB, 1, 32}, {0x03CC, 0x03CC, 1, 64}, {0x03CD, 0x03CE, 1, 63},
    {0x0430, 0x044F, 1, 32}, {0x0450, 0x045F, 1, 80}, {0x0461, 0x0481, 2, 1},
    {0x048B, 0x04BF, 2, 1},  {0x04C2, 0x04CE, 2, 1},  {0x04D1, 0x052F, 2, 1},
    {0x1E01, 0x1E95, 2, 1},  {0x1EA1, 0x1EFF, 2, 1},
};

wchar_t UpperCase(wchar_t c) {
    const char32_t unit = Unit(c);
    for (const CaseRange& range : kLowerCase) {
        if (unit < range.first) break;
        if (unit <= range.last && (unit - range.first) % range.step == 0) {
            return static_cast<wchar_t>(unit - range.distance);
        }
    }
    if (unit == 0x00FF) return static_cast<wchar_t>(0x0178);
    return c;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = Next(text, at);
        if (IsEscapedByte(c)) {
            out.push_back(static_cast<char>(c - 0xDC00));
        } else {
            const bool encodable = c <= 0x10FFFF && !IsHighSurrogate(c) && !IsLowSurrogate(c);
            AppendUtf8(out, encodable ? c : kReplacement);
        }
    }
    return out;
}

CString FromUtf8(std::string_view bytes) {
    CString out;
    out.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        char32_t character = 0;
        const std::size_t length = Decode(bytes, at, character);
        AppendWide(out, length != 0 ? character : 0xDC00u + static_cast<unsigned char>(bytes[at]));
        at += length != 0 ? length : 1;
    }
    return out;
}

std::u16string ToUtf16(std::wstring_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (const wchar_t wide : text) {
        const char32_t c = Unit(wide);
        AppendWide(out, c <= 0x10FFFF ? c : kReplacement);
    }
    return out;
}

CString FromUtf16(std::u16string_view units) {
    CString out;
    out.reserve(units.size());
    for (std::size_t at = 0; at < units.size();) {
        if constexpr (kWideIsUtf16) {
            out.push_back(static_cast<wchar_t>(units[at++]));
        } else {
            AppendWide(out, Next(units, at));
        }
    }
    return out;
}

CString FoldCase(std::wstring_view text) {
    CString out(text);
    std::transform(out.begin(), out.end(), out.begin(), UpperCase);
    return out;
}

bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return UpperCase(x) == UpperCase(y); });
}

}  // namespace orvix::platform
