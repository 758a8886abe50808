// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/sight/sight_image.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>

namespace orvix::building {
namespace {

using detail::Length, detail::operator-;

// Distances are above zero, and such floats are in the order of their bits.
void Lower(float& kept, float value) {
    const std::atomic_ref<float> place(kept);
    float old = place.load(std::memory_order_relaxed);
    while (value < old && !place.compare_exchange_weak(old, value, std::memory_order_relaxed)) {
    }
}

void Raise(float& kept, float value) {
    const std::atomic_ref<float> place(kept);
    float old = place.load(std::memory_order_relaxed);
    while (value > old && !place.compare_exchange_weak(old, value, std::memory_order_relaxed)) {
    }
}

}  // namespace

SightImage::SightImage(const SimplePointT<double>& station, std::uint32_t pixels)
    : station_(station), pixels_(pixels), sights_(std::size_t{6} * pixels * pixels) {}

SightImage::Pixel SightImage::PixelOf(const SimplePointT<double>& away) const {
    const double x = std::abs(away.x), y = std::abs(away.y), z = std::abs(away.z);
    std::uint32_t side = 0;
    double depth = x, u = away.y, v = away.z;
    bool back = away.x < 0;
    if (y > x && y >= z) {
        side = 2, depth = y, u = away.x, v = away.z, back = away.y < 0;
    } else if (z > x && z > y) {
        side = 4, depth = z, u = away.x, v = away.y, back = away.z < 0;
    }
    const auto place = [&](double across) {
        const double pixel = (across / depth + 1) * 0.5 * pixels_;
        return std::min(pixels_ - 1, static_cast<std::uint32_t>(std::max(0.0, pixel)));
    };
    return {side + (back ? 1U : 0U), place(u), place(v)};
}

std::size_t SightImage::PlaceOf(const Pixel& pixel) const {
    return (std::size_t{pixel.side} * pixels_ + pixel.y) * pixels_ + pixel.x;
}

void SightImage::Add(const SimplePointT<double>& place) {
    const SimplePointT<double> away = place - station_;
    const double distance = Length(away);
    if (!(distance > 0)) return;
    Sight& sight = sights_[PlaceOf(PixelOf(away))];
    Lower(sight.nearest, static_cast<float>(distance));
    Raise(sight.farthest, static_cast<float>(distance));
}

void SightImage::Coarsen() {
    constexpr std::uint32_t kFewestPixels = 40;
    while (pixels_ >= 2 * kFewestPixels && pixels_ % 2 == 0) {
        SightImage half(station_, pixels_ / 2);
        std::size_t filled = 0;
        for (std::uint32_t side = 0; side < 6; ++side)
            for (std::uint32_t y = 0; y < pixels_; ++y)
                for (std::uint32_t x = 0; x < pixels_; ++x) {
                    const Sight& fine = sights_[PlaceOf({side, x, y})];
                    if (!fine.Any()) continue;
                    ++filled;
                    Sight& coarse = half.sights_[half.PlaceOf({side, x / 2, y / 2})];
                    coarse.nearest = std::min(coarse.nearest, fine.nearest);
                    coarse.farthest = std::max(coarse.farthest, fine.farthest);
                }
        const auto blocks = static_cast<std::size_t>(std::count_if(
            half.sights_.begin(), half.sights_.end(), [](const Sight& s) { return s.Any(); }));
        if (filled * 10 >= blocks * 16) return;
        *this = std::move(half);
    }
}

Sight SightImage::Towards(const SimplePointT<double>& place) const {
    const SimplePointT<double> away = place - station_;
    if (away.x == 0 && away.y == 0 && away.z == 0) return {};
    const Pixel pixel = PixelOf(away);
    const Sight sight = sights_[PlaceOf(pixel)];
    if (sight.Any()) return sight;
    Sight around;
    const auto take = [&](const Pixel& beside) {
        const Sight& other = sights_[PlaceOf(beside)];
        around.nearest = std::min(around.nearest, other.nearest);
        around.farthest = std::max(around.farthest, other.farthest);
    };
    if (pixel.x > 0) take({pixel.side, pixel.x - 1, pixel.y});
    if (pixel.x + 1 < pixels_) take({pixel.side, pixel.x + 1, pixel.y});
    if (pixel.y > 0) take({pixel.side, pixel.x, pixel.y - 1});
    if (pixel.y + 1 < pixels_) take({pixel.side, pixel.x, pixel.y + 1});
    return around;
}

}  // namespace orvix::building
