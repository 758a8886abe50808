// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::detection {

/// One bit for each square pixel of a plane: whether points lie in it.
///
///     PlaneRaster raster(bounds, 0.05);
///     raster.Mark({s, t});
///     raster.CloseGaps();
///
/// Units      metres, in the plane's 2D frame.
/// Order      the same marks give the same raster, in any order and from any thread.
/// Boundaries a margin of three whole pixels surrounds the bounds; a mark outside them is left out.
/// Threads    Mark may run side by side, the other calls may not.
/// Cost       one bit per pixel.
class PlaneRaster {
public:
    PlaneRaster() = default;
    /// `parts`: how many narrower pixels lie along each side of a pixel; Coarser() puts them together.
    PlaneRaster(const Extends2DT<double>& bounds, double pixel, unsigned parts = 1);

    /// The number of pixels that such a raster has.
    static double PixelsOf(const Extends2DT<double>& bounds, double pixel);

    void Mark(const SimplePoint2DT<double>& p) {
        const double column = (p.x - left_) * pixelsPerMetre_;
        const double row = (p.y - bottom_) * pixelsPerMetre_;
        if (!(column >= 0 && row >= 0 && column < 1e9 && row < 1e9)) return;
        const auto at = static_cast<std::int64_t>(column);
        if (at >= width_ || static_cast<std::int64_t>(row) >= height_) return;
        const std::size_t word =
            static_cast<std::size_t>(row) * words_ + static_cast<std::size_t>(at >> 6);
        const std::uint64_t bit = std::uint64_t{1} << (at & 63);
        std::atomic_ref<std::uint64_t> bits(bits_[word]);
        if ((bits.load(std::memory_order_relaxed) & bit) == 0)
            bits.fetch_or(bit, std::memory_order_relaxed);
    }
    /// The words that hold all pixels, row after row, as they are handed from one raster to another one
    /// of the same bounds.
    [[nodiscard]] std::size_t AllWords() const { return bits_.size(); }
    [[nodiscard]] std::uint64_t WordAt(std::size_t i) const { return bits_[i]; }
    void MarkWord(std::size_t i, std::uint64_t pixels) { bits_[i] |= pixels; }

    /// The raster of whole pixels, each marked where one of its parts is.
    [[nodiscard]] PlaneRaster Coarser() const;

    /// Fills gaps narrower than about two pixels and leaves the rims where they are.
    void CloseGaps();

    [[nodiscard]] bool At(std::int64_t column, std::int64_t row) const {
        const std::size_t word =
            static_cast<std::size_t>(row) * words_ + static_cast<std::size_t>(column >> 6);
        return (bits_[word] >> (column & 63) & 1) != 0;
    }
    [[nodiscard]] std::int64_t Width() const { return width_; }
    [[nodiscard]] std::int64_t Height() const { return height_; }
    [[nodiscard]] double Pixel() const { return pixel_; }
    /// The position of a pixel's lower left corner.
    [[nodiscard]] SimplePoint2DT<double> Corner(std::int64_t column, std::int64_t row) const {
        return {left_ + static_cast<double>(column) * pixel_,
                bottom_ + static_cast<double>(row) * pixel_};
    }
    /// Sixty-four pixels of a row at once; bit i is column 64 * word + i.
    [[nodiscard]] std::uint64_t Word(std::int64_t row, std::size_t word) const {
        return bits_[static_cast<std::size_t>(row) * words_ + word];
    }
    [[nodiscard]] std::size_t Words() const { return words_; }

private:
    void Dilate(bool inverted);

    double left_ = 0;
    double bottom_ = 0;
    double pixel_ = 1;
    double pixelsPerMetre_ = 1;
    unsigned parts_ = 1;
    std::int64_t width_ = 0;
    std::int64_t height_ = 0;
    std::size_t words_ = 0;  // per row
    std::vector<std::uint64_t> bits_;
};

}  // namespace orvix::detection
