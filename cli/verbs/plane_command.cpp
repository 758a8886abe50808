// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <utility>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "orvix/planes/unsaved_settings.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/drawing/png_writer.h"
#include "output/mesh/mesh_writer.h"
#include "output/mesh/plane_mesh.h"
#include "output/picture/picture_of_plane.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::string seed;
    std::string mesh;
    std::string picture;
    reports::PlaneRequest request;
};

constexpr const char* kExamples =
    "  orvix plane scan.prj --seed 12.4,3.08,1.5\n"
    "  orvix plane scan.prj --seed -2.1,0.4,1.2 --local --reach 5\n"
    "  orvix plane scan.prj --seed 12.4,3.08,1.5 --mesh wall.obj --picture wall.png\n"
    "  orvix plane scan.prj --seed 12.4,3.08,1.5 --split 0.25 --angle 5 --distance 0.02 --json";

const char* WordOf(PlaneWorm::Ended ended) {
    switch (ended) {
        case PlaneWorm::Ended::Exhausted:
            return "edge";
        case PlaneWorm::Ended::Outline:
            return "outline";
        case PlaneWorm::Ended::Reach:
            return "reach";
        case PlaneWorm::Ended::Budget:
            return "budget";
        case PlaneWorm::Ended::Stopped:
            return "stopped";
        case PlaneWorm::Ended::NotLaunched:
            break;
    }
    return "not-launched";
}

const char* SentenceOf(PlaneWorm::Ended ended) {
    switch (ended) {
        case PlaneWorm::Ended::Exhausted:
            return "points end or turn away on every side";
        case PlaneWorm::Ended::Outline:
            return "at the outline";
        case PlaneWorm::Ended::Reach:
            return "at the reach that was asked for";
        case PlaneWorm::Ended::Budget:
            return "after the most cells that one search looks at";
        case PlaneWorm::Ended::Stopped:
            return "stopped";
        case PlaneWorm::Ended::NotLaunched:
            break;
    }
    return "before it began";
}

Json JsonOf(const reports::PlaneFinding& finding, const Arguments& arguments) {
    const detail::SeedPlane& grown = finding.grown;
    Json json = Json::object();
    json["equation"] = finding.equation;
    json["centroid"] = PointJson(finding.centroid);
    json["rms"] = grown.rms;
    json["max_distance"] = grown.maxDistance;
    json["area"] = grown.area;
    json["cells"] = grown.cells;
    json["rejected_cells"] = grown.rejectedCells;
    json["points"] = grown.points;
    json["ended"] = WordOf(grown.ended);
    json["seed"] = PointJson(finding.seed);
    json["snapped"] = grown.snapped;
    json["noise"] = grown.noise;
    json["split_size"] = grown.splitSize;
    json["allowed_distance"] = grown.maxDistanceAllowed;
    json["thinning"] = grown.thinning;
    json["regions"] = grown.plane.Outline().regions.size();
    json["holes"] = finding.holes;
    json["mesh"] = NameOrNull(arguments.mesh);
    json["picture"] = NameOrNull(arguments.picture);
    return json;
}

std::string TextOf(const reports::PlaneFinding& finding, const Arguments& arguments,
                   const std::optional<detail::TriangleMesh>& mesh) {
    const detail::SeedPlane& grown = finding.grown;
    const auto& e = finding.equation;
    std::string text =
        fmt::format("plane     {:.6f} x {:+.6f} y {:+.6f} z {:+.4f} = 0\n", e[0], e[1], e[2], e[3]);
    text += fmt::format("centroid  {:.3f}, {:.3f}, {:.3f}\n", finding.centroid.x,
                        finding.centroid.y, finding.centroid.z);
    text += fmt::format("area      {:.3f} m2, {} hole{}\n", grown.area, finding.holes,
                        finding.holes == 1 ? "" : "s");
    text += fmt::format("distance  rms {:.2f} mm, largest {:.2f} mm\n", grown.rms * 1000,
                        grown.maxDistance * 1000);
    text += fmt::format("points    {} in {} cells of {:.3f} m, {} cells rejected\n",
                        platform::CountText(grown.points), platform::CountText(grown.cells),
                        grown.splitSize, platform::CountText(grown.rejectedCells));
    text += fmt::format("ended     {}\n", SentenceOf(grown.ended));
    if (mesh)
        text += fmt::format("mesh      {}, {} triangles\n", arguments.mesh,
                            platform::CountText(mesh->triangles.size()));
    if (!arguments.picture.empty()) text += fmt::format("picture   {}\n", arguments.picture);
    return text;
}

Expected<std::optional<detail::TriangleMesh>> WriteFiles(const reports::WorldProject& project,
                                                         const reports::PlaneFinding& finding,
                                                         const Arguments& arguments) {
    std::optional<detail::TriangleMesh> written;
    if (!arguments.mesh.empty()) {
        auto mesh = output::MeshOf(project, finding);
        if (!mesh) return ErrorOf(mesh);
        auto done = output::WriteMesh(platform::FromUtf8(arguments.mesh), *mesh);
        if (!done) return ErrorOf(done);
        written = std::move(*mesh);
    }
    if (arguments.picture.empty()) return written;
    auto done = output::WritePng(platform::FromUtf8(arguments.picture),
                                 output::DrawPlane(output::PictureOf(project, finding)));
    if (!done) return ErrorOf(done);
    return written;
}

Expected<Outcome> RunPlane(Arguments arguments) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto places = RequirePlaces({arguments.mesh, arguments.picture}); !places)
        return ErrorOf(places);
    const auto project = reports::WorldProject::Open(*path);
    if (!project) return ErrorOf(project);
    arguments.request.seed =
        platform::ParsePosition(arguments.seed).value_or(arguments.request.seed);
    const auto finding = reports::FindPlane(*project, arguments.request, MayGoOn);
    if (!finding) return ErrorOf(finding);
    const auto mesh = WriteFiles(*project, *finding, arguments);
    if (!mesh) return ErrorOf(mesh);
    // Split sizes that were not chosen yet; a refused search changes nothing.
    // BEHAVIOUR C12
    if (auto stored = detail::StoreSplitSizes(*path); !stored) return ErrorOf(stored);
    return Outcome{JsonOf(*finding, arguments), TextOf(*finding, arguments, *mesh)};
}

void AddSearchOptions(CLI::App& verb, reports::PlaneRequest& request) {
    AddAmountOption(verb, "--split", request.splitSize,
                    "Side of a search cell (default: the project's, more where points are sparse)",
                    {0.001, detail::kMaxSplitSize, "M"});
    AddAmountOption(
        verb, "--distance", request.distance,
        "Largest distance of a point from the plane (default: from the noise at the seed)",
        {1e-6, detail::kMaxSplitSize, "M"});
    AddAmountOption(verb, "--reach", request.reach,
                    "Largest distance from the seed (default: until points end)",
                    {0.001, 1e9, "M"});
    AddAmountOption(verb, "--angle", request.angle, "Largest turn of a cell's normal",
                    {1e-6, 180, "DEGREES"});
    CLI::Option* angle = verb.get_option("--angle");
    const std::array components{std::pair{"--diff-a", &request.diffA},
                                std::pair{"--diff-b", &request.diffB},
                                std::pair{"--diff-c", &request.diffC}};
    for (const auto& [name, value] : components)
        verb.add_option(name, *value, "Largest difference of that component of a cell's normal")
            ->check(CLI::Range(0.0, 2.0).description(""))
            ->type_name("0..2")
            ->excludes(angle);
}

}  // namespace

void AddPlaneVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "plane", "Grow a plane from a point on a surface", kExamples,
                [arguments](CommandContext&) { return RunPlane(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    AddSeedOption(*verb, arguments->seed, "A point on the surface, in world coordinates")
        ->required();
    verb->add_flag("--local", arguments->request.local, "The seed is in the project's own frame");
    AddSearchOptions(*verb, arguments->request);
    AddFileOption(*verb, "--mesh", arguments->mesh, "Write the surface as triangles",
                  {".ply", ".obj"});
    AddFileOption(*verb, "--picture", arguments->picture, "Draw the plane face on and in plan",
                  {".png"});
}

}  // namespace orvix::cli
