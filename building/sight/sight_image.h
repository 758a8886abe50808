// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "orvix/geometry/vector.h"

namespace orvix::building {

/// How near and how far a scanner's rays ended in about one direction.
struct Sight {
    float nearest = std::numeric_limits<float>::infinity();
    float farthest = 0;  ///< 0: no ray of that direction came back

    [[nodiscard]] bool Any() const { return farthest > 0; }
};

/// The distances at which one scanner's rays ended, as a picture on the six sides of a cube around
/// it: of any place, whether rays went through, ended there or before it.
///
///     SightImage image({0, 0, 1.5}, 500);
///     image.Add({4, 0, 1.5});
///     image.Towards({3, 0, 1.5}).farthest;  // 4: a ray went through that place
///
/// A cube's sides need divisions alone, which are the same bits on every system; a picture of angles
/// would not.
///
/// Units   metres; a pixel is 2 / pixels of the distance wide in the middle of a side, and 0.58 of that
///         angle in a corner.
/// Threads Add may run side by side: what a pixel holds is the least and greatest of all, whoever
///         came first. Towards, once all Adds have ended.
/// Memory  48 bytes times `pixels` squared.
class SightImage {
public:
    SightImage(const SimplePointT<double>& station, std::uint32_t pixels);

    void Add(const SimplePointT<double>& place);
    /// Of the pixel of a place; where no ray fell into it, of the four beside it.
    [[nodiscard]] Sight Towards(const SimplePointT<double>& place) const;
    /// Halves the pixels as often as rays fell into fewer than four tenths of those around them: a
    /// coarse scan leaves a fine picture full of holes. Once all Adds have ended.
    void Coarsen();
    [[nodiscard]] const SimplePointT<double>& Station() const { return station_; }

private:
    struct Pixel {
        std::uint32_t side = 0;
        std::uint32_t x = 0;
        std::uint32_t y = 0;
    };
    [[nodiscard]] Pixel PixelOf(const SimplePointT<double>& away) const;
    [[nodiscard]] std::size_t PlaceOf(const Pixel& pixel) const;

    SimplePointT<double> station_;
    std::uint32_t pixels_;
    std::vector<Sight> sights_;
};

}  // namespace orvix::building
