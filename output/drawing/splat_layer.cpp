// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/splat_layer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace orvix::output {

namespace {

constexpr float kNothing = std::numeric_limits<float>::infinity();
constexpr int kShadeDistance = 3;  // samples

constexpr std::array<std::array<int, 2>, 8> kAround{
    {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {1, -1}, {-1, 1}, {-1, -1}}};

std::uint8_t Darken(std::uint8_t value, double factor) {
    return static_cast<std::uint8_t>(std::lround(value * factor));
}

}  // namespace

SplatLayer::SplatLayer(const PixelRect& area)
    : left_(static_cast<int>(area.left * Canvas::kSamples)),
      top_(static_cast<int>(area.top * Canvas::kSamples)),
      width_(static_cast<int>(area.width * Canvas::kSamples)),
      height_(static_cast<int>(area.height * Canvas::kSamples)),
      samples_(static_cast<std::size_t>(width_) * height_, Sample{kNothing, {}}) {}

void SplatLayer::Add(Pixel2 at, double depth, Colour colour, double radius) {
    const double x = at.x * Canvas::kSamples - left_, y = at.y * Canvas::kSamples - top_;
    const double reach = std::max(radius * Canvas::kSamples, 0.5);
    if (!(x > -reach && y > -reach && x < width_ + reach && y < height_ + reach)) return;
    // Cut off towards zero, which takes in a sample too many at the rim; the disc leaves it out.
    const int top = std::max(0, static_cast<int>(y - reach + 0.5));
    const int bottom = std::min(height_ - 1, static_cast<int>(y + reach - 0.5));
    const int first = std::max(0, static_cast<int>(x - reach + 0.5));
    const int last = std::min(width_ - 1, static_cast<int>(x + reach - 0.5));
    for (int row = top; row <= bottom; ++row) {
        for (int column = first; column <= last; ++column) {
            Sample& sample = samples_[static_cast<std::size_t>(row) * width_ + column];
            if (depth >= sample.depth) continue;
            const double dx = column + 0.5 - x, dy = row + 0.5 - y;
            if (dx * dx + dy * dy > reach * reach) continue;
            sample = {static_cast<float>(depth), colour};
        }
    }
}

std::vector<double> SplatLayer::Depths(std::size_t stride) const {
    std::vector<double> depths;
    std::size_t covered = 0;
    for (const Sample& sample : samples_)
        if (sample.depth != kNothing && covered++ % stride == 0) depths.push_back(sample.depth);
    return depths;
}

void SplatLayer::Paint(const std::function<Colour(double depth)>& colourOf) {
    for (Sample& sample : samples_)
        if (sample.depth != kNothing) sample.colour = colourOf(sample.depth);
}

double SplatLayer::ShadeAt(int x, int y, double reach) const {
    const float depth = samples_[static_cast<std::size_t>(y) * width_ + x].depth;
    double sum = 0;
    for (const auto& [dx, dy] : kAround) {
        const int column = x + dx * kShadeDistance, row = y + dy * kShadeDistance;
        if (column < 0 || row < 0 || column >= width_ || row >= height_) continue;
        const float other = samples_[static_cast<std::size_t>(row) * width_ + column].depth;
        if (other < depth) sum += std::min((depth - other) / reach, 1.0);
    }
    return std::exp(-1.4 * sum / kAround.size());
}

void SplatLayer::Shade(double reach) {
    std::vector<Colour> shaded(samples_.size());
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            const std::size_t at = static_cast<std::size_t>(y) * width_ + x;
            if (samples_[at].depth == kNothing) continue;
            const double factor = ShadeAt(x, y, reach);
            const Colour c = samples_[at].colour;
            shaded[at] = {Darken(c.r, factor), Darken(c.g, factor), Darken(c.b, factor)};
        }
    }
    for (std::size_t i = 0; i < samples_.size(); ++i) samples_[i].colour = shaded[i];
}

void SplatLayer::DrawOnto(Canvas& canvas) const {
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            const Sample& sample = samples_[static_cast<std::size_t>(y) * width_ + x];
            if (sample.depth != kNothing) canvas.Blend(left_ + x, top_ + y, sample.colour, 1.0);
        }
    }
}

}  // namespace orvix::output
