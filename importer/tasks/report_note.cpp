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
        report.inputs.push_back({FromUtf8(StringOf(input.at("path"))),
                                 input.at("format").get<std::string>(), input.at("points")});
    report.read = json.at("read");
    report.written = json.at("written");
    report.rejected = json.at("rejected").get<std::map<std::string, std::uint64_t>>();
    report.skeletonPoints = json.at("skeleton_points");
    report.stations = json.at("stations");
    report.checksum = json.at("checksum");
    report.origin = json.at("origin").get<std::array<double, 3>>();
    for (const Json& warning : json.at("warnings")) report.warnings.push_back(StringOf(warning));
    return report;
}

}  // namespace

Expected<ImportReport> ReadReport(const TaskNotes& notes) {
    return ReadNote(notes, FileNameOf({TaskKind::Finish}), ReportOf);
}

Expected<void> WriteReport(const TaskNotes& notes, const ImportReport& report) {
    Json inputs = Json::array();
    Json warnings = Json::array();
    for (const std::string& warning : report.warnings) warnings.push_back(TextJson(warning));
    for (const ImportedFile& input : report.inputs)
        inputs.push_back({{"path", TextJson(ToUtf8(input.path))},
                          {"format", input.format},
                          {"points", input.points}});
    return notes.Write(FileNameOf({TaskKind::Finish}), {{"inputs", inputs},
                                                        {"read", report.read},
                                                        {"written", report.written},
                                                        {"rejected", report.rejected},
                                                        {"skeleton_points", report.skeletonPoints},
                                                        {"stations", report.stations},
                                                        {"checksum", report.checksum},
                                                        {"origin", report.origin},
                                                        {"warnings", warnings}});
}

}  // namespace orvix::importer
