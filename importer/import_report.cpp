// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "importer/scans/attribute_scale.h"
#include "importer/scans/coordinate_frame.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

constexpr double kMillimetresPerMetre = 1000;

// Of one scan: its points, and its warning where it has one.
void ReportScan(const ScanInput& input, const Station& station, const Survey::Scan& scan,
                ImportReport& report) {
    report.inputs[station.input].points += scan.Read();
    const ScanInfo& info = input.reader->Info();
    const std::string warning = AttributeScale(info, scan.range).Warning();
    if (warning.empty()) return;
    const bool one = info.scans.size() == 1;
    report.warnings.push_back(fmt::format("{}{}: {}", ToUtf8(input.path),
                                          one ? "" : fmt::format(" ({})", station.name), warning));
}

}  // namespace

void ReportSurvey(const std::vector<ScanInput>& inputs, const StationTable& stations,
                  const Survey& survey, ImportReport& report) {
    report.read = survey.Read();
    report.stations = static_cast<std::uint32_t>(stations.Count());
    report.origin = {survey.origin.x, survey.origin.y, survey.origin.z};
    for (const ScanInput& input : inputs) {
        report.inputs.push_back({input.path, input.reader->Info().format, 0});
    }
    for (std::size_t i = 0; i < stations.Count(); ++i) {
        ReportScan(inputs[stations[i].input], stations[i], survey.scans[i], report);
    }
}

std::optional<std::string> DistanceWarning(const ExtendsT<float>& bounds) {
    float max = 0;
    for (const SimplePointT<float>& corner : {bounds.min, bounds.max}) {
        max = std::max({max, std::fabs(corner.x), std::fabs(corner.y), std::fabs(corner.z)});
    }
    if (max < kFineLocal) return std::nullopt;
    const double step =
        static_cast<double>(std::nextafter(max, std::numeric_limits<float>::infinity()) - max);
    return fmt::format(
        "points lie up to {:.0f} m from the project's origin, where coordinates are stored in "
        "steps of {:.4g} mm; import distant scans into projects of their own",
        max, step * kMillimetresPerMetre);
}

tl::unexpected<Error> FailWithoutPoints(const CString& firstInput, const ImportReport& report) {
    std::string reasons;
    for (const auto& [reason, count] : report.rejected) {
        reasons += fmt::format("{}{} {}", reasons.empty() ? ": " : ", ", count, reason);
    }
    return Fail(ErrorCode::BadInput,
                fmt::format("{} holds no point that can be imported ({} read{}); is it the right "
                            "file?",
                            ToUtf8(firstInput), report.read, reasons));
}

Expected<void> CheckAccounted(const ImportReport& report) {
    std::uint64_t accounted = report.written;
    for (const auto& [reason, count] : report.rejected) accounted += count;
    if (accounted == report.read) return {};
    return Fail(ErrorCode::Failure,
                fmt::format("{} points were read and {} are accounted for; nothing was imported, "
                            "please report this",
                            report.read, accounted));
}

}  // namespace orvix::importer
