// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/histogram_file.h"

namespace orvix::reports {

enum class Field { Intensity, Height };

/// The words of --field: "intensity", "z".
const char* WordOf(Field field);
Field FieldOf(const std::string& word);
/// "intensity", "height".
const char* NameOf(Field field);

/// How often the values of a field occur in a project, from its histogram file.
struct FieldHistogram {
    Field field = Field::Intensity;
    std::vector<detail::HistogramBin> bins;  ///< values as the project stores them
    double shift = 0;     ///< world height of the project frame's zero; 0 for intensities
    double binWidth = 1;  ///< of a bin near the frame's zero
    std::uint64_t points = 0;

    [[nodiscard]] double Lowest() const { return bins.front().value; }  ///< as stored
    [[nodiscard]] double Highest() const { return bins.back().value; }
    [[nodiscard]] double Mean() const;
    /// The value at which half of the points have been counted.
    [[nodiscard]] double Median() const;
    [[nodiscard]] double InWorld(double stored) const { return stored + shift; }
    /// "height (m)", "intensity (as stored, 0 to 65535)".
    [[nodiscard]] std::string AxisText() const;
    /// A stored value as people read it: a height in the world, in metres with three digits.
    [[nodiscard]] std::string ValueText(double stored) const;
};

/// Reads the histogram of a field.
///
/// Boundaries heights are the world's when the project's frame stands upright in it; in a frame
///            that leans, the project's own (shift 0).
/// Errors     those of ReadHistogram and ReadTransform; BadInput for a project without points.
Expected<FieldHistogram> ReadField(const CString& project, Field field);

}  // namespace orvix::reports
