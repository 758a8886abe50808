// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/letters.h"

#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb_truetype.h>

#include <PictureFont.h>

#include "orvix/platform/text.h"

namespace orvix::output {

namespace {

constexpr int kUnitsPerEm = 2048;
constexpr char32_t kReplacement = 0xFFFD;

const stbtt_fontinfo& Typeface() {
    static const stbtt_fontinfo typeface = [] {
        stbtt_fontinfo info;
        const unsigned char* bytes = embedded::PictureFont().data();
        stbtt_InitFont(&info, bytes, stbtt_GetFontOffsetForIndex(bytes, 0));
        return info;
    }();
    return typeface;
}

int GlyphOf(char32_t letter) {
    const int glyph = stbtt_FindGlyphIndex(&Typeface(), static_cast<int>(letter));
    return glyph != 0 ? glyph : stbtt_FindGlyphIndex(&Typeface(), kReplacement);
}

}  // namespace

std::u32string LettersOf(std::string_view text) {
    std::u32string letters;
    for (const char16_t unit : platform::ToUtf16(platform::FromUtf8(text))) {
        const bool second = (unit & 0xFC00) == 0xDC00;
        if (second && !letters.empty() && (letters.back() & ~char32_t{0x3FF}) == 0xD800)
            letters.back() = 0x10000 + ((letters.back() & 0x3FF) << 10) + (unit & 0x3FF);
        else
            letters += unit;
    }
    return letters;
}

double AdvanceOf(char32_t letter) {
    int advance = 0, bearing = 0;
    stbtt_GetGlyphHMetrics(&Typeface(), GlyphOf(letter), &advance, &bearing);
    return static_cast<double>(advance) / kUnitsPerEm;
}

Letter DrawLetter(char32_t letter, double size) {
    const float scale = static_cast<float>(size) / kUnitsPerEm;
    const int glyph = GlyphOf(letter);
    Letter drawn;
    int right = 0, bottom = 0;
    stbtt_GetGlyphBitmapBox(&Typeface(), glyph, scale, scale, &drawn.left, &drawn.top, &right,
                            &bottom);
    drawn.width = right - drawn.left;
    drawn.height = bottom - drawn.top;
    drawn.coverage.resize(static_cast<std::size_t>(drawn.width) * drawn.height);
    if (!drawn.coverage.empty())
        stbtt_MakeGlyphBitmap(&Typeface(), drawn.coverage.data(), drawn.width, drawn.height,
                              drawn.width, scale, scale, glyph);
    return drawn;
}

}  // namespace orvix::output
