// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/report_note.h"

#include "importer/tasks/task_name.h"

namespace orvix::importer {
namespace {

using platform::FromUtf8;
using platform::ToUtf8;

ImportReport ReportOf(const Json& json) {
    ImportReport report;
    for (const Json& input : json.at("inputs"))
        report.inputs.push_back({FromUtf8(input.at("path").get<std::string>()),
                                 input.at("format").get<std::string>(), input.at("points")});
    report.read = json.at("read");
    report.written = json.at("written");
    report.rejected = json.at("rejected").get<std::map<std::string, std::uint64_t>>();
    report.skeletonPoints = json.at("skeleton_points");
    report.stations = json.at("stations");
    report.checksum = json.at("checksum");
    report.origin = json.at("origin").get<std::array<double, 3>>();
    report.warnings = json.at("warnings").get<std::vector<std::string>>();
    return report;
}

}  // namespace

Expected<ImportReport> ReadReport(const TaskNotes& notes) {
    return ReadNote(notes, FileNameOf({TaskKind::Finish}), ReportOf);
}

Expected<void> WriteReport(const TaskNotes& notes, const ImportReport& report) {
    Json inputs = Json::array();
    for (const ImportedFile& input : report.inputs)
        inputs.push_back(
            {{"path", ToUtf8(input.path)}, {"format", input.format}, {"points", input.points}});
    return notes.Write(FileNameOf({TaskKind::Finish}), {{"inputs", inputs},
                                                        {"read", report.read},
                                                        {"written", report.written},
                                                        {"rejected", report.rejected},
                                                        {"skeleton_points", report.skeletonPoints},
                                                        {"stations", report.stations},
                                                        {"checksum", report.checksum},
                                                        {"origin", report.origin},
                                                        {"warnings", report.warnings}});
}

}  // namespace orvix::importer
