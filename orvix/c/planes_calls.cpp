// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <span>

#include "detection/saved_planes.h"
#include "orvix/c/planes_handle.h"
#include "orvix/c/project_handle.h"
#include "reports/station_list.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

using detection::Detail;
using detection::FoundPlane;
using detection::PlaneSearch;
using detection::PlaneSearchOptions;
using detection::PlaneSearchSettings;
using reports::WorldPlane;

constexpr std::uint32_t kMaxThreads = 1024;

constexpr std::array kDetails{Detail::Normal, Detail::Fine, Detail::Coarse};  // ORVIX_DETAIL_

static_assert(static_cast<int>(detection::PlaneKind::Floor) == ORVIX_KIND_FLOOR &&
              static_cast<int>(detection::PlaneKind::Ceiling) == ORVIX_KIND_CEILING &&
              static_cast<int>(detection::PlaneKind::Wall) == ORVIX_KIND_WALL &&
              static_cast<int>(detection::PlaneKind::Roof) == ORVIX_KIND_ROOF &&
              static_cast<int>(detection::PlaneKind::Other) == ORVIX_KIND_OTHER);

std::int32_t DetailOf(Detail detail) {
    return static_cast<std::int32_t>(std::find(kDetails.begin(), kDetails.end(), detail) -
                                     kDetails.begin());
}

tl::expected<PlaneSearchOptions, Refusal> SearchOptions(const orvix_planes_options& given) {
    for (const double value :
         {given.cell_size, given.distance, given.angle, given.min_area, given.bridge}) {
        if (!std::isfinite(value))
            return Refuse(ORVIX_BAD_ARGUMENT, "a number in options is not finite");
    }
    if (given.detail < 0 || given.detail >= static_cast<std::int32_t>(kDetails.size())) {
        return Refuse(
            ORVIX_BAD_ARGUMENT,
            fmt::format("options.detail is {}; it is ORVIX_DETAIL_NORMAL, _FINE or _COARSE",
                        given.detail));
    }
    if (given.threads > kMaxThreads) {
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("options.threads is {}; it is {} at most",
                                                      given.threads, kMaxThreads));
    }
    PlaneSearchOptions options;
    options.detail = kDetails[static_cast<std::size_t>(given.detail)];
    options.cellSize = std::max(given.cell_size, 0.0);
    options.distance = std::max(given.distance, 0.0);
    options.angle = std::max(given.angle, 0.0);
    options.minArea = std::max(given.min_area, 0.0);
    options.minPoints = static_cast<double>(given.min_points);
    // The search takes 0 for none and a negative width for its own choice.
    if (given.bridge > 0) options.bridge = given.bridge;
    if (given.bridge < 0) options.bridge = 0;
    if (given.memory_limit > 0) options.memoryLimitBytes = given.memory_limit;
    options.threads = given.threads;
    if (given.proceed != nullptr) {
        const auto done = std::make_shared<double>(0);
        options.progress = [done](double part) { *done = part; };
        options.proceed = [done, ask = given.proceed, user = given.user] {
            return ask(user, *done) != 0;
        };
    }
    return options;
}

Answer Find(orvix_project& project, const orvix_planes_options& given,
            std::unique_ptr<orvix_planes>& found) {
    auto options = SearchOptions(given);
    if (!options) return ErrorOf(options);
    auto made = std::make_unique<orvix_planes>();
    made->project = project.opened;
    made->frame = project.summary.frame;
    auto stations = reports::ScannerPositions(made->project->Manager());
    if (!stations) return Refuse(stations.error());
    options->stations = std::move(*stations);
    auto search = PlaneSearch::Run(made->project->Core(), *options);
    if (!search) return Refuse(search.error());
    made->search = std::move(*search);
    made->set = std::make_unique<detection::SearchedPlanes>(made->project->Core(), *made->search,
                                                            options->detail);
    made->planes = reports::WorldPlanesOf(made->set->Planes(), made->frame);
    found = std::move(made);
    return {};
}

void TakeNumbers(orvix_planes& planes) {
    for (std::size_t i = 0; i < planes.planes.size(); ++i)
        planes.planes[i].number = planes.set->Numbers()[i];
}

Answer OpenSaved(orvix_project& project, std::unique_ptr<orvix_planes>& opened) {
    auto made = std::make_unique<orvix_planes>();
    made->project = project.opened;
    made->frame = project.summary.frame;
    auto set = detection::OpenSavedPlanes(made->project->Manager(), made->project->Core());
    if (!set) return Refuse(set.error());
    made->set = std::move(*set);
    made->planes = reports::WorldPlanesOf(made->set->Planes(), made->frame);
    TakeNumbers(*made);
    opened = std::move(made);
    return {};
}

Answer Save(const orvix_project& project, orvix_planes& planes, orvix_proceed proceed, void* user,
            orvix_planes_saved& report) {
    if (project.opened != planes.project)
        return Refuse(ORVIX_BAD_ARGUMENT, "the planes are those of another project handle");
    if (!project.writable) {
        return Refuse(ORVIX_BAD_ARGUMENT,
                      "the project is open for reading; open it with ORVIX_READ_WRITE");
    }
    std::function<bool()> ask;
    if (proceed != nullptr) ask = [&] { return proceed(user, 0) != 0; };
    const auto saved =
        detection::SavePlanes(planes.project->Manager(), planes.project->Core(), *planes.set, ask);
    if (!saved) return Refuse(saved.error());
    TakeNumbers(planes);
    report.kept = saved->kept;
    report.added = saved->added;
    report.gone = saved->gone;
    return {};
}

void Put(double (&out)[3], const SimplePointT<double>& p) {
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
}

orvix_planes_info InfoOf(const orvix_planes& planes) {
    const detection::PlaneSet& set = *planes.set;
    const PlaneSearchSettings& settings = set.Settings();
    orvix_planes_info info{};
    info.detail = DetailOf(set.SearchDetail());
    info.planes = planes.planes.size();
    info.left_out = set.LeftOut();
    info.points = set.Points();
    info.on_planes = set.AssignedPoints();
    info.cells = set.Cells();
    info.cell_size = settings.cellSize;
    info.distance = settings.distance;
    info.angle = settings.angle;
    info.min_area = settings.minArea;
    info.bridge = settings.bridge;
    info.min_points = static_cast<std::uint64_t>(std::ceil(settings.minPoints));
    info.spacing = settings.spacing;
    info.noise = settings.noise;
    return info;
}

std::uint64_t RingsOf(const WorldPlane& plane) {
    std::uint64_t rings = 0;
    for (const WorldPlane::Region& region : plane.regions) rings += 1 + region.holes.size();
    return rings;
}

orvix_found_plane RecordOf(const WorldPlane& world, const FoundPlane& local) {
    orvix_found_plane record{};
    record.kind = static_cast<std::int32_t>(local.kind);
    record.number = static_cast<std::uint32_t>(world.number);
    record.group = static_cast<std::uint32_t>(local.group);
    std::copy(world.equation.begin(), world.equation.end(), record.equation);
    const std::array<double, 4> equation{local.normal.x, local.normal.y, local.normal.z,
                                         local.offset};
    std::copy(equation.begin(), equation.end(), record.local_equation);
    Put(record.centroid, world.centroid);
    record.rms = world.rms;
    record.tolerance = world.tolerance;
    record.area = world.area;
    record.points = world.points;
    record.rings = RingsOf(world);
    return record;
}

struct Ring {
    orvix_ring record{};
    const WorldPlane::Ring* vertices = nullptr;
};

std::vector<Ring> ListRings(const WorldPlane& plane) {
    std::vector<Ring> rings;
    const auto add = [&](const WorldPlane::Ring& ring, std::size_t region, std::size_t hole) {
        rings.push_back(
            {{ring.size(), static_cast<std::uint32_t>(region), static_cast<std::uint32_t>(hole)},
             &ring});
    };
    for (std::size_t r = 0; r < plane.regions.size(); ++r) {
        add(plane.regions[r].outer, r, 0);
        for (std::size_t h = 0; h < plane.regions[r].holes.size(); ++h)
            add(plane.regions[r].holes[h], r, h + 1);
    }
    return rings;
}

}  // namespace

namespace orvix::detail {

// The numbers of a search are their places; those of saved planes may be any.
tl::expected<std::size_t, Refusal> PlaceOf(const orvix_planes& planes, std::uint32_t number) {
    const std::vector<std::uint32_t>& numbers = planes.set->Numbers();
    if (number >= 1 && number <= numbers.size() && numbers[number - 1] == number)
        return std::size_t{number} - 1;
    const auto found = std::find(numbers.begin(), numbers.end(), number);
    if (found != numbers.end()) return static_cast<std::size_t>(found - numbers.begin());
    return Refuse(ORVIX_BAD_ARGUMENT,
                  fmt::format("there is no plane {}; orvix_planes_get_numbers lists the {}", number,
                              numbers.size()));
}

}  // namespace orvix::detail

orvix_status orvix_planes_find(orvix_project* project, const orvix_planes_options* options,
                               orvix_planes** planes, orvix_error* error) {
    if (planes != nullptr) *planes = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        std::unique_ptr<orvix_planes> found;
        auto done = Find(*project, *taken, found);
        if (done) *planes = found.release();
        return done;
    });
}

orvix_status orvix_planes_open_saved(orvix_project* project, orvix_planes** planes,
                                     orvix_error* error) {
    if (planes != nullptr) *planes = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        std::unique_ptr<orvix_planes> opened;
        auto done = OpenSaved(*project, opened);
        if (done) *planes = opened.release();
        return done;
    });
}

orvix_status orvix_planes_save(orvix_project* project, orvix_planes* planes, orvix_proceed proceed,
                               void* user, orvix_planes_saved* saved, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        orvix_planes_saved report{};
        if (saved != nullptr) {
            if (auto sized = Give(report, saved, "saved"); !sized) return sized;
        }
        if (auto done = Save(*project, *planes, proceed, user, report); !done) return done;
        return saved == nullptr ? Answer{} : Give(report, saved, "saved");
    });
}

void orvix_planes_close(orvix_planes* planes) {
    delete planes;
}

orvix_status orvix_planes_get_info(const orvix_planes* planes, orvix_planes_info* info,
                                   orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        return Give(InfoOf(*planes), info, "info");
    });
}

orvix_status orvix_planes_get_numbers(const orvix_planes* planes, uint32_t* numbers,
                                      uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const std::vector<std::uint32_t>& all = planes->set->Numbers();
        const auto fill = Fits(all.size(), numbers, capacity, count, "numbers");
        if (!fill) return ErrorOf(fill);
        if (*fill) std::copy(all.begin(), all.end(), numbers);
        return {};
    });
}

orvix_status orvix_planes_get_plane(const orvix_planes* planes, uint32_t number,
                                    orvix_found_plane* plane, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const auto place = PlaceOf(*planes, number);
        if (!place) return ErrorOf(place);
        return Give(RecordOf(planes->planes[*place], planes->set->Planes()[*place]), plane,
                    "plane");
    });
}

orvix_status orvix_planes_get_rings(const orvix_planes* planes, uint32_t number, orvix_ring* rings,
                                    uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const auto place = PlaceOf(*planes, number);
        if (!place) return ErrorOf(place);
        const std::vector<Ring> listed = ListRings(planes->planes[*place]);
        const auto fill = Fits(listed.size(), rings, capacity, count, "rings");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        std::transform(listed.begin(), listed.end(), rings,
                       [](const Ring& ring) { return ring.record; });
        return {};
    });
}

orvix_status orvix_planes_get_ring(const orvix_planes* planes, uint32_t number, uint64_t ring,
                                   double* xyz, uint64_t capacity, uint64_t* count,
                                   orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const auto place = PlaceOf(*planes, number);
        if (!place) return ErrorOf(place);
        const std::vector<Ring> listed = ListRings(planes->planes[*place]);
        if (auto inside = RequireRange(ring, 1, listed.size(), "rings"); !inside) return inside;
        const WorldPlane::Ring& wanted = *listed[static_cast<std::size_t>(ring)].vertices;
        const auto fill = Fits(wanted.size(), xyz, capacity, count, "vertices");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        for (const SimplePointT<double>& p : wanted) {
            *xyz++ = p.x;
            *xyz++ = p.y;
            *xyz++ = p.z;
        }
        return {};
    });
}
