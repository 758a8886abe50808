// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "output/drawing/canvas.h"

namespace orvix::output {

/// Points drawn as discs, the nearest to the viewer on top, shaded by how much deeper they lie
/// than what surrounds them on the picture (eye-dome lighting), so that shapes show without any
/// normals.
///
///     SplatLayer layer(panel);
///     layer.Add({x, y}, depth, colour, radius);
///     layer.Shade(0.5);
///     layer.DrawOnto(canvas);
///
/// Units  pixels of the finished picture; depth in metres, larger is farther away.
class SplatLayer {
public:
    explicit SplatLayer(const PixelRect& area);

    void Add(Pixel2 at, double depth, Colour colour, double radius);
    /// The depths of every `stride`-th of the samples that are covered, by rows.
    [[nodiscard]] std::vector<double> Depths(std::size_t stride) const;
    /// Gives covered samples the colour of their depth instead of their point's.
    void Paint(const std::function<Colour(double depth)>& colourOf);
    /// Darkens a sample the more, the more of its surroundings lie nearer; `reach` metres nearer
    /// darken in full.
    void Shade(double reach);
    void DrawOnto(Canvas& canvas) const;

private:
    struct Sample {
        float depth;
        Colour colour;
    };

    [[nodiscard]] double ShadeAt(int x, int y, double reach) const;

    int left_;
    int top_;
    int width_;
    int height_;
    std::vector<Sample> samples_;
};

}  // namespace orvix::output
