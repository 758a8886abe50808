// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/canvas.h"

#include <algorithm>
#include <cmath>

namespace orvix::output {

namespace {

// Part of the sample [at, at + 1) that lies in [low, high).
double Overlap(int at, double low, double high) {
    return std::clamp(std::min(high, at + 1.0) - std::max(low, at * 1.0), 0.0, 1.0);
}

std::uint8_t Mix(std::uint8_t under, std::uint8_t over, double coverage) {
    return static_cast<std::uint8_t>(std::lround(under + (over - under) * coverage));
}

// Whether whole pixels can say where a place is. One of a view of nothing is not a number.
bool IsNear(Pixel2 at) {
    constexpr double kFar = 1e6;
    return std::abs(at.x) < kFar && std::abs(at.y) < kFar;
}

// Coverage from 0 to 255.
std::uint8_t MixWhole(std::uint8_t under, std::uint8_t over, std::uint8_t coverage) {
    return static_cast<std::uint8_t>((under * (255 - coverage) + over * coverage + 127) / 255);
}

double SquaredLength(Pixel2 v) {
    return v.x * v.x + v.y * v.y;
}

}  // namespace

double TextWidth(std::string_view text, double size) {
    double width = 0;
    for (const char32_t letter : LettersOf(text)) width += AdvanceOf(letter) * size;
    return width;
}

Canvas::Canvas(int width, int height, Colour background)
    : width_(width),
      height_(height),
      samples_(static_cast<std::size_t>(width) * kSamples * height * kSamples, background) {}

void Canvas::Blend(int x, int y, Colour colour, double coverage) {
    if (x < 0 || y < 0 || x >= width_ * kSamples || y >= height_ * kSamples || coverage <= 0)
        return;
    Colour& sample = samples_[static_cast<std::size_t>(y) * width_ * kSamples + x];
    sample = {Mix(sample.r, colour.r, coverage), Mix(sample.g, colour.g, coverage),
              Mix(sample.b, colour.b, coverage)};
}

void Canvas::FillRect(const PixelRect& rect, Colour colour) {
    const double left = rect.left * kSamples, right = left + rect.width * kSamples;
    const double top = rect.top * kSamples, bottom = top + rect.height * kSamples;
    for (int y = static_cast<int>(std::floor(top)); y < bottom; ++y)
        for (int x = static_cast<int>(std::floor(left)); x < right; ++x)
            Blend(x, y, colour, Overlap(x, left, right) * Overlap(y, top, bottom));
}

void Canvas::Frame(const PixelRect& rect, double width, Colour colour) {
    FillRect({rect.left, rect.top, rect.width, width}, colour);
    FillRect({rect.left, rect.top + rect.height - width, rect.width, width}, colour);
    FillRect({rect.left, rect.top, width, rect.height}, colour);
    FillRect({rect.left + rect.width - width, rect.top, width, rect.height}, colour);
}

void Canvas::Line(Pixel2 from, Pixel2 to, double width, Colour colour) {
    const Pixel2 a{from.x * kSamples, from.y * kSamples};
    const Pixel2 along{to.x * kSamples - a.x, to.y * kSamples - a.y};
    const double half = width * kSamples / 2;
    const double squared = SquaredLength(along);
    const int bottom = static_cast<int>(std::ceil(std::max(a.y, a.y + along.y) + half + 1));
    const int right = static_cast<int>(std::ceil(std::max(a.x, a.x + along.x) + half + 1));
    for (int y = static_cast<int>(std::min(a.y, a.y + along.y) - half - 1); y < bottom; ++y) {
        for (int x = static_cast<int>(std::min(a.x, a.x + along.x) - half - 1); x < right; ++x) {
            const Pixel2 p{x + 0.5 - a.x, y + 0.5 - a.y};
            const double dot = p.x * along.x + p.y * along.y;
            const double t = squared > 0 ? std::clamp(dot / squared, 0.0, 1.0) : 0.0;
            const Pixel2 off{p.x - t * along.x, p.y - t * along.y};
            const double distance = std::sqrt(SquaredLength(off));
            Blend(x, y, colour, std::clamp(half + 0.5 - distance, 0.0, 1.0));
        }
    }
}

void Canvas::Disc(Pixel2 centre, double radius, Colour colour) {
    Line(centre, centre, 2 * radius, colour);
}

// Each row of samples is four lines, each of which covers stretches of it.
void Canvas::FillRings(const std::vector<std::vector<Pixel2>>& rings, Colour colour) {
    constexpr int kLines = 4;
    double top = 1e300, bottom = -1e300;
    for (const auto& ring : rings)
        for (const Pixel2& p : ring) {
            top = std::min(top, p.y * kSamples);
            bottom = std::max(bottom, p.y * kSamples);
        }
    const int end = static_cast<int>(std::min(bottom + 1, height_ * 1.0 * kSamples));
    std::vector<double> crossed, cover(static_cast<std::size_t>(width_) * kSamples);
    for (int y = static_cast<int>(std::max(top, 0.0)); y < end; ++y) {
        std::fill(cover.begin(), cover.end(), 0.0);
        for (int line = 0; line < kLines; ++line) {
            const double at = y + (line + 0.5) / kLines;
            crossed.clear();
            for (const auto& ring : rings)
                for (std::size_t i = 0; i < ring.size(); ++i) {
                    const Pixel2 &a = ring[i], &b = ring[(i + 1) % ring.size()];
                    const double from = a.y * kSamples - at, to = b.y * kSamples - at;
                    if ((from > 0) != (to > 0))
                        crossed.push_back((a.x + (b.x - a.x) * (from / (from - to))) * kSamples);
                }
            std::sort(crossed.begin(), crossed.end());
            for (std::size_t i = 0; i + 1 < crossed.size(); i += 2) {
                const double low = std::max(crossed[i], 0.0);
                const double high = std::min(crossed[i + 1], width_ * 1.0 * kSamples);
                for (int x = static_cast<int>(low); x < high; ++x)
                    cover[x] += Overlap(x, low, high) / kLines;
            }
        }
        for (int x = 0; x < width_ * kSamples; ++x) Blend(x, y, colour, cover[x]);
    }
}

const Letter& Canvas::LetterOf(char32_t letter, double size) {
    auto drawn = letters_.find({letter, size});
    if (drawn == letters_.end())
        drawn =
            letters_.emplace(std::pair(letter, size), DrawLetter(letter, size * kSamples)).first;
    return drawn->second;
}

void Canvas::BlendUpward(const Letter& letter, int penX, int penY, Colour colour) {
    for (int y = 0; y < letter.height; ++y)
        for (int x = 0; x < letter.width; ++x) {
            const std::uint8_t share =
                letter.coverage[static_cast<std::size_t>(y) * letter.width + x];
            Blend(penX + letter.top + y, penY - letter.left - x - 1, colour, share / 255.0);
        }
}

void Canvas::TextUpward(Pixel2 at, std::string_view text, double size, Colour colour, Align align) {
    if (!IsNear(at)) return;
    if (align == Align::Right) at.y += TextWidth(text, size);
    if (align == Align::Centre) at.y += TextWidth(text, size) / 2;
    double pen = at.y * kSamples;
    const double baseLine = (at.x + kCapitalHeight * size) * kSamples;
    for (const char32_t letter : LettersOf(text)) {
        BlendUpward(LetterOf(letter, size), static_cast<int>(std::floor(baseLine + 0.5)),
                    static_cast<int>(std::floor(pen + 0.5)), colour);
        pen -= AdvanceOf(letter) * size * kSamples;
    }
}

void Canvas::BlendLetter(const Letter& letter, int penX, int penY, Colour colour) {
    const int left = penX + letter.left, top = penY + letter.top;
    const int firstX = std::max(0, -left), endX = std::min(letter.width, width_ * kSamples - left);
    const int firstY = std::max(0, -top), endY = std::min(letter.height, height_ * kSamples - top);
    for (int y = firstY; y < endY; ++y) {
        for (int x = firstX; x < endX; ++x) {
            const std::uint8_t share =
                letter.coverage[static_cast<std::size_t>(y) * letter.width + x];
            Colour& sample =
                samples_[static_cast<std::size_t>(top + y) * width_ * kSamples + left + x];
            sample = {MixWhole(sample.r, colour.r, share), MixWhole(sample.g, colour.g, share),
                      MixWhole(sample.b, colour.b, share)};
        }
    }
}

void Canvas::Text(Pixel2 at, std::string_view text, double size, Colour colour, Align align) {
    if (!IsNear(at)) return;
    if (align == Align::Right) at.x -= TextWidth(text, size);
    if (align == Align::Centre) at.x -= TextWidth(text, size) / 2;
    double pen = at.x * kSamples;
    const double baseLine = (at.y + kCapitalHeight * size) * kSamples;
    for (const char32_t letter : LettersOf(text)) {
        BlendLetter(LetterOf(letter, size), static_cast<int>(std::floor(pen + 0.5)),
                    static_cast<int>(std::floor(baseLine + 0.5)), colour);
        pen += AdvanceOf(letter) * size * kSamples;
    }
}

std::vector<std::uint8_t> Canvas::Finish() const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(width_) * height_ * 3);
    constexpr int kShare = kSamples * kSamples;
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            int r = kShare / 2, g = kShare / 2, b = kShare / 2;
            for (int s = 0; s < kShare; ++s) {
                const std::size_t row = static_cast<std::size_t>(y) * kSamples + s / kSamples;
                const Colour& c = samples_[row * width_ * kSamples + x * kSamples + s % kSamples];
                r += c.r, g += c.g, b += c.b;
            }
            for (const int sum : {r, g, b})
                bytes.push_back(static_cast<std::uint8_t>(sum / kShare));
        }
    }
    return bytes;
}

}  // namespace orvix::output
