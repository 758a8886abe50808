// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/drawing/png_writer.h"
#include "output/export/project_export.h"
#include "output/output_file.h"
#include "output/picture/picture_of_section.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix section scan.prj --level 1.5 --picture plan.png\n"
    "  orvix section scan.prj --through 12,3,18.5,7 --thickness 0.05 --picture wall.png\n"
    "  orvix section scan.prj --plane 0,-1,0,6277500 --picture north.png --export slab.ply\n"
    "  orvix section scan.prj --level 1.5 --thickness 0.02 --json | jq .points";

constexpr double kMinThickness = 1e-4;
constexpr double kMaxThickness = 1e4;
constexpr double kFarthest = 1e9;
constexpr int kMinWidth = 1000;
constexpr int kMaxWidth = 4000;

using Four = std::array<double, 4>;

struct Arguments {
    std::string project;
    std::string plane;
    std::string through;
    std::optional<double> level;
    double thickness = 0.1;
    std::string bounds;
    std::optional<double> depth;
    std::string picture;
    int width = output::SectionPictureOptions{}.width;
    std::string target;
    bool overwrite = false;
    std::string device = "auto";
};

/// "1,2.5,-3,4".
std::optional<Four> ParseFour(std::string_view text) {
    Four numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t comma = text.find(',');
        const bool last = i + 1 == numbers.size();
        if ((comma == std::string_view::npos) != last) return std::nullopt;
        const auto number = platform::ParseNumber(text.substr(0, comma));
        if (!number) return std::nullopt;
        numbers[i] = *number;
        if (!last) text.remove_prefix(comma + 1);
    }
    return numbers;
}

std::optional<reports::SectionFrame> ParsePlane(const std::string& text) {
    const auto numbers = ParseFour(text);
    return numbers ? reports::SectionFrame::OfPlane(*numbers) : std::nullopt;
}

std::optional<reports::SectionFrame> ParseThrough(const std::string& text) {
    const auto numbers = ParseFour(text);
    return numbers ? reports::SectionFrame::Through(*numbers) : std::nullopt;
}

std::optional<Four> ParseBounds(const std::string& text) {
    const auto numbers = ParseFour(text);
    if (!numbers) return std::nullopt;
    const auto& [x0, z0, x1, z1] = *numbers;
    for (const double number : *numbers) {
        if (!(std::abs(number) <= kFarthest)) return std::nullopt;
    }
    return x0 < x1 && z0 < z1 ? numbers : std::nullopt;
}

std::string CheckPlane(const std::string& text) {
    if (ParsePlane(text)) return {};
    return text +
           " is no plane within 1,000,000 km of zero; write a,b,c,d of ax + by + cz + d = 0, such "
           "as "
           "0,-1,0,12.5";
}

std::string CheckThrough(const std::string& text) {
    if (ParseThrough(text)) return {};
    return text +
           " is no line; write two places in plan within 1,000,000 km of zero, such as "
           "12,3,18.5,7";
}

std::string CheckBounds(const std::string& text) {
    if (ParseBounds(text)) return {};
    return text +
           " are no bounds within 1,000,000 km of zero; write the least and the greatest x and z "
           "of "
           "the section, such as -5,0,12.5,3";
}

reports::SectionRequest RequestOf(const Arguments& arguments) {
    const auto frame = arguments.level           ? reports::SectionFrame::AtLevel(*arguments.level)
                       : arguments.plane.empty() ? ParseThrough(arguments.through)
                                                 : ParsePlane(arguments.plane);
    reports::SectionRequest request;
    request.frame = frame.value_or(request.frame);
    request.slab.halfThickness = arguments.thickness / 2;
    if (const auto bounds = ParseBounds(arguments.bounds)) {
        request.slab.xLow = (*bounds)[0];
        request.slab.zLow = (*bounds)[1];
        request.slab.xHigh = (*bounds)[2];
        request.slab.zHigh = (*bounds)[3];
    }
    request.device = arguments.device == "cpu"   ? SectionDevice::Cpu
                     : arguments.device == "gpu" ? SectionDevice::Gpu
                                                 : SectionDevice::Auto;
    return request;
}

struct Found {
    reports::SectionReport report;
    std::optional<output::ExportReport> exported;
    std::string device;
    double seconds = 0;
};

Json JsonOf(const SectionCounts& counts) {
    Json json = Json::object();
    json["in"] = counts.in;
    json["behind"] = counts.behind;
    json["before"] = counts.before;
    json["outside"] = counts.outside;
    json["no_position"] = counts.noPosition;
    return json;
}

Json JsonOf(const reports::SectionFrame& frame) {
    Json json = Json::object();
    json["origin"] = PointJson(frame.origin);
    json["right"] = PointJson(frame.right);
    json["up"] = PointJson(frame.up);
    json["away"] = PointJson(frame.away);
    return json;
}

Json JsonOf(const std::optional<output::ExportReport>& exported, const std::string& target) {
    if (!exported) return nullptr;
    Json json = Json::object();
    json["file"] = target;
    json["format"] = exported->format;
    json["points"] = exported->points;
    json["bytes"] = exported->bytes;
    return json;
}

Json JsonOf(const Found& found, const reports::SectionRequest& request,
            const Arguments& arguments) {
    const reports::SectionReport& report = found.report;
    Json json = Json::object();
    json["plane"] = request.frame.Equation();
    json["thickness"] = arguments.thickness;
    json["frame"] = JsonOf(request.frame);
    json["points"] = JsonOf(report.counts);
    json["extent"] = Json();
    json["bounds"] = Json();
    if (report.counts.in != 0) {
        const auto& [least, greatest] = report.extent;
        json["extent"] = Json::object();
        json["extent"]["x"] = Json::array({least.x, greatest.x});
        json["extent"]["z"] = Json::array({least.y, greatest.y});
        json["bounds"] = Json::object();
        json["bounds"]["min"] = PointJson(report.bounds.min);
        json["bounds"]["max"] = PointJson(report.bounds.max);
    }
    json["picture"] = NameOrNull(arguments.picture);
    json["export"] = JsonOf(found.exported, arguments.target);
    json["device"] = found.device;
    json["seconds"] = found.seconds;
    return json;
}

std::string TextOf(const Found& found, const reports::SectionRequest& request,
                   const Arguments& arguments) {
    using platform::CountText;
    const SectionCounts& counts = found.report.counts;
    const auto e = request.frame.Equation();
    std::string text =
        fmt::format("plane     {:.6f} x {:+.6f} y {:+.6f} z {:+.4f} = 0\n", e[0], e[1], e[2], e[3]);
    text += fmt::format("points    {} in the slab of {} m, {} behind it, {} before it\n",
                        CountText(counts.in), arguments.thickness, CountText(counts.behind),
                        CountText(counts.before));
    if (counts.outside != 0)
        text += fmt::format("outside   {} points\n", CountText(counts.outside));
    if (counts.noPosition != 0)
        text += fmt::format("nowhere   {} points without a finite position\n",
                            CountText(counts.noPosition));
    if (counts.in != 0) {
        const auto& [least, greatest] = found.report.extent;
        text += fmt::format("extent    x {:.3f} to {:.3f}, z {:.3f} to {:.3f}\n", least.x,
                            greatest.x, least.y, greatest.y);
    }
    if (!arguments.picture.empty()) text += fmt::format("picture   {}\n", arguments.picture);
    if (found.exported)
        text += fmt::format("export    {}: {} points, {}, {}\n", arguments.target,
                            CountText(found.exported->points), found.exported->format,
                            platform::BytesText(found.exported->bytes));
    text += fmt::format("{:.3f} s, on {}\n", found.seconds, found.device);
    return text;
}

/// The passes of the verb as one work, of which each is an equal part.
class Passes {
public:
    Passes(CommandContext& context, std::uint64_t points, int passes)
        : progress_(ProgressModeOf(context.progressWord)), points_(points), passes_(passes) {}

    bool Report(const char* phase, double share) {
        // A phase may pass over the points more than once.
        const auto points = static_cast<std::uint64_t>(share * static_cast<double>(points_));
        progress_.Report({phase, (done_ + share) / passes_, points * kAlivePointBytes, points, -1});
        return MayGoOn();
    }
    void Next() { ++done_; }
    void Finish() { progress_.Finish(); }

private:
    ProgressReporter progress_;
    std::uint64_t points_;
    int passes_;
    int done_ = 0;
};

Expected<void> Draw(reports::ProjectSection& section, const reports::SectionReport& report,
                    const Arguments& arguments, Passes& passes) {
    output::SectionPictureOptions options;
    options.width = arguments.width;
    options.depth = arguments.depth.value_or(options.depth);
    const auto canvas = output::PictureOf(
        section, report, options, [&](double share) { return passes.Report("drawing", share); });
    if (!canvas) return ErrorOf(canvas);
    // The last moment at which nothing is begun.
    if (!MayGoOn()) return Fail(ErrorCode::Cancelled, "the section was cancelled");
    return output::WritePng(platform::FromUtf8(arguments.picture), *canvas);
}

output::ExistingFile ExistingOf(const Arguments& arguments) {
    return arguments.overwrite ? output::ExistingFile::Replace : output::ExistingFile::Keep;
}

Expected<void> RequireTargets(const Arguments& arguments) {
    if (auto place = RequirePlaces({arguments.picture}); !place) return place;
    if (arguments.target.empty()) return {};
    return output::RequireExportTarget(platform::FromUtf8(arguments.target), ExistingOf(arguments));
}

Expected<Found> CutProject(const CString& path, const Arguments& arguments,
                           CommandContext& context) {
    const auto project = reports::WorldProject::Open(path);
    if (!project) return ErrorOf(project);
    auto section = reports::ProjectSection::Open(*project, RequestOf(arguments));
    if (!section) return ErrorOf(section);
    const bool draws = !arguments.picture.empty(), exports = !arguments.target.empty();
    Passes passes(context, static_cast<std::uint64_t>(project->Core().AlivePointCount()),
                  1 + draws + exports);
    Found found;
    auto report = reports::ReportSection(
        *section, [&](double share) { return passes.Report("cutting", share); });
    if (!report) return ErrorOf(report);
    found.report = std::move(*report);
    if (exports) {
        passes.Next();
        output::ExportOptions options;
        options.section = section->Request();
        options.existing = ExistingOf(arguments);
        const auto watch = [&](double share, std::uint64_t, std::uint64_t) {
            return passes.Report("exporting", share);
        };
        auto exported =
            output::ExportProject(path, platform::FromUtf8(arguments.target), options, watch);
        if (!exported) return ErrorOf(exported);
        found.exported = std::move(*exported);
    }
    if (draws) {
        passes.Next();
        if (auto drawn = Draw(*section, found.report, arguments, passes); !drawn)
            return ErrorOf(drawn);
    }
    found.device = section->Device();
    return found;
}

Expected<Outcome> RunSection(const Arguments& arguments, CommandContext& context) {
    const auto start = std::chrono::steady_clock::now();
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto there = RequireTargets(arguments); !there) return ErrorOf(there);
    auto found = CutProject(*path, arguments, context);
    if (!found) return ErrorOf(found);
    found->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const reports::SectionRequest request = RequestOf(arguments);
    return Outcome{JsonOf(*found, request, arguments), TextOf(*found, request, arguments)};
}

void AddPlaneOptions(CLI::App& verb, Arguments& arguments) {
    CLI::Option* plane =
        verb.add_option("--plane", arguments.plane,
                        "The plane ax + by + cz + d = 0, seen from the side that a, b, c points to")
            ->check(CheckPlane)
            ->type_name("A,B,C,D");
    CLI::Option* through =
        verb.add_option("--through", arguments.through,
                        "An upright plane through two places in plan, the first to the left")
            ->check(CheckThrough)
            ->type_name("X1,Y1,X2,Y2")
            ->excludes(plane);
    AddAmountOption(verb, "--level", arguments.level, "A plan: the plane at this height",
                    {-1e9, 1e9, "Z"})
        ->excludes(plane)
        ->excludes(through);
    verb.parse_complete_callback([&arguments] {
        if (arguments.plane.empty() && arguments.through.empty() && !arguments.level)
            throw CLI::RequiredError("one of --plane, --through and --level");
    });
}

}  // namespace

void AddSectionVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "section", "Cut a section through a project's points", kExamples,
                [arguments](CommandContext& chosen) { return RunSection(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    AddPlaneOptions(*verb, *arguments);
    AddAmountOption(*verb, "--thickness", arguments->thickness,
                    "Of the slab, half to either side of the plane (default 0.1)",
                    {kMinThickness, kMaxThickness, "M"});
    verb->add_option("--bounds", arguments->bounds,
                     "Only points between these x and z of the section")
        ->check(CheckBounds)
        ->type_name("X0,Z0,X1,Z1");
    AddFileOption(*verb, "--picture", arguments->picture,
                  "Draw what lies in the slab, and fainter what lies behind it", {".png"});
    CLI::Option* picture = verb->get_option("--picture");
    AddAmountOption(*verb, "--depth", arguments->depth,
                    "Draw what lies no further than this behind the plane (default: all)",
                    {0, 1e9, "M"})
        ->needs(picture);
    verb->add_option("--width", arguments->width,
                     fmt::format("Of the picture, in pixels (default {})", arguments->width))
        ->check(CLI::Range(kMinWidth, kMaxWidth).description(""))
        ->type_name("PIXELS")
        ->needs(picture);
    AddFileOption(*verb, "--export", arguments->target,
                  "Write the points in the slab to a scan file: PLY, LAS or text",
                  {".ply", ".las", ".xyz"});
    verb->add_flag("--overwrite", arguments->overwrite, "Replace an existing file of --export")
        ->needs("--export");
    AddChoice(*verb, "--device", arguments->device, "What classifies points",
              {"auto", "cpu", "gpu"});
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
