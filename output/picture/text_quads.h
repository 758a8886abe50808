// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace orvix::output {

/// A filled rectangle of a letter, in dots; a capital is 7 dots high, a line of text 12.
struct TextQuad {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// The rectangles that make up one line of ASCII text.
/// Source  stb_easy_font (S. Barrett), public domain.
std::vector<TextQuad> QuadsOf(const std::string& text);

/// Dots from the start of the text to where the next letter would start.
double QuadsWidth(const std::string& text);

}  // namespace orvix::output
