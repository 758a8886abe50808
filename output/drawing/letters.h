// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::output {

/// A letter of DejaVu Sans as a mask: how much of each sample it covers, 0 to 255.
///
/// Shape  rows from the top; `left` and `top` lead from the pen on the base line to the first
///        sample, so that `top` is below 0 for most letters.
/// Source stb_truetype (S. Barrett), public domain; the typeface and its terms are in font/.
struct Letter {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> coverage;
};

/// Height of a capital, as a share of the size.
inline constexpr double kCapitalHeight = 1493.0 / 2048;

/// UTF-8 text as code points. Bytes that are no UTF-8 come out as ones that no letter has.
std::u32string LettersOf(std::string_view text);

/// From a letter's pen to the next one's, as a share of the size.
double AdvanceOf(char32_t letter);

/// Draws a letter, `size` samples high (the typeface's em; a capital is kCapitalHeight of it).
///
/// Boundaries a letter that the typeface lacks is drawn as U+FFFD, a question mark in a lozenge.
/// Order      the same coverage on every system.
Letter DrawLetter(char32_t letter, double size);

}  // namespace orvix::output
