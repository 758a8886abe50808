// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/field_histogram.h"

#include <fmt/format.h>

#include <utility>

#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/transform_file.h"

namespace orvix::reports {

namespace {

constexpr double kCentimetre = 0.01;

Expected<double> WorldHeightOfZero(const ProjectManager& paths) {
    const Expected<detail::LocalToWorld> frame = detail::ReadTransform(paths.transformFile);
    if (!frame) return ErrorOf(frame);
    const bool upright = frame->m[8] == 0 && frame->m[9] == 0 && frame->m[10] == 1;
    return upright ? frame->m[11] : 0.0;
}

}  // namespace

const char* WordOf(Field field) {
    return field == Field::Intensity ? "intensity" : "z";
}

Field FieldOf(const std::string& word) {
    return word == "z" ? Field::Height : Field::Intensity;
}

const char* NameOf(Field field) {
    return field == Field::Intensity ? "intensity" : "height";
}

double FieldHistogram::Mean() const {
    double sum = 0;
    for (const detail::HistogramBin& bin : bins) sum += bin.value * static_cast<double>(bin.count);
    return sum / static_cast<double>(points);
}

double FieldHistogram::Median() const {
    double median = 0;
    std::uint64_t counted = 0;
    for (const detail::HistogramBin& bin : bins) {
        if (counted < points - points / 2) median = bin.value;
        counted += bin.count;
    }
    return median;
}

std::string FieldHistogram::AxisText() const {
    return field == Field::Intensity ? "intensity (as stored, 0 to 65535)" : "height (m)";
}

std::string FieldHistogram::ValueText(double stored) const {
    return field == Field::Intensity ? fmt::format("{:.0f}", stored)
                                     : fmt::format("{:.3f}", stored + shift);
}

Expected<FieldHistogram> ReadField(const CString& project, Field field) {
    ProjectManager paths;
    if (auto found = detail::FindProject(paths, project); !found) return ErrorOf(found);
    FieldHistogram histogram;
    histogram.field = field;
    const bool height = field == Field::Height;
    Expected<std::vector<detail::HistogramBin>> bins =
        detail::ReadHistogram(height ? paths.zHist : paths.intensitiesHist);
    if (!bins) return ErrorOf(bins);
    histogram.bins = std::move(*bins);
    for (const detail::HistogramBin& bin : histogram.bins) histogram.points += bin.count;
    if (histogram.bins.empty())
        return Fail(ErrorCode::BadInput, platform::ToUtf8(project) + " has no points to count");
    if (!height) return histogram;
    const Expected<double> shift = WorldHeightOfZero(paths);
    if (!shift) return ErrorOf(shift);
    histogram.shift = *shift;
    histogram.binWidth = kCentimetre;
    return histogram;
}

}  // namespace orvix::reports
