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
