// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/mesh_layer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "output/drawing/panel.h"

namespace orvix::output {

namespace {

using detail::Vector, detail::Cross, detail::Dot, detail::Length, detail::operator-,
    detail::operator*, detail::operator+;

constexpr float kNothing = std::numeric_limits<float>::infinity();
constexpr float kStep = 0.06F;     // metres of depth that make a line
constexpr double kAmbient = 0.72;  // light from everywhere; the rest comes from the upper left
constexpr double kDirect = 0.36;
constexpr double kInkShare = 0.75;

Colour Lit(Colour colour, double light) {
    const auto lit = [light](std::uint8_t value) {
        return static_cast<std::uint8_t>(std::lround(std::min(255.0, value * light)));
    };
    return {lit(colour.r), lit(colour.g), lit(colour.b)};
}

// Faces that look nearly the same way have one number.
std::uint16_t SideOf(const Vector& normal) {
    const auto level = [](double value) { return static_cast<int>(std::lround(value * 4)) + 4; };
    return static_cast<std::uint16_t>((level(normal.x) * 9 + level(normal.y)) * 9 +
                                      level(normal.z));
}

}  // namespace

MeshLayer::MeshLayer(const PixelRect& area, const PictureView& view)
    : view_(view),
      left_(static_cast<int>(area.left * Canvas::kSamples)),
      top_(static_cast<int>(area.top * Canvas::kSamples)),
      width_(static_cast<int>(area.width * Canvas::kSamples)),
      height_(static_cast<int>(area.height * Canvas::kSamples)),
      samples_(static_cast<std::size_t>(width_) * height_, Sample{kNothing, 0, 0, {}}) {}

void MeshLayer::Add(const std::array<Vector, 3>& corners, Colour colour, std::uint16_t body,
                    double nearer) {
    const Vector across = Cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double length = Length(across);
    if (!(length > 0)) return;
    Vector normal = across * (1 / length);
    if (Dot(normal, view_.Toward()) < 0) normal = normal * -1;
    // In the view: right, up and toward the viewer.
    const Vector seen{view_.X(normal), view_.Y(normal), Dot(normal, view_.Toward())};
    const double light = std::max(0.0, Dot(seen, Vector{-0.48, 0.64, 0.6})) * kDirect + kAmbient;
    const Colour lit = Lit(colour, light);
    const std::uint16_t side = SideOf(normal);

    std::array<Pixel2, 3> p;
    std::array<double, 3> depth{};
    for (std::size_t k = 0; k < 3; ++k) {
        const Pixel2 at = view_.Place(corners[k]);
        p[k] = {at.x * Canvas::kSamples - left_, at.y * Canvas::kSamples - top_};
        depth[k] = view_.Depth(corners[k]) - nearer;
    }
    const double area =
        (p[1].x - p[0].x) * (p[2].y - p[0].y) - (p[1].y - p[0].y) * (p[2].x - p[0].x);
    if (area == 0) return;
    const auto bound = [](double value, int limit) {
        return static_cast<int>(std::clamp(value, 0.0, limit * 1.0));
    };
    const int firstX = bound(std::floor(std::min({p[0].x, p[1].x, p[2].x})), width_);
    const int endX = bound(std::ceil(std::max({p[0].x, p[1].x, p[2].x})), width_);
    const int firstY = bound(std::floor(std::min({p[0].y, p[1].y, p[2].y})), height_);
    const int endY = bound(std::ceil(std::max({p[0].y, p[1].y, p[2].y})), height_);
    for (int y = firstY; y < endY; ++y)
        for (int x = firstX; x < endX; ++x) {
            const Pixel2 at{x + 0.5, y + 0.5};
            std::array<double, 3> share{};
            bool inside = true;
            for (std::size_t k = 0; k < 3; ++k) {
                const Pixel2 &a = p[(k + 1) % 3], &b = p[(k + 2) % 3];
                share[k] = ((b.x - a.x) * (at.y - a.y) - (b.y - a.y) * (at.x - a.x)) / area;
                inside = inside && share[k] >= -1e-9;
            }
            if (!inside) continue;
            const auto here =
                static_cast<float>(share[0] * depth[0] + share[1] * depth[1] + share[2] * depth[2]);
            Sample& sample = samples_[static_cast<std::size_t>(y) * width_ + x];
            if (here < sample.depth) sample = {here, body, side, lit};
        }
}

// How much farther the same face is one sample on: it may run away from the viewer steeply.
float MeshLayer::SlopeAt(int x, int y, int dx, int dy) const {
    if (x + dx < 0 || y + dy < 0 || x + dx >= width_ || y + dy >= height_) return 0;
    const Sample& own = samples_[static_cast<std::size_t>(y) * width_ + x];
    const Sample& next = samples_[static_cast<std::size_t>(y + dy) * width_ + x + dx];
    const bool same = next.depth != kNothing && next.body == own.body && next.side == own.side;
    return same ? std::max(0.0F, next.depth - own.depth) : 0.0F;
}

// Of two neighbours the farther one has the line, so that it lies outside of the nearer body.
bool MeshLayer::IsEdge(int x, int y) const {
    const Sample& own = samples_[static_cast<std::size_t>(y) * width_ + x];
    constexpr std::array<std::array<int, 2>, 4> kAround{{{1, 0}, {-1, 0}, {0, 1}, {0, -1}}};
    for (const auto& [dx, dy] : kAround) {
        if (x + dx < 0 || y + dy < 0 || x + dx >= width_ || y + dy >= height_) continue;
        const Sample& other = samples_[static_cast<std::size_t>(y + dy) * width_ + x + dx];
        if (other.depth > own.depth) continue;
        if (other.depth != kNothing && own.depth - other.depth > kStep + SlopeAt(x, y, -dx, -dy))
            return true;
        if (own.depth != kNothing && (own.body != other.body || own.side != other.side))
            return true;
    }
    return false;
}

void MeshLayer::DrawOnto(Canvas& canvas) const {
    for (int y = 0; y < height_; ++y)
        for (int x = 0; x < width_; ++x) {
            const Sample& sample = samples_[static_cast<std::size_t>(y) * width_ + x];
            if (sample.depth != kNothing) canvas.Blend(left_ + x, top_ + y, sample.colour, 1);
            if (IsEdge(x, y)) canvas.Blend(left_ + x, top_ + y, kInk, kInkShare);
        }
}

}  // namespace orvix::output
