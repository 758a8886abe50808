// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "reports/classification.h"
#include "reports/field_histogram.h"

namespace orvix::edits {

/// The class number of any record, from 1, by its height or its intensity.
///
/// A record's class is that of its bin. Classes rise with the height, so that the heights at which they
/// begin decide, exact to the last bit, without the bin.
///
///     const ClassTable table(reports::Field::Height, classes);
///     pair.SetSecond(table.Of(point.z, IntensityOf(point)));
///
/// Boundaries a height that is not a number is in the class of the lowest heights.
/// Threads    a constant table: any number may ask.
/// Cost       a comparison per class up to 8 classes, then some more for each doubling. 64 KiB.
class ClassTable {
public:
    ClassTable(reports::Field field, const reports::Classification& classes);

    [[nodiscard]] std::uint8_t Of(float z, std::uint16_t intensity) const {
        return field_ == reports::Field::Height ? OfHeight(z) : intensities_[intensity];
    }

private:
    static constexpr std::size_t kIntensities = 65'536;
    static constexpr std::size_t kFewSteps = 8;

    [[nodiscard]] std::uint8_t OfHeight(float z) const {
        if (steps_.size() > kFewSteps) return OfManyHeights(z);
        unsigned number = 1;
        for (const float step : steps_) number += static_cast<unsigned>(z >= step);
        return static_cast<std::uint8_t>(number);
    }
    [[nodiscard]] std::uint8_t OfManyHeights(float z) const;

    reports::Field field_;
    std::vector<float> steps_;  // the lowest height of the second class, of the third ...
    std::array<std::uint8_t, kIntensities> intensities_{};
};

}  // namespace orvix::edits
