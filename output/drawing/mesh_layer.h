// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/drawing/picture_view.h"

namespace orvix::output {

/// Triangles drawn with the nearest on top, lit from the upper left, and lines of ink where one body
/// ends before another or a face turns.
///
///     MeshLayer layer(panel, view);
///     layer.Add({a, b, c}, kWallColour, 1);
///     layer.DrawOnto(canvas);
///
/// Units  the view's metres; both sides of a triangle are seen.
/// Order  what lies at one depth: the one added first.
/// Cost   the triangles' pixels.
class MeshLayer {
public:
    using Vector = detail::Vector;

    MeshLayer(const PixelRect& area, const PictureView& view);

    /// `body` numbers what needs no line within; `nearer` metres before its place, to lie on another.
    void Add(const std::array<Vector, 3>& corners, Colour colour, std::uint16_t body,
             double nearer = 0);
    void DrawOnto(Canvas& canvas) const;

private:
    struct Sample {
        float depth;
        std::uint16_t body;
        std::uint16_t side;  // which way its face looks, roughly
        Colour colour;
    };

    [[nodiscard]] float SlopeAt(int x, int y, int dx, int dy) const;
    [[nodiscard]] bool IsEdge(int x, int y) const;

    PictureView view_;
    int left_;
    int top_;
    int width_;
    int height_;
    std::vector<Sample> samples_;
};

}  // namespace orvix::output
