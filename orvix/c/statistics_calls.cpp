// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "orvix/c/project_handle.h"
#include "orvix/project/histogram_file.h"
#include "orvix/stats/mathematic.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

constexpr std::uint32_t kMaxInt = std::numeric_limits<std::int32_t>::max();

// Told apart from `values`' order: a value that is no number has no place in it.
bool Ascend(const std::vector<double>& values) {
    return std::none_of(values.begin(), values.end(), [](double v) { return std::isnan(v); }) &&
           std::is_sorted(values.begin(), values.end());
}

}  // namespace

orvix_status orvix_histogram_sample(const orvix_project* project, int32_t which, double shift,
                                    uint32_t sample_count, double* samples, uint64_t capacity,
                                    uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(samples, "samples"); !there) return there;
        if (auto there = RequirePointer(count, "count"); !there) return there;
        if (which != ORVIX_HISTOGRAM_INTENSITY && which != ORVIX_HISTOGRAM_HEIGHT) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("there is no histogram {}", which));
        }
        if (sample_count > kMaxInt) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("{} samples are too many", sample_count));
        }
        if (auto fill = Fits(sample_count, samples, capacity, count, "samples"); !fill) {
            return ErrorOf(fill);
        }
        const ProjectManager paths = project->Paths();
        const std::vector<double> drawn = SampleHistogram(
            which == ORVIX_HISTOGRAM_INTENSITY ? paths.intensitiesHist : paths.zHist, shift,
            static_cast<int>(sample_count));
        std::copy(drawn.begin(), drawn.end(), samples);
        *count = drawn.size();
        return {};
    });
}

orvix_status orvix_natural_breaks(const double* values, uint64_t count, uint32_t classes,
                                  double lower_bound, double* breaks, uint64_t capacity,
                                  uint64_t* break_count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (count > 0) {
            if (auto there = RequirePointer(values, "values"); !there) return there;
        }
        if (classes == 0 || classes >= kMaxInt) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("{} classes cannot be made", classes));
        }
        const auto fill =
            Fits(std::uint64_t{classes} + 1, breaks, capacity, break_count, "boundaries");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        std::vector<double> sorted(values, values + count);
        if (!Ascend(sorted)) return Refuse(ORVIX_BAD_ARGUMENT, "the values do not ascend");
        const auto found =
            Mathematic::GetJenksBreaks(sorted, static_cast<int>(classes), lower_bound);
        std::copy(found.begin(), found.end(), breaks);
        return {};
    });
}
