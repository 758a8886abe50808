// SPDX-License-Identifier: GPL-3.0-or-later
// GridFrame::NumbersOf: loops over arrays, one step at a time, which compilers turn into vectors.
#include <algorithm>
#include <array>
#include <cstddef>

#include "importer/grid/grid_frame.h"

// Compilers that compile one function for more than the baseline; others take the baseline alone.
#if defined(__x86_64__) && defined(__GNUC__)
#define ORVIX_NUMBERS_AVX2 1
#define ORVIX_INLINED __attribute__((always_inline)) inline
#else
#define ORVIX_NUMBERS_AVX2 0
#define ORVIX_INLINED inline
#endif

namespace orvix::importer {
namespace {

constexpr std::size_t kAtOnce = 256;
constexpr double kMostBlocks = 8.8e12;  // 2^43, with room for kInsideKeys below 2^63

/// Some points along one axis, and their cells.
struct Axis {
    std::array<float, kAtOnce> coordinate;
    std::array<std::uint32_t, kAtOnce> block;   // the 1000 cm cell, from the frame's first
    std::array<std::uint32_t, kAtOnce> inside;  // 1000 times the 100 cm cell in it, and the 10 cm
                                                // cell in that
};

/// Some points, axis by axis. The caller holds it: a function that uses wide registers keeps none of
/// its own arrays on the stack, which not every compiler aligns for them.
struct Some {
    std::array<Axis, 3> axes;
    std::array<std::uint64_t, kAtOnce> numbers;
};

// As detail::CellOf, without a branch: floats below 2^24 hold each metre exactly.
ORVIX_INLINED void FindAlong(std::int32_t firstMetre, Axis& axis) {
    for (std::size_t i = 0; i < kAtOnce; ++i) {
        const float coordinate = axis.coordinate[i];
        const auto truncated = static_cast<std::int32_t>(coordinate);
        const std::int32_t floor =
            truncated - static_cast<std::int32_t>(coordinate < static_cast<float>(truncated));
        const double inside = static_cast<double>(coordinate) - floor;
        const auto tenth = static_cast<std::int32_t>(inside * 10.0);
        const auto metre = static_cast<std::uint32_t>(floor - firstMetre);
        const std::uint32_t block = metre / 10;
        axis.block[i] = block;
        axis.inside[i] = 1000 * (metre - 10 * block) +
                         static_cast<std::uint32_t>(tenth - static_cast<std::int32_t>(tenth > 9));
    }
}

/// A frame, as the loops need it.
struct Frame {
    std::array<std::int32_t, 3> firstMetre;
    std::uint64_t cellsY;
    std::uint64_t cellsZ;
};

ORVIX_INLINED void Number(const Frame& frame, Some& points) {
    for (std::size_t i = 0; i < 3; ++i) FindAlong(frame.firstMetre[i], points.axes[i]);
    const auto& [x, y, z] = points.axes;
    for (std::size_t i = 0; i < kAtOnce; ++i) {
        const std::uint64_t block =
            (x.block[i] * frame.cellsY + y.block[i]) * frame.cellsZ + z.block[i];
        points.numbers[i] =
            block * kInsideKeys + (x.inside[i] * 100 + y.inside[i] * 10 + z.inside[i]);
    }
}

void NumberPortably(const Frame& frame, Some& points) {
    Number(frame, points);
}

#if ORVIX_NUMBERS_AVX2
__attribute__((target("avx2"))) void NumberByAvx2(const Frame& frame, Some& points) {
    Number(frame, points);
}
#endif

auto ChooseNumber() {
#if ORVIX_NUMBERS_AVX2
    if (__builtin_cpu_supports("avx2") != 0) return NumberByAvx2;
#endif
    return NumberPortably;
}

}  // namespace

bool GridFrame::HasNumbers() const {
    return static_cast<double>(cells_[0]) * static_cast<double>(cells_[1]) *
               static_cast<double>(cells_[2]) <
           kMostBlocks;
}

void GridFrame::NumbersOf(std::span<const AlivePoint> points, std::uint64_t* numbers) const {
    static const auto number = ChooseNumber();
    const Frame frame{{10 * first_[0], 10 * first_[1], 10 * first_[2]}, cells_[1], cells_[2]};
    Some some{};
    while (!points.empty()) {
        const std::size_t count = std::min(kAtOnce, points.size());
        for (std::size_t i = 0; i < count; ++i) {
            some.axes[0].coordinate[i] = points[i].x;
            some.axes[1].coordinate[i] = points[i].y;
            some.axes[2].coordinate[i] = points[i].z;
        }
        number(frame, some);
        numbers = std::copy_n(some.numbers.data(), count, numbers);
        points = points.subspan(count);
    }
}

}  // namespace orvix::importer
