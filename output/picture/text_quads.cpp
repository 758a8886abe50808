// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/text_quads.h"

#include <stb_easy_font.h>

#include <array>
#include <cstring>

namespace orvix::output {

namespace {

struct Corner {
    float x, y, z;
    std::array<unsigned char, 4> colour;
};
static_assert(sizeof(Corner) == 16);

}  // namespace

std::vector<TextQuad> QuadsOf(const std::string& text) {
    std::string line = text;  // the font takes a pointer to text that it may change
    std::vector<Corner> corners(text.size() * 20 * 4 + 4);
    const int count = stb_easy_font_print(0, 0, line.data(), nullptr, corners.data(),
                                          static_cast<int>(corners.size() * sizeof(Corner)));
    std::vector<TextQuad> quads;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const Corner& first = corners[4 * i];
        const Corner& last = corners[4 * i + 2];
        quads.push_back({first.x, first.y, last.x - first.x, last.y - first.y});
    }
    return quads;
}

double QuadsWidth(const std::string& text) {
    std::string line = text;
    return stb_easy_font_width(line.data());
}

}  // namespace orvix::output
