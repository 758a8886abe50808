// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/options/import_arguments.h"

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <map>

#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "output/file_ending.h"

namespace orvix::cli {

namespace {

using namespace importer;

const std::map<std::string, LengthUnit> kUnits{{"m", LengthUnit::Metre},
                                               {"mm", LengthUnit::Millimetre},
                                               {"cm", LengthUnit::Centimetre},
                                               {"ft", LengthUnit::Foot},
                                               {"us-ft", LengthUnit::UsSurveyFoot}};
const std::map<std::string, SkeletonSize> kSkeletons{{"1cm", SkeletonSize::OneCentimetre},
                                                     {"10cm", SkeletonSize::TenCentimetres},
                                                     {"1m", SkeletonSize::OneMetre}};

constexpr std::uint64_t kMinMemory = std::uint64_t{64} << 20;

bool NamesProject(const std::string& path) {
    return output::HasEnding(platform::FileNameOf(platform::FromUtf8(path)), L".prj");
}

// A forgotten project name would make the last scan the file to replace.
std::string CheckPaths(const std::vector<std::string>& paths) {
    if (!paths.empty() && NamesProject(paths.back())) return {};  // BEHAVIOUR C5
    return "the last path names the project to make and must end in .prj" +
           (paths.empty() ? std::string() : ", but it is " + paths.back());
}

}  // namespace

ImportOptions OptionsOf(const ImportArguments& arguments) {
    ImportOptions options;
    options.unit = kUnits.at(arguments.unit);
    options.up = arguments.up == "y" ? UpAxis::Y : UpAxis::Z;
    options.skeleton = kSkeletons.at(arguments.skeleton);
    options.memoryLimitBytes =
        platform::ParseBytes(arguments.memoryLimit).value_or(options.memoryLimitBytes);
    options.threads = arguments.threads;
    options.stationNames = arguments.stations;
    options.dropZeros = arguments.dropZeros;
    options.dedupe = arguments.dedupe;
    options.overwrite = arguments.overwrite;
    options.resume = arguments.resume;
    return options;
}

const char* WordOf(ImportPhase phase) {
    switch (phase) {
        case ImportPhase::Scan:
            return "scanning";
        case ImportPhase::Sort:
            return "sorting";
        case ImportPhase::Write:
            return "writing";
        case ImportPhase::Index:
            return "indexing";
        case ImportPhase::Skeleton:
            return "thinning";
        case ImportPhase::Finish:
            break;
    }
    return "finishing";
}

Json JsonOf(const ImportReport& report) {
    Json json = Json::object();
    json["project"] = platform::ToUtf8(report.project);
    json["inputs"] = Json::array();
    for (const ImportedFile& input : report.inputs)
        json["inputs"].push_back(Json{{"path", platform::ToUtf8(input.path)},
                                      {"format", input.format},
                                      {"points", input.points}});
    json["read"] = report.read;
    json["written"] = report.written;
    json["rejected"] = Json::object();
    for (const auto& [reason, count] : report.rejected) json["rejected"][reason] = count;
    json["skeleton_points"] = report.skeletonPoints;
    json["stations"] = report.stations;
    json["origin"] = report.origin;
    json["checksum"] = platform::HexText(report.checksum);
    json["seconds"] = report.seconds;
    json["peak_memory_bytes"] = report.peakMemoryBytes;
    json["warnings"] = report.warnings;
    return json;
}

std::string TextOf(const ImportReport& report) {
    std::string text;
    for (const ImportedFile& input : report.inputs)
        text += fmt::format("{}: {}, {} points\n", platform::ToUtf8(input.path), input.format,
                            platform::CountText(input.points));
    text +=
        fmt::format("{}: {} points written of {} read, {} in the skeleton, {} station{}\n",
                    platform::ToUtf8(report.project), platform::CountText(report.written),
                    platform::CountText(report.read), platform::CountText(report.skeletonPoints),
                    report.stations, report.stations == 1 ? "" : "s");
    for (const auto& [reason, count] : report.rejected)
        text += fmt::format("rejected: {} points, {}\n", platform::CountText(count), reason);
    const double rate = report.seconds > 0 ? static_cast<double>(report.read) / report.seconds : 0;
    text += fmt::format("{:.2f} s, {} points a second, {} of memory at most, checksum {}\n",
                        report.seconds, platform::CountText(static_cast<std::uint64_t>(rate)),
                        platform::BytesText(report.peakMemoryBytes),
                        platform::HexText(report.checksum));
    return text;
}

std::vector<CString> InputsOf(const ImportArguments& arguments) {
    std::vector<CString> inputs;
    for (const std::string& path : arguments.paths) inputs.push_back(platform::FromUtf8(path));
    inputs.pop_back();
    return inputs;
}

CString ProjectOf(const ImportArguments& arguments) {
    return platform::FromUtf8(arguments.paths.back());
}

void AddImportMemoryOption(CLI::App& verb, std::string& value) {
    AddMemoryOption(verb, value, "Memory to use at most, for example 512M or 4GiB (default 1GiB)",
                    {kMinMemory, "an import needs at least 64M"});
}

void AddImportArguments(CLI::App& verb, const std::shared_ptr<ImportArguments>& arguments) {
    verb.add_option(
            "paths", arguments->paths,
            "Scan files (E57, LAS, LAZ, PCD, PLY, PTX, PTS, text), then the project to make")
        ->required()
        ->expected(2, -1)
        ->type_name("INPUT... PROJECT.prj");
    AddChoice(verb, "--unit", arguments->unit, "Unit of the inputs' coordinates",
              {"m", "mm", "cm", "ft", "us-ft"});
    AddChoice(verb, "--up", arguments->up, "The inputs' upward axis", {"z", "y"});
    AddChoice(verb, "--skeleton", arguments->skeleton, "Voxel of the thinned cloud",
              {"1cm", "10cm", "1m"});
    verb.add_option("--station", arguments->stations,
                    "Import only the scans of this name (may be repeated)")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME");
    verb.add_flag("--drop-zeros", arguments->dropZeros,
                  "Reject points at exactly 0, 0, 0 in the input (no-returns)");
    verb.add_flag("--dedupe", arguments->dedupe,
                  "Keep only the first of points at the same position");
    verb.add_flag("--overwrite", arguments->overwrite,
                  "Replace an existing project once the new one is complete");
    verb.parse_complete_callback([arguments] {
        const std::string fault = CheckPaths(arguments->paths);
        if (!fault.empty()) throw CLI::ValidationError("paths", fault);
    });
}

}  // namespace orvix::cli
