// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "output/colour.h"
#include "output/drawing/letters.h"

namespace orvix::output {

struct Pixel2 {
    double x = 0;
    double y = 0;
};

struct PixelRect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
};

enum class Align { Left, Centre, Right };

/// A picture to draw on: x goes right, y goes down, in pixels of the finished picture.
///
/// It holds two samples per pixel along each axis, and edges cover samples in part, so that lines
/// and letters come out smooth.
///
///     Canvas canvas(1600, 900, kWhite);
///     canvas.Line({10, 10}, {200, 80}, 1.5, kInk);
///     canvas.Text({10, 20}, "Face on", 18, kInk);
///     WritePng(path, canvas);
///
/// Boundaries what falls outside is cut off.
class Canvas {
public:
    static constexpr int kSamples = 2;  // along each axis of a pixel

    Canvas(int width, int height, Colour background);

    void FillRect(const PixelRect& rect, Colour colour);
    void Frame(const PixelRect& rect, double width, Colour colour);
    void Line(Pixel2 from, Pixel2 to, double width, Colour colour);
    void Disc(Pixel2 centre, double radius, Colour colour);
    /// What an odd number of the rings holds: an outer ring, and holes in it.
    void FillRings(const std::vector<std::vector<Pixel2>>& rings, Colour colour);
    /// UTF-8 text, its capitals' top at `at`; `size` is the em of the letters: a capital is almost
    /// three quarters of it high.
    void Text(Pixel2 at, std::string_view text, double size, Colour colour,
              Align align = Align::Left);
    /// The same, turned to the left by a quarter around `at`: it reads from below to above.
    void TextUpward(Pixel2 at, std::string_view text, double size, Colour colour,
                    Align align = Align::Left);

    [[nodiscard]] int Width() const { return width_; }
    [[nodiscard]] int Height() const { return height_; }
    /// One sample, at sample coordinates (kSamples per pixel).
    void Blend(int x, int y, Colour colour, double coverage);
    /// The finished picture: rows from the top, three bytes per pixel.
    [[nodiscard]] std::vector<std::uint8_t> Finish() const;

private:
    const Letter& LetterOf(char32_t letter, double size);
    void BlendLetter(const Letter& letter, int penX, int penY, Colour colour);
    void BlendUpward(const Letter& letter, int penX, int penY, Colour colour);

    int width_;
    int height_;
    std::vector<Colour> samples_;
    std::map<std::pair<char32_t, double>, Letter> letters_;  // drawn so far, by letter and size
};

/// From the start of a text to where the next letter would start, in pixels.
double TextWidth(std::string_view text, double size);

}  // namespace orvix::output
