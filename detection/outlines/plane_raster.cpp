// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/plane_raster.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr std::int64_t kMargin = 3;  // pixels: closing needs an empty rim

}  // namespace

PlaneRaster::PlaneRaster(const Extends2DT<double>& bounds, double pixel, unsigned parts)
    : left_(bounds.min.x - kMargin * pixel),
      bottom_(bounds.min.y - kMargin * pixel),
      pixel_(pixel / parts),
      pixelsPerMetre_(parts / pixel),
      parts_(parts),
      width_((static_cast<std::int64_t>((bounds.max.x - bounds.min.x) / pixel) + 1 + 2 * kMargin) *
             parts),
      height_((static_cast<std::int64_t>((bounds.max.y - bounds.min.y) / pixel) + 1 + 2 * kMargin) *
              parts),
      words_(static_cast<std::size_t>((width_ + 63) / 64)),
      bits_(words_ * static_cast<std::size_t>(height_)) {}

PlaneRaster PlaneRaster::Coarser() const {
    PlaneRaster coarser;
    coarser.left_ = left_;
    coarser.bottom_ = bottom_;
    coarser.pixel_ = pixel_ * parts_;
    coarser.pixelsPerMetre_ = pixelsPerMetre_ / parts_;
    coarser.width_ = width_ / parts_;
    coarser.height_ = height_ / parts_;
    coarser.words_ = static_cast<std::size_t>((coarser.width_ + 63) / 64);
    coarser.bits_.resize(coarser.words_ * static_cast<std::size_t>(coarser.height_));
    for (std::int64_t row = 0; row < height_; ++row) {
        const std::size_t first = static_cast<std::size_t>(row / parts_) * coarser.words_;
        for (std::size_t word = 0; word < words_; ++word) {
            for (std::uint64_t bits = Word(row, word); bits != 0; bits &= bits - 1) {
                const std::int64_t column =
                    (static_cast<std::int64_t>(word) * 64 + std::countr_zero(bits)) / parts_;
                coarser.bits_[first + static_cast<std::size_t>(column >> 6)] |= std::uint64_t{1}
                                                                                << (column & 63);
            }
        }
    }
    return coarser;
}

double PlaneRaster::PixelsOf(const Extends2DT<double>& bounds, double pixel) {
    return ((bounds.max.x - bounds.min.x) / pixel + 7) *
           ((bounds.max.y - bounds.min.y) / pixel + 7);
}

// Every pixel takes in its eight neighbours; inverted, empty pixels spread.
void PlaneRaster::Dilate(bool inverted) {
    const std::uint64_t flip = inverted ? ~std::uint64_t{0} : 0;
    const auto widened = [&](std::int64_t row, std::vector<std::uint64_t>& out) {
        for (std::size_t i = 0; i < words_; ++i) {
            const std::uint64_t here = Word(row, i) ^ flip;
            const std::uint64_t before = i > 0 ? (Word(row, i - 1) ^ flip) >> 63 : flip >> 63;
            const std::uint64_t after =
                i + 1 < words_ ? (Word(row, i + 1) ^ flip) << 63 : flip << 63;
            out[i] = here | here << 1 | here >> 1 | before | after;
        }
    };
    std::vector<std::uint64_t> below(words_, flip), here(words_), above(words_);
    if (height_ > 0) widened(0, here);
    for (std::int64_t row = 0; row < height_; ++row) {
        if (row + 1 < height_) {
            widened(row + 1, above);
        } else {
            std::fill(above.begin(), above.end(), flip);
        }
        for (std::size_t i = 0; i < words_; ++i)
            bits_[static_cast<std::size_t>(row) * words_ + i] =
                (below[i] | here[i] | above[i]) ^ flip;
        below.swap(here);
        here.swap(above);
    }
}

void PlaneRaster::CloseGaps() {
    Dilate(false);
    Dilate(true);
}

}  // namespace orvix::detection
