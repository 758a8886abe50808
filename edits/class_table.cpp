// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_table.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "orvix/project/height_bins.h"

namespace orvix::edits {

namespace {

std::size_t ClassOfHeight(const reports::Classification& classes, float z) {
    return classes.ClassOf(detail::HeightOfBin(detail::HeightBin(z)));
}

// Numbers that ascend with the float, one by one, from -infinity to infinity; both zeros have 0.
std::int64_t PlaceOf(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(std::fabs(value));
    return value < 0 ? -std::int64_t{bits} : std::int64_t{bits};
}

float FloatAt(std::int64_t place) {
    const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(place < 0 ? -place : place));
    return place < 0 ? -value : value;
}

// The lowest height of a class above `number`; infinity where there may be none.
float FirstAbove(const reports::Classification& classes, std::size_t number) {
    std::int64_t low = PlaceOf(-std::numeric_limits<float>::infinity());
    std::int64_t high = PlaceOf(std::numeric_limits<float>::infinity());
    while (low < high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (ClassOfHeight(classes, FloatAt(middle)) > number) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return FloatAt(high);
}

}  // namespace

ClassTable::ClassTable(reports::Field field, const reports::Classification& classes)
    : field_(field) {
    for (std::size_t i = 0; i < kIntensities; ++i)
        intensities_[i] = static_cast<std::uint8_t>(classes.ClassOf(double(i)) + 1);
    const float highest = std::numeric_limits<float>::infinity();
    for (std::size_t number = 0; number < ClassOfHeight(classes, highest); ++number)
        steps_.push_back(FirstAbove(classes, number));
}

std::uint8_t ClassTable::OfManyHeights(float z) const {
    const auto above =
        std::partition_point(steps_.begin(), steps_.end(), [z](float step) { return z >= step; });
    return static_cast<std::uint8_t>(above - steps_.begin() + 1);
}

}  // namespace orvix::edits
