// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

#include "building/saved_building.h"
#include "building/wall_frame.h"
#include "orvix/c/building_handle.h"
#include "orvix/c/planes_handle.h"
#include "orvix/c/project_handle.h"
#include "orvix/geometry/vector.h"
#include "orvix/platform/text.h"
#include "output/building/building_file.h"
#include "output/output_file.h"
#include "reports/building_report.h"

using namespace orvix;
using namespace orvix::detail;

namespace orvix::detail {

void PutPlace(double* out, const orvix_building& of, const SimplePointT<double>& p) {
    const SimplePointT<double> world = of.frame.ToWorld(p);
    out[0] = world.x;
    out[1] = world.y;
    out[2] = world.z;
}

Answer RequireNumber(std::uint32_t number, std::size_t items, const char* things) {
    if (number >= 1 && number <= items) return {};
    return Refuse(ORVIX_BAD_ARGUMENT,
                  fmt::format("there is no number {} of {} {}", number, items, things));
}

}  // namespace orvix::detail

namespace {

using building::Building;
using building::BuildingOptions;
using building::Measure;
using Place = SimplePointT<double>;

constexpr std::uint32_t kMaxThreads = 1024;

static_assert(static_cast<int>(building::OpeningKind::Door) == ORVIX_OPENING_DOOR &&
              static_cast<int>(building::OpeningKind::Window) == ORVIX_OPENING_WINDOW &&
              static_cast<int>(building::OpeningKind::Hole) == ORVIX_OPENING_HOLE);
static_assert(static_cast<int>(building::OpeningState::Free) == ORVIX_STATE_FREE &&
              static_cast<int>(building::OpeningState::Open) == ORVIX_STATE_OPEN &&
              static_cast<int>(building::OpeningState::Closed) == ORVIX_STATE_CLOSED &&
              static_cast<int>(building::OpeningState::Unknown) == ORVIX_STATE_UNKNOWN);
static_assert(static_cast<int>(building::RoofEdgeKind::Ridge) == ORVIX_EDGE_RIDGE &&
              static_cast<int>(building::RoofEdgeKind::Hip) == ORVIX_EDGE_HIP &&
              static_cast<int>(building::RoofEdgeKind::Valley) == ORVIX_EDGE_VALLEY);

Answer RequireOptions(const orvix_building_options& given) {
    if (given.threads > kMaxThreads)
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("options.threads is {}; it is {} at most",
                                                      given.threads, kMaxThreads));
    for (const std::int32_t flag : {given.orthogonal, given.search}) {
        if (flag != 0 && flag != 1)
            return Refuse(ORVIX_BAD_ARGUMENT, "options.orthogonal and options.search are 0 or 1");
    }
    return {};
}

BuildingOptions OptionsOf(const orvix_building_options& given) {
    BuildingOptions options;
    options.orthogonal = given.orthogonal != 0;
    options.threads = given.threads;
    if (given.memory_limit > 0) options.memoryLimitBytes = given.memory_limit;
    if (given.proceed != nullptr) {
        const auto done = std::make_shared<double>(0);
        options.progress = [done](double part) { *done = part; };
        options.proceed = [done, ask = given.proceed, user = given.user] {
            return ask(user, *done) != 0;
        };
    }
    return options;
}

Answer Find(orvix_project& project, const orvix_planes* planes, const orvix_building_options& given,
            Building& building) {
    if (auto sound = RequireOptions(given); !sound) return sound;
    if (planes != nullptr && planes->project != project.opened)
        return Refuse(ORVIX_BAD_ARGUMENT, "the planes are those of another project handle");
    const BuildingOptions options = OptionsOf(given);
    const auto wanted =
        given.search != 0 ? reports::PlanesWanted::Searched : reports::PlanesWanted::SavedIfAny;
    detection::PlaneSearchOptions search;
    search.threads = options.threads;
    search.memoryLimitBytes = options.memoryLimitBytes;
    search.proceed = options.proceed;
    auto found =
        planes != nullptr
            ? reports::FindBuildingIn(project.Paths(), project.Core(), *planes->set, options)
            : reports::FindBuilding(project.Paths(), project.Core(), wanted, search, options);
    if (!found) return Refuse(found.error());
    building = std::move(found->building);
    return {};
}

Answer OpenSaved(orvix_project& project, Building& building) {
    auto opened = building::OpenSavedBuilding(project.Paths(), project.Core());
    if (!opened) return Refuse(opened.error());
    building = std::move(*opened);
    return {};
}

Answer Save(const orvix_project& project, const orvix_building& building) {
    if (!project.writable)
        return Refuse(ORVIX_BAD_ARGUMENT,
                      "the project is open for reading; open it with ORVIX_READ_WRITE");
    auto saved = building::SaveBuilding(project.Paths(), project.Core(), building.building);
    if (!saved) return Refuse(saved.error());
    return {};
}

// A new handle of what `make` puts into its building.
template <class Make>
orvix_status Made(orvix_project* project, orvix_building** building, orvix_error* error,
                  Make&& make) {
    if (building != nullptr) *building = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(building, "building"); !there) return there;
        auto made = std::make_unique<orvix_building>();
        made->frame = project->summary.frame;
        auto done = make(made->building);
        if (done) *building = made.release();
        return done;
    });
}

void Put(double (&out)[3], const Measure& measure) {
    out[0] = measure.value;
    out[1] = measure.low;
    out[2] = measure.high;
}

void Put(double (&out)[3], const std::optional<Measure>& measure) {
    if (measure) Put(out, *measure);
}

double HeightOf(const orvix_building& of, double z, const building::PlanPoint& at = {}) {
    return of.frame.ToWorld(Place{at.x, at.y, z}).z;
}

// A height with its bounds.
void PutHeight(double (&out)[3], const orvix_building& of, const std::optional<Measure>& height) {
    if (!height) return;
    out[0] = HeightOf(of, height->value);
    out[1] = HeightOf(of, height->low);
    out[2] = HeightOf(of, height->high);
}

void PutPlan(double* out, const orvix_building& of, const building::PlanPoint& p, double z) {
    const Place world = of.frame.ToWorld(Place{p.x, p.y, z});
    out[0] = world.x;
    out[1] = world.y;
}

Place Turned(const orvix_building& of, const Place& direction) {
    return Unit(of.frame.ToWorld(direction) - of.frame.Origin());
}

std::uint32_t NumberOf(std::size_t place) {
    return static_cast<std::uint32_t>(place + 1);
}

void Fill(orvix_storey& out, const orvix_building& of, const building::Storey& storey) {
    out.elevation = HeightOf(of, storey.elevation);
    out.ceiling = HeightOf(of, storey.ceiling);
}

void Fill(orvix_slab& out, const orvix_building& of, const building::Slab& slab) {
    out.storey = NumberOf(slab.storey);
    out.top_seen = slab.top ? 1 : 0;
    out.bottom_seen = slab.bottom ? 1 : 0;
    PutHeight(out.top, of, slab.top);
    PutHeight(out.bottom, of, slab.bottom);
    Put(out.thickness, slab.thickness);
}

void Fill(orvix_wall& out, const orvix_building& of, const building::Wall& wall) {
    out.storey = NumberOf(wall.storey);
    out.left_seen = wall.leftSeen ? 1 : 0;
    out.right_seen = wall.rightSeen ? 1 : 0;
    out.external = wall.external ? 1 : 0;
    PutPlan(out.axis, of, wall.axis[0], wall.base);
    PutPlan(out.axis + 2, of, wall.axis[1], wall.base);
    Put(out.thickness, wall.thickness);
    out.bottom = HeightOf(of, wall.base, wall.axis[0]);
    out.top = HeightOf(of, wall.top, wall.axis[0]);
    out.deviation = wall.deviation;
}

void Fill(orvix_opening& out, const orvix_building& of, const building::Opening& opening) {
    const building::Wall& wall = of.building.walls[opening.wall];
    const auto way = DirectionOf(wall);
    const Place direction = Turned(of, {way.x, way.y, 0});
    out.kind = static_cast<std::int32_t>(opening.kind);
    out.state = static_cast<std::int32_t>(opening.state);
    out.wall = NumberOf(opening.wall);
    for (std::size_t side = 0; side < 2; ++side)
        out.rooms[side] = opening.rooms[side] ? NumberOf(*opening.rooms[side]) : 0;
    out.along = opening.along;
    out.bottom = HeightOf(of, opening.bottom, wall.axis[0]);
    PutPlace(out.centre, of,
             PlaceIn(wall, opening.along, 0, opening.bottom + opening.height.value / 2));
    out.direction[0] = direction.x;
    out.direction[1] = direction.y;
    Put(out.width, opening.width);
    Put(out.height, opening.height);
    out.free = opening.free;
    out.hidden = opening.hidden;
    out.unknown = opening.unknown;
}

void Fill(orvix_room& out, const orvix_building& of, const building::Room& room) {
    out.storey = NumberOf(room.storey);
    out.floor = HeightOf(of, room.floor);
    out.ceiling = HeightOf(of, room.ceiling);
    Put(out.area, room.area);
    Put(out.height, room.height);
    Put(out.volume, room.volume);
}

void Fill(orvix_slope& out, const orvix_building& of, const building::RoofSlope& slope) {
    const Place normal = Turned(of, slope.normal);
    const Place foot = of.frame.ToWorld(slope.normal * -slope.offset);
    const std::array<double, 4> equation{normal.x, normal.y, normal.z, -Dot(normal, foot)};
    std::copy(equation.begin(), equation.end(), out.equation);
    out.upper_seen = slope.upperSeen ? 1 : 0;
    Put(out.thickness, slope.thickness);
    out.area = slope.area;
}

void Fill(orvix_edge& out, const orvix_building& of, const building::RoofEdge& edge) {
    out.kind = static_cast<std::int32_t>(edge.kind);
    out.slopes[0] = NumberOf(edge.slopes[0]);
    out.slopes[1] = NumberOf(edge.slopes[1]);
    PutPlace(out.ends, of, edge.ends[0]);
    PutPlace(out.ends + 3, of, edge.ends[1]);
}

// An element of a list as the caller's struct.
template <class Element, class Record>
orvix_status Get(const orvix_building* building, std::uint32_t number,
                 std::vector<Element> Building::*list, const char* things, Record* record,
                 const char* name, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        const std::vector<Element>& elements = building->building.*list;
        if (auto there = RequireNumber(number, elements.size(), things); !there) return there;
        Record filled{};
        Fill(filled, *building, elements[number - 1]);
        return Give(filled, record, name);
    });
}

}  // namespace

orvix_status orvix_building_find(orvix_project* project, const orvix_planes* planes,
                                 const orvix_building_options* options, orvix_building** building,
                                 orvix_error* error) {
    return Made(project, building, error, [&](Building& found) -> Answer {
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        return Find(*project, planes, *taken, found);
    });
}

orvix_status orvix_building_open_saved(orvix_project* project, orvix_building** building,
                                       orvix_error* error) {
    return Made(project, building, error,
                [&](Building& opened) { return OpenSaved(*project, opened); });
}

orvix_status orvix_building_save(orvix_project* project, const orvix_building* building,
                                 orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(building, "building"); !there) return there;
        return Save(*project, *building);
    });
}

orvix_status orvix_building_write(const orvix_building* building, const char* path,
                                  orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        if (auto there = RequirePointer(path, "path"); !there) return there;
        const CString target = platform::FromUtf8(path);
        if (auto place = output::RequireOutputPlace(target); !place) return Refuse(place.error());
        auto written = output::WriteBuilding(target, building->building, building->frame);
        if (!written) return Refuse(written.error());
        return {};
    });
}

void orvix_building_close(orvix_building* building) {
    delete building;
}

orvix_status orvix_building_get_info(const orvix_building* building, orvix_building_info* info,
                                     orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        const Building& all = building->building;
        orvix_building_info filled{};
        filled.stations_known = all.stationsKnown ? 1 : 0;
        filled.storeys = all.storeys.size();
        filled.slabs = all.slabs.size();
        filled.walls = all.walls.size();
        filled.openings = all.openings.size();
        filled.rooms = all.rooms.size();
        filled.slopes = all.slopes.size();
        filled.edges = all.edges.size();
        filled.remarks = all.remarks.size();
        return Give(filled, info, "info");
    });
}

orvix_status orvix_building_get_storey(const orvix_building* building, uint32_t number,
                                       orvix_storey* storey, orvix_error* error) {
    return Get(building, number, &Building::storeys, "storeys", storey, "storey", error);
}

orvix_status orvix_building_get_slab(const orvix_building* building, uint32_t number,
                                     orvix_slab* slab, orvix_error* error) {
    return Get(building, number, &Building::slabs, "slabs", slab, "slab", error);
}

orvix_status orvix_building_get_wall(const orvix_building* building, uint32_t number,
                                     orvix_wall* wall, orvix_error* error) {
    return Get(building, number, &Building::walls, "walls", wall, "wall", error);
}

orvix_status orvix_building_get_opening(const orvix_building* building, uint32_t number,
                                        orvix_opening* opening, orvix_error* error) {
    return Get(building, number, &Building::openings, "openings", opening, "opening", error);
}

orvix_status orvix_building_get_room(const orvix_building* building, uint32_t number,
                                     orvix_room* room, orvix_error* error) {
    return Get(building, number, &Building::rooms, "rooms", room, "room", error);
}

orvix_status orvix_building_get_slope(const orvix_building* building, uint32_t number,
                                      orvix_slope* slope, orvix_error* error) {
    return Get(building, number, &Building::slopes, "slopes", slope, "slope", error);
}

orvix_status orvix_building_get_edge(const orvix_building* building, uint32_t number,
                                     orvix_edge* edge, orvix_error* error) {
    return Get(building, number, &Building::edges, "edges", edge, "edge", error);
}
