// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/saved/building_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <type_traits>
#include <utility>

#include "building/plan_length.h"
#include "orvix/points/byte_codec.h"

namespace orvix::building {
namespace {

constexpr double kFarthest = 2e8;  // metres: no point, and so no element, lies further
constexpr double kLargest = 1e18;  // of areas and volumes
constexpr double kUnitError = 1e-6;
constexpr std::uint8_t kKinds = 3;  // of openings, of faces of rooms, of edges
constexpr std::uint8_t kStates = 4;

using detail::ByteTaker;
using Place = SimplePointT<double>;

static_assert(static_cast<int>(OpeningKind::Hole) + 1 == kKinds);
static_assert(static_cast<int>(BoundKind::Wall) + 1 == kKinds);
static_assert(static_cast<int>(RoofEdgeKind::Valley) + 1 == kKinds);
static_assert(static_cast<int>(OpeningState::Unknown) + 1 == kStates);

// The fields of each element in their order in the file, handed to a writer (of a constant element) or
// a reader: one list for both, so that neither can forget a field. True while `use` takes them.
template <class T, class Element>
concept Of = std::same_as<std::remove_const_t<T>, Element>;

bool Fields(auto& use, Of<Measure> auto& m) {
    return use(m.value, m.low, m.high);
}
bool Fields(auto& use, Of<Evidence> auto& e) {
    return use(e.seen, e.hidden, e.points, e.rms, e.tolerance, e.stations, e.planes, e.inferred);
}
bool Fields(auto& use, Of<PlanPoint> auto& p) {
    return use(p.x, p.y);
}
bool Fields(auto& use, Of<Place> auto& p) {
    return use(p.x, p.y, p.z);
}
bool Fields(auto& use, Of<PlanRegion> auto& r) {
    return use(r.outer, r.holes);
}
bool Fields(auto& use, Of<Storey> auto& s) {
    return use(s.name, s.elevation, s.ceiling);
}
bool Fields(auto& use, Of<Slab> auto& s) {
    return use(s.storey, s.regions, s.top, s.bottom, s.thickness, s.evidence);
}
bool Fields(auto& use, Of<Wall> auto& w) {
    return use(w.storey, w.axis, w.thickness, w.base, w.top, w.profile, w.leftSeen, w.rightSeen,
               w.external, w.deviation, w.evidence);
}
bool Fields(auto& use, Of<Opening> auto& o) {
    return use(o.kind, o.state, o.wall, o.along, o.bottom, o.width, o.height, o.free, o.hidden,
               o.unknown, o.rooms, o.evidence);
}
bool Fields(auto& use, Of<RoomFace> auto& f) {
    return use(f.kind, f.ring, f.holes, f.wall);
}
bool Fields(auto& use, Of<Room> auto& r) {
    return use(r.name, r.storey, r.plan, r.floor, r.ceiling, r.area, r.height, r.volume, r.faces,
               r.evidence);
}
bool Fields(auto& use, Of<RoofSlope> auto& s) {
    return use(s.normal, s.offset, s.outline, s.thickness, s.upperSeen, s.area, s.evidence);
}
bool Fields(auto& use, Of<RoofEdge> auto& e) {
    return use(e.kind, e.slopes, e.ends);
}
bool Fields(auto& use, Of<Building> auto& b) {
    return use(b.storeys, b.slabs, b.walls, b.openings, b.rooms, b.slopes, b.edges, b.stationsKnown,
               b.remarks);
}

class Writer {
public:
    explicit Writer(std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}

    bool operator()(const auto&... fields) {
        (Put(fields), ...);
        return true;
    }

private:
    template <class T>
    void Put(const T& value) {
        if constexpr (std::is_same_v<T, bool> || std::is_enum_v<T>)
            detail::PutValue(bytes_, static_cast<std::uint8_t>(value));
        else if constexpr (std::is_same_v<T, std::size_t>)
            detail::PutValue(bytes_, std::uint64_t{value});
        else if constexpr (std::is_arithmetic_v<T>)
            detail::PutValue(bytes_, value);
        else
            Fields(*this, value);
    }
    void Put(const std::string& text) {
        detail::PutValue(bytes_, static_cast<std::uint32_t>(text.size()));
        bytes_.insert(bytes_.end(), text.begin(), text.end());
    }
    template <class T>
    void Put(const std::optional<T>& value) {
        Put(value.has_value());
        if (value) Put(*value);
    }
    template <class T, std::size_t N>
    void Put(const std::array<T, N>& items) {
        for (const T& item : items) Put(item);
    }
    template <class T>
    void Put(const std::vector<T>& items) {
        detail::PutValue(bytes_, static_cast<std::uint32_t>(items.size()));
        for (const T& item : items) Put(item);
    }

    std::vector<std::uint8_t>& bytes_;
};

class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : from_(bytes) {}

    bool operator()(auto&... fields) { return (Get(fields) && ...); }
    [[nodiscard]] std::size_t Left() const { return from_.Left(); }

private:
    template <class T>
    bool Get(T& value) {
        if constexpr (std::is_same_v<T, bool> || std::is_enum_v<T>)
            return GetByte(value);
        else if constexpr (std::is_same_v<T, std::size_t>)
            return GetSize(value);
        else if constexpr (std::is_arithmetic_v<T>)
            return from_.Take(value);
        else
            return Fields(*this, value);
    }
    template <class T>
    bool GetByte(T& value) {
        constexpr std::uint8_t kValues = std::is_same_v<T, bool>           ? 2
                                         : std::is_same_v<T, OpeningState> ? kStates
                                                                           : kKinds;
        std::uint8_t byte = 0;
        if (!from_.Take(byte) || byte >= kValues) return false;
        value = static_cast<T>(byte);
        return true;
    }
    bool GetSize(std::size_t& value) {
        std::uint64_t wide = 0;
        if (!from_.Take(wide)) return false;
        value = static_cast<std::size_t>(wide);
        return value == wide;
    }
    bool Get(std::string& text) {
        std::uint32_t count = 0;
        if (!from_.Take(count) || count > from_.Left()) return false;
        text.resize(count);
        return std::all_of(text.begin(), text.end(), [this](char& c) { return from_.Take(c); });
    }
    template <class T>
    bool Get(std::optional<T>& value) {
        bool there = false;
        if (!Get(there)) return false;
        return !there || Get(value.emplace());
    }
    template <class T, std::size_t N>
    bool Get(std::array<T, N>& items) {
        return std::all_of(items.begin(), items.end(), [this](T& item) { return Get(item); });
    }
    // One by one: a count beyond the bytes that are left ends at these.
    template <class T>
    bool Get(std::vector<T>& items) {
        std::uint32_t count = 0;
        if (!from_.Take(count) || count > from_.Left()) return false;
        for (; count > 0; --count) {
            if (!Get(items.emplace_back())) return false;
        }
        return true;
    }

    ByteTaker from_;
};

bool IsCoordinate(double value) {
    return std::abs(value) <= kFarthest;
}
bool IsPlace(const Place& p) {
    return IsCoordinate(p.x) && IsCoordinate(p.y) && IsCoordinate(p.z);
}
bool IsPlace(const PlanPoint& p) {
    return IsCoordinate(p.x) && IsCoordinate(p.y);
}
bool IsAmount(double value) {
    return value >= 0 && value <= kLargest;
}
bool IsMeasure(const Measure& m) {
    return std::abs(m.value) <= kLargest && std::abs(m.low) <= kLargest &&
           std::abs(m.high) <= kLargest;
}
bool IsMeasure(const std::optional<Measure>& m) {
    return !m || IsMeasure(*m);
}
bool IsEvidence(const Evidence& e) {
    return IsAmount(e.seen) && IsAmount(e.hidden) && IsAmount(e.rms) && IsAmount(e.tolerance);
}

template <class Point>
bool IsRing(const std::vector<Point>& ring) {
    return ring.size() >= 3 &&
           std::all_of(ring.begin(), ring.end(), [](const Point& p) { return IsPlace(p); });
}
template <class Point>
bool AreRings(const std::vector<std::vector<Point>>& rings) {
    return std::all_of(rings.begin(), rings.end(), [](const auto& ring) { return IsRing(ring); });
}
bool IsRegion(const PlanRegion& region) {
    return IsRing(region.outer) && AreRings(region.holes);
}

// Well-formed, and without control characters: others print it, and put it into JSON and XML.
bool IsText(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<std::uint8_t>(text[i]);
        const std::size_t more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        if (first < 0x20 || first == 0x7F || (first >= 0x80 && first < 0xC2) || first > 0xF4 ||
            more >= text.size() - i)
            return false;
        std::uint32_t code = more == 0 ? first : first & (0x3FU >> more);
        for (std::size_t k = 1; k <= more; ++k) {
            const auto byte = static_cast<std::uint8_t>(text[i + k]);
            if ((byte & 0xC0U) != 0x80U) return false;
            code = code << 6U | (byte & 0x3FU);
        }
        if ((more == 2 && code < 0x800) || (more == 3 && (code < 0x10000 || code > 0x10FFFF)) ||
            (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += more + 1;
    }
    return true;
}

// What of one element cannot be; nullptr where nothing is wrong.
class Judge {
public:
    explicit Judge(const Building& building) : all_(building) {}

    const char* Fault(const Storey& s) const {
        if (!IsText(s.name)) return "has a name that is no text";
        return IsCoordinate(s.elevation) && IsCoordinate(s.ceiling) ? nullptr : kPlace;
    }
    const char* Fault(const Slab& s) const {
        if (s.storey >= all_.storeys.size()) return kStorey;
        if (!std::all_of(s.regions.begin(), s.regions.end(), IsRegion)) return kRing;
        const bool sound = IsMeasure(s.top) && IsMeasure(s.bottom) && IsMeasure(s.thickness);
        return sound && IsEvidence(s.evidence) ? nullptr : kNumber;
    }
    const char* Fault(const Wall& w) const {
        if (w.storey >= all_.storeys.size()) return kStorey;
        if (!IsPlace(w.axis[0]) || !IsPlace(w.axis[1])) return kPlace;
        const double length = PlanLength(w.axis[1].x - w.axis[0].x, w.axis[1].y - w.axis[0].y);
        if (!(length > 0)) return "has no length";
        if (!IsRing(w.profile)) return kRing;
        const bool sound = IsMeasure(w.thickness) && IsCoordinate(w.base) && IsCoordinate(w.top) &&
                           IsAmount(w.deviation);
        return sound && IsEvidence(w.evidence) ? nullptr : kNumber;
    }
    const char* Fault(const Opening& o) const {
        if (o.wall >= all_.walls.size()) return "is in a wall that there is not";
        for (const std::optional<std::size_t>& room : o.rooms)
            if (room && *room >= all_.rooms.size()) return "leads to a room that there is not";
        const bool sound = IsCoordinate(o.along) && IsCoordinate(o.bottom) && IsMeasure(o.width) &&
                           IsMeasure(o.height) && IsAmount(o.free) && IsAmount(o.hidden) &&
                           IsAmount(o.unknown);
        return sound && IsEvidence(o.evidence) ? nullptr : kNumber;
    }
    const char* Fault(const Room& r) const {
        if (!IsText(r.name)) return "has a name that is no text";
        if (r.storey >= all_.storeys.size()) return kStorey;
        if (!IsRegion(r.plan)) return kRing;
        for (const RoomFace& face : r.faces) {
            if (!IsRing(face.ring) || !AreRings(face.holes)) return kRing;
            if (face.wall && *face.wall >= all_.walls.size())
                return "has a face on a wall that there is not";
        }
        const bool sound = IsCoordinate(r.floor) && IsCoordinate(r.ceiling) && IsMeasure(r.area) &&
                           IsMeasure(r.height) && IsMeasure(r.volume);
        return sound && IsEvidence(r.evidence) ? nullptr : kNumber;
    }
    const char* Fault(const RoofSlope& s) const {
        const Place& n = s.normal;
        if (!(std::abs(n.x * n.x + n.y * n.y + n.z * n.z - 1) <= kUnitError))
            return "has a normal that is not of unit length";
        if (!IsRing(s.outline)) return kRing;
        const bool sound =
            std::abs(s.offset) <= kLargest && IsMeasure(s.thickness) && IsAmount(s.area);
        return sound && IsEvidence(s.evidence) ? nullptr : kNumber;
    }
    const char* Fault(const RoofEdge& e) const {
        if (e.slopes[0] >= all_.slopes.size() || e.slopes[1] >= all_.slopes.size())
            return "is of a slope that there is not";
        return IsPlace(e.ends[0]) && IsPlace(e.ends[1]) ? nullptr : kPlace;
    }

private:
    static constexpr const char* kStorey = "is of a storey that there is not";
    static constexpr const char* kPlace = "lies where no point can be";
    static constexpr const char* kRing = "has a ring that is none";
    static constexpr const char* kNumber = "has a number that cannot be";

    const Building& all_;
};

std::string FaultOf(const Building& building) {
    const Judge judge(building);
    std::string fault;
    const auto look = [&](const char* kind, const auto& elements) {
        for (std::size_t i = 0; i < elements.size() && fault.empty(); ++i) {
            if (const char* found = judge.Fault(elements[i]))
                fault = fmt::format("{} {} {}", kind, i + 1, found);
        }
    };
    look("storey", building.storeys);
    look("slab", building.slabs);
    look("wall", building.walls);
    look("opening", building.openings);
    look("room", building.rooms);
    look("slope", building.slopes);
    look("edge", building.edges);
    if (fault.empty() && !std::all_of(building.remarks.begin(), building.remarks.end(), IsText))
        fault = "a remark is no text";
    return fault;
}

}  // namespace

void EncodeBuilding(const Building& building, std::vector<std::uint8_t>& bytes) {
    Writer writer(bytes);
    Fields(writer, building);
}

bool DecodeBuilding(std::span<const std::uint8_t> bytes, Building& building, std::string& fault) {
    Reader reader(bytes);
    building = {};
    fault.clear();
    if (!Fields(reader, building))
        fault = fmt::format("its elements do not end where they should, {} bytes before its end",
                            reader.Left());
    else if (reader.Left() != 0)
        fault = fmt::format("{} bytes follow its last element", reader.Left());
    else
        fault = FaultOf(building);
    return fault.empty();
}

std::string FaultOfRecords(std::span<const std::uint8_t> bytes) {
    Building building;
    std::string fault;
    static_cast<void>(DecodeBuilding(bytes, building, fault));
    return fault;
}

}  // namespace orvix::building
