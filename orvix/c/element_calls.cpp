// SPDX-License-Identifier: GPL-3.0-or-later
// Calls on one element of a building, of any kind: its name, evidence, rings and mesh.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "building/element_meshes.h"
#include "building/wall_frame.h"
#include "orvix/c/building_handle.h"
#include "orvix/c/mesh_handle.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

using building::Building;
using building::ElementKind;
using building::Evidence;
using Place = SimplePointT<double>;
using Places = std::vector<Place>;

static_assert(static_cast<int>(ElementKind::Wall) == ORVIX_ELEMENT_WALL &&
              static_cast<int>(ElementKind::Opening) == ORVIX_ELEMENT_OPENING &&
              static_cast<int>(ElementKind::Slab) == ORVIX_ELEMENT_SLAB &&
              static_cast<int>(ElementKind::Room) == ORVIX_ELEMENT_ROOM &&
              static_cast<int>(ElementKind::Slope) == ORVIX_ELEMENT_SLOPE);

constexpr bool IsBit(building::Inference ours, int theirs) {
    return static_cast<int>(ours) == theirs;
}
static_assert(IsBit(building::kOtherSide, ORVIX_INFERRED_OTHER_SIDE) &&
              IsBit(building::kHiddenPart, ORVIX_INFERRED_HIDDEN_PART) &&
              IsBit(building::kFreeEnd, ORVIX_INFERRED_FREE_END) &&
              IsBit(building::kFloorLevel, ORVIX_INFERRED_FLOOR_LEVEL) &&
              IsBit(building::kCeilingLevel, ORVIX_INFERRED_CEILING_LEVEL) &&
              IsBit(building::kOpenBound, ORVIX_INFERRED_OPEN_BOUND) &&
              IsBit(building::kKindBySize, ORVIX_INFERRED_KIND_BY_SIZE) &&
              IsBit(building::kSquared, ORVIX_INFERRED_SQUARED));

struct Element {
    ElementKind kind;
    std::size_t place;
};

tl::expected<Element, Refusal> ElementOf(const orvix_building& of, std::int32_t kind,
                                         std::uint32_t number) {
    const Building& all = of.building;
    const std::array counts{all.walls.size(), all.openings.size(), all.slabs.size(),
                            all.rooms.size(), all.slopes.size()};
    constexpr std::array kThings{"walls", "openings", "slabs", "rooms", "slopes"};
    if (kind < 0 || kind >= static_cast<std::int32_t>(counts.size()))
        return Refuse(
            ORVIX_BAD_ARGUMENT,
            fmt::format("the kind of element is {}; it is ORVIX_ELEMENT_WALL to _SLOPE", kind));
    const auto at = static_cast<std::size_t>(kind);
    if (auto there = RequireNumber(number, counts[at], kThings[at]); !there) return ErrorOf(there);
    return Element{static_cast<ElementKind>(kind), std::size_t{number} - 1};
}

const Evidence& EvidenceOf(const Building& all, const Element& element) {
    switch (element.kind) {
        case ElementKind::Wall:
            return all.walls[element.place].evidence;
        case ElementKind::Opening:
            return all.openings[element.place].evidence;
        case ElementKind::Slab:
            return all.slabs[element.place].evidence;
        case ElementKind::Room:
            return all.rooms[element.place].evidence;
        case ElementKind::Slope:
            break;
    }
    return all.slopes[element.place].evidence;
}

struct Ring {
    orvix_ring record{};
    Places places;
};

Places OnWall(const building::Wall& wall, const building::PlanRing& ring) {
    Places places;
    for (const building::PlanPoint& p : ring) places.push_back(PlaceIn(wall, p.x, 0, p.y));
    return places;
}

void AddRegion(std::vector<Ring>& rings, std::uint32_t number, const building::PlanRegion& region,
               double z) {
    std::uint32_t hole = 0;
    const auto add = [&](const building::PlanRing& ring) {
        Places places;
        for (const building::PlanPoint& p : ring) places.push_back({p.x, p.y, z});
        rings.push_back({{places.size(), number, hole++}, std::move(places)});
    };
    add(region.outer);
    for (const building::PlanRing& ring : region.holes) add(ring);
}

// Project frame.
std::vector<Ring> RingsOf(const Building& all, const Element& element) {
    std::vector<Ring> rings;
    const auto add = [&](Places places) {
        rings.push_back({{places.size(), 0, 0}, std::move(places)});
    };
    switch (element.kind) {
        case ElementKind::Wall:
            add(OnWall(all.walls[element.place], all.walls[element.place].profile));
            break;
        case ElementKind::Opening: {
            const building::Opening& o = all.openings[element.place];
            const double left = o.along - o.width.value / 2, right = left + o.width.value;
            const double top = o.bottom + o.height.value;
            add(OnWall(all.walls[o.wall],
                       {{left, o.bottom}, {right, o.bottom}, {right, top}, {left, top}}));
            break;
        }
        case ElementKind::Slab: {
            const building::Slab& slab = all.slabs[element.place];
            const double z = slab.top ? slab.top->value : slab.bottom ? slab.bottom->value : 0;
            for (std::size_t i = 0; i < slab.regions.size(); ++i)
                AddRegion(rings, static_cast<std::uint32_t>(i), slab.regions[i], z);
            break;
        }
        case ElementKind::Room:
            AddRegion(rings, 0, all.rooms[element.place].plan, all.rooms[element.place].floor);
            break;
        case ElementKind::Slope:
            add(all.slopes[element.place].outline);
            break;
    }
    return rings;
}

// use(element) of a kind and number that there are.
template <class Use>
orvix_status WithElement(const orvix_building* building, std::int32_t kind, std::uint32_t number,
                         orvix_error* error, Use&& use) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        const auto element = ElementOf(*building, kind, number);
        if (!element) return ErrorOf(element);
        return use(*element);
    });
}

template <class Item>
Answer GiveList(std::span<const Item> items, Item* array, std::uint64_t capacity,
                std::uint64_t* count, const char* things) {
    const auto fill = Fits(items.size(), array, capacity, count, things);
    if (!fill) return ErrorOf(fill);
    if (*fill) std::copy(items.begin(), items.end(), array);
    return {};
}

Answer GiveText(const std::string& text, char* array, std::uint64_t capacity,
                std::uint64_t* count) {
    return GiveList(std::span<const char>(text.c_str(), text.size() + 1), array, capacity, count,
                    "bytes");
}

Answer GiveMesh(const orvix_building& of, const Element& element, orvix_mesh** mesh) {
    auto made = std::make_unique<orvix_mesh>();
    made->mesh = ElementMeshOf(of.building, element.kind, element.place).mesh;
    for (Place& p : made->mesh.points) p = of.frame.ToWorld(p);
    *mesh = made.release();
    return {};
}

}  // namespace

orvix_status orvix_building_get_name(const orvix_building* building, int32_t kind, uint32_t number,
                                     char* text, uint64_t capacity, uint64_t* count,
                                     orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        const Building& all = building->building;
        if (kind == ORVIX_ELEMENT_STOREY) {
            auto there = RequireNumber(number, all.storeys.size(), "storeys");
            if (!there) return there;
            return GiveText(all.storeys[number - 1].name, text, capacity, count);
        }
        const auto element = ElementOf(*building, kind, number);
        if (!element) return ErrorOf(element);
        const bool isRoom = element->kind == ElementKind::Room;
        return GiveText(
            isRoom ? all.rooms[element->place].name : NameOf(all, element->kind, element->place),
            text, capacity, count);
    });
}

orvix_status orvix_building_get_remark(const orvix_building* building, uint32_t number, char* text,
                                       uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(building, "building"); !there) return there;
        const std::vector<std::string>& remarks = building->building.remarks;
        if (auto there = RequireNumber(number, remarks.size(), "remarks"); !there) return there;
        return GiveText(remarks[number - 1], text, capacity, count);
    });
}

orvix_status orvix_building_get_evidence(const orvix_building* building, int32_t kind,
                                         uint32_t number, orvix_evidence* evidence,
                                         orvix_error* error) {
    return WithElement(building, kind, number, error, [&](const Element& element) {
        const Evidence& known = EvidenceOf(building->building, element);
        orvix_evidence filled{};
        filled.inferred = known.inferred;
        filled.seen = known.seen;
        filled.hidden = known.hidden;
        filled.points = known.points;
        filled.rms = known.rms;
        filled.tolerance = known.tolerance;
        filled.stations = known.stations.size();
        filled.planes = known.planes.size();
        return Give(filled, evidence, "evidence");
    });
}

orvix_status orvix_building_get_stations(const orvix_building* building, int32_t kind,
                                         uint32_t number, uint32_t* stations, uint64_t capacity,
                                         uint64_t* count, orvix_error* error) {
    return WithElement(building, kind, number, error, [&](const Element& element) {
        return GiveList<std::uint32_t>(EvidenceOf(building->building, element).stations, stations,
                                       capacity, count, "stations");
    });
}

orvix_status orvix_building_get_planes(const orvix_building* building, int32_t kind,
                                       uint32_t number, uint32_t* planes, uint64_t capacity,
                                       uint64_t* count, orvix_error* error) {
    return WithElement(building, kind, number, error, [&](const Element& element) {
        return GiveList<std::uint32_t>(EvidenceOf(building->building, element).planes, planes,
                                       capacity, count, "planes");
    });
}

orvix_status orvix_building_get_rings(const orvix_building* building, int32_t kind, uint32_t number,
                                      orvix_ring* rings, uint64_t capacity, uint64_t* count,
                                      orvix_error* error) {
    return WithElement(building, kind, number, error, [&](const Element& element) {
        std::vector<orvix_ring> records;
        for (const Ring& ring : RingsOf(building->building, element))
            records.push_back(ring.record);
        return GiveList<orvix_ring>(records, rings, capacity, count, "rings");
    });
}

orvix_status orvix_building_get_ring(const orvix_building* building, int32_t kind, uint32_t number,
                                     uint64_t ring, double* xyz, uint64_t capacity, uint64_t* count,
                                     orvix_error* error) {
    return WithElement(building, kind, number, error, [&](const Element& element) -> Answer {
        const std::vector<Ring> listed = RingsOf(building->building, element);
        if (auto inside = RequireRange(ring, 1, listed.size(), "rings"); !inside) return inside;
        const Places& wanted = listed[static_cast<std::size_t>(ring)].places;
        const auto fill = Fits(wanted.size(), xyz, capacity, count, "vertices");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        for (std::size_t i = 0; i < wanted.size(); ++i) PutPlace(xyz + 3 * i, *building, wanted[i]);
        return {};
    });
}

orvix_status orvix_building_mesh(const orvix_building* building, int32_t kind, uint32_t number,
                                 orvix_mesh** mesh, orvix_error* error) {
    if (mesh != nullptr) *mesh = nullptr;
    return WithElement(building, kind, number, error, [&](const Element& element) -> Answer {
        if (auto there = RequirePointer(mesh, "mesh"); !there) return there;
        return GiveMesh(*building, element, mesh);
    });
}
