// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/printable.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace orvix::cli {

namespace {

struct Letter {
    std::uint32_t code = 0;
    std::size_t bytes = 0;  // 0: no letter of UTF-8
};

std::uint32_t ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// Longer spellings than needed, surrogates and numbers past the last letter are none.
Letter LetterAt(std::string_view text, std::size_t at) {
    const std::uint32_t first = ByteAt(text, at);
    if (first < 0x80) return {first, 1};
    const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || bytes > text.size() - at) return {};
    std::uint32_t code = first & (0xFFu >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((ByteAt(text, at + i) & 0xC0) != 0x80) return {};
        code = code << 6 | (ByteAt(text, at + i) & 0x3F);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kLeast[bytes] || surrogate || code > 0x10FFFF ? Letter{} : Letter{code, bytes};
}

bool IsObeyed(std::uint32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool direction = (code >= 0x200E && code <= 0x200F) ||
                           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return control || direction;
}

// BEHAVIOUR C14
std::string SpeltOut(std::string_view text, std::string_view kept) {
    std::string printable;
    printable.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Letter letter = LetterAt(text, at);
        const std::size_t bytes = letter.bytes == 0 ? 1 : letter.bytes;
        if (letter.bytes == 0 || (IsObeyed(letter.code) && letter.code < 0x80 &&
                                  kept.find(text[at]) == std::string_view::npos)) {
            fmt::format_to(std::back_inserter(printable), "\\x{:02x}", ByteAt(text, at));
        } else if (IsObeyed(letter.code) && letter.code >= 0x80) {
            fmt::format_to(std::back_inserter(printable), "\\u{:04x}", letter.code);
        } else {
            printable.append(text, at, bytes);
        }
        at += bytes;
    }
    return printable;
}

}  // namespace

std::string Printable(std::string_view text) {
    return SpeltOut(text, "\n\t");
}

std::string PrintableName(std::string_view name) {
    return SpeltOut(name, {});
}

}  // namespace orvix::cli
