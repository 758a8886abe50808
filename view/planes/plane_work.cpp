// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/plane_work.h"

#include <chrono>
#include <memory>
#include <utility>

#include "reports/station_list.h"
#include "view/data/project_json.h"
#include "view/planes/grown_plane.h"

namespace orvix::view {

namespace {

using Clock = std::chrono::steady_clock;
using reports::WorldPlane;

Json RingJson(const WorldPlane::Ring& ring) {
    Json json = Json::array();
    for (const auto& corner : ring) json.push_back(JsonOf(corner));
    return json;
}

// One plane in a frame: the project's own, where nothing leads elsewhere.
WorldPlane PlaneIn(const detail::LocalToWorld& frame, const detection::FoundPlane& plane) {
    return std::move(reports::WorldPlanesOf({plane}, frame).front());
}

Json PlaneJson(const detection::FoundPlane& plane, std::uint32_t number,
               const detail::LocalToWorld& frame) {
    const WorldPlane local = PlaneIn(detail::LocalToWorld{}, plane);
    const WorldPlane world = PlaneIn(frame, plane);
    Json json = Json::object();
    json["number"] = number;
    json["grown"] = plane.group == 0;
    json["class"] = local.kind;
    json["group"] = plane.group == 0 ? Json() : Json(plane.group);
    json["equation"] = local.equation;
    json["centroid"] = JsonOf(local.centroid);
    json["points"] = plane.points;
    json["rms"] = plane.rms;
    json["tolerance"] = plane.tolerance;
    json["area"] = world.area;
    json["regions"] = Json::array();
    for (const WorldPlane::Region& region : local.regions) {
        Json holes = Json::array();
        for (const WorldPlane::Ring& hole : region.holes) holes.push_back(RingJson(hole));
        json["regions"].push_back(Json{{"outer", RingJson(region.outer)}, {"holes", holes}});
    }
    json["world"] = Json{{"equation", world.equation}, {"centroid", JsonOf(world.centroid)}};
    return json;
}

Json SettingsOf(const detection::PlaneSearchSettings& s) {
    return Json{{"cell", s.cellSize},        {"spacing", s.spacing}, {"noise", s.noise},
                {"distance", s.distance},    {"angle", s.angle},     {"min_area", s.minArea},
                {"min_points", s.minPoints}, {"bridge", s.bridge}};
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Says something now and then, however often it is asked.
class Pulse {
public:
    explicit Pulse(Clock::duration time) : time_(time) {}

    [[nodiscard]] bool IsDue() {
        const Clock::time_point now = Clock::now();
        if (now - last_ < time_) return false;
        last_ = now;
        return true;
    }

private:
    Clock::duration time_;
    Clock::time_point last_ = Clock::now();
};

void SayPlanes(const PlaneList& list, Lines& lines, const Searches::Proceed& proceed) {
    const auto& planes = list.finding.set->Planes();
    for (std::size_t i = 0; i < planes.size() && proceed(); ++i)
        lines.Say(LineOf(Json{
            {"plane", PlaneJson(planes[i], list.finding.set->Numbers()[i], list.project.frame)}}));
}

Json DoneJson(const PlaneList& list, std::uint64_t id) {
    const detection::PlaneSet& set = *list.finding.set;
    Json done = Json::object();
    done["planes_id"] = id;
    done["planes"] = set.Planes().size();
    done["left_out"] = set.LeftOut();
    done["points"] = set.Points();
    done["assigned_points"] = set.AssignedPoints();
    done["detail"] = reports::WordOf(set.SearchDetail());
    done["settings"] = SettingsOf(set.Settings());
    done["seconds"] = list.finding.seconds;
    return Json{{"done", std::move(done)}};
}

}  // namespace

Expected<void> GrowPlane(const reports::WorldProject& project, const reports::PlaneRequest& request,
                         KnownPlanes& known, Lines& lines, const Searches::Proceed& proceed) {
    const Clock::time_point start = Clock::now();
    Pulse pulse(std::chrono::milliseconds(250));
    const auto finding = reports::FindPlane(project, request, [&] {
        if (pulse.IsDue()) lines.Say(LineOf(Json{{"seconds", SecondsSince(start)}}));
        return proceed();
    });
    if (!finding) return ErrorOf(finding);
    // A station whose place cannot be read turns no plane.
    const auto stations = reports::ScannerPositions(project.Manager());
    const detail::SeedPlane& grown = finding->grown;
    detection::FoundPlane plane =
        FoundPlaneOf(grown, stations ? *stations : std::vector<SimplePointT<double>>(),
                     project.Manager().cloudHeader.bounds);
    const std::uint32_t number = known.Add(plane);
    Json json = PlaneJson(plane, number, project.frame);
    json["area"] = grown.area;  // of the outline as it was built
    json["seed"] = JsonOf(grown.seed);
    json["snapped"] = grown.snapped;
    json["max_distance"] = grown.maxDistance;
    json["split_size"] = grown.splitSize;
    json["noise"] = grown.noise;
    json["cells"] = grown.cells;
    json["thinning"] = grown.thinning;
    json["ended"] = WordOf(grown.ended);
    lines.Say(LineOf(Json{{"plane", std::move(json)}}));
    lines.Say(LineOf(Json{{"done", Json{{"seconds", SecondsSince(start)}}}}));
    return {};
}

Expected<void> ListPlanes(const CString& path, const PlanesRequest& request, KnownPlanes& known,
                          Lines& lines, const Searches::Proceed& proceed) {
    auto list = std::make_shared<PlaneList>();
    auto project = reports::WorldProject::Open(path);
    if (!project) return ErrorOf(project);
    list->project = std::move(*project);
    Pulse pulse(std::chrono::milliseconds(100));
    detection::PlaneSearchOptions options = request.options;
    options.proceed = proceed;
    options.progress = [&](double done) {
        if (pulse.IsDue()) lines.Say(LineOf(Json{{"progress", done}}));
    };
    auto finding = request.saved ? reports::ReadPlanes(list->project)
                                 : reports::FindPlanes(list->project, options);
    if (!finding) return ErrorOf(finding);
    list->finding = std::move(*finding);
    // Made anew, one at a time, where they are said.
    list->finding.planes = {};
    SayPlanes(*list, lines, proceed);
    if (!proceed()) return Fail(ErrorCode::Cancelled, "the list of planes was cancelled");
    const std::uint64_t id = known.Replace(list);
    lines.Say(LineOf(DoneJson(*list, id)));
    return {};
}

}  // namespace orvix::view
