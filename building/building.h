// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::building {

/// What a scan shows of a building: storeys, slabs, walls, openings, rooms and roofs, each with what
/// it rests on.
///
/// Units   metres, square and cubic metres; project frame, z up. A plan is its x and y.
/// Order   storeys from the lowest up; of each storey walls, rooms and slabs by the smallest x, then
///         y, of their plan; openings by their wall, then along it. An element's number is its place
///         in its list plus 1.
/// Threads plain values.

/// A value, and between which it lies with 95 % likelihood, as far as the points tell.
struct Measure {
    double value = 0;
    double low = 0;
    double high = 0;
};

/// What was not measured but concluded: bits of Evidence::inferred.
enum Inference : std::uint32_t {
    kOtherSide = 1,      ///< one face was seen: how thick the element is, is not known
    kHiddenPart = 2,     ///< it runs on where something stood before it
    kFreeEnd = 4,        ///< an end that no other element bounds
    kFloorLevel = 8,     ///< its floor was not seen; the storey's stands in
    kCeilingLevel = 16,  ///< its ceiling was not seen; the storey's stands in
    kOpenBound = 32,     ///< a part of a room's bound is no wall that was seen
    kKindBySize = 64,    ///< a door or window by its size and height alone
    kSquared = 128,      ///< moved to be parallel or square to others, as it was asked for
};

/// What an element rests on.
struct Evidence {
    double seen = 0;    ///< share of its surface on which points lie
    double hidden = 0;  ///< share of its surface before which something stood
    std::uint64_t points = 0;
    double rms = 0;                       ///< of the points' distances from its planes
    double tolerance = 0;                 ///< as FoundPlane::tolerance, the largest of its planes
    std::vector<std::uint32_t> stations;  ///< numbers of those that saw it, ascending
    std::vector<std::uint32_t> planes;    ///< numbers of its planes (PlaneSet::Numbers), ascending
    std::uint32_t inferred = 0;           ///< bits of Inference
};

using PlanPoint = SimplePoint2DT<double>;
using PlanRing = std::vector<PlanPoint>;

/// A piece of a plan: inside `outer`, which runs counter-clockwise, and outside `holes`, clockwise.
struct PlanRegion {
    PlanRing outer;
    std::vector<PlanRing> holes;
};

struct Storey {
    std::string name;      ///< "Storey 1" for the lowest
    double elevation = 0;  ///< of its floor
    double ceiling = 0;    ///< of its ceilings, the highest of the greater part of them
};

/// A floor, a ceiling or both faces of what lies between two storeys. The storey is the one whose
/// floor it is; of a ceiling under nothing seen, the one below.
struct Slab {
    std::size_t storey = 0;
    std::vector<PlanRegion> regions;
    std::optional<Measure> top;     ///< height of its upper face, where this was seen
    std::optional<Measure> bottom;  ///< of its lower face
    std::optional<Measure> thickness;
    Evidence evidence;
};

/// An upright wall.
///
/// Shape  `axis` is the middle of its two faces; where one was seen alone, that face. Left is to the
///        left of the way from axis[0] to axis[1]. `profile` is the outline of its face, openings not
///        cut out, as (metres along the axis, height): a rectangle but under slopes.
struct Wall {
    std::size_t storey = 0;
    std::array<PlanPoint, 2> axis;
    std::optional<Measure> thickness;  ///< none where one face was seen
    double base = 0;
    double top = 0;
    PlanRing profile;  ///< counter-clockwise, from (0, base)
    bool leftSeen = false;
    bool rightSeen = false;
    bool external = false;  ///< a storey's rooms lie on one side at most
    double deviation = 0;   ///< largest departure of a face from its plane over half a metre
    Evidence evidence;
};

enum class OpeningKind { Door, Window, Hole };
enum class OpeningState { Free, Open, Closed, Unknown };  ///< Open: its leaf stands beside it

/// A rectangle in a wall through which rays of scanners went, or in which a leaf or frame was seen.
struct Opening {
    OpeningKind kind = OpeningKind::Hole;
    OpeningState state = OpeningState::Unknown;
    std::size_t wall = 0;  ///< place in Building::walls
    double along = 0;      ///< from the wall's axis[0] to the opening's middle
    double bottom = 0;     ///< height of its lower edge
    Measure width;
    Measure height;
    double free = 0;     ///< share of the rectangle through which rays went
    double hidden = 0;   ///< share before which something stood
    double unknown = 0;  ///< share that no ray reached
    std::array<std::optional<std::size_t>, 2> rooms;  ///< places of those left and right of it
    Evidence evidence;
};

enum class BoundKind { Floor, Ceiling, Wall };

/// A flat face of a room's solid, seen from within counter-clockwise.
struct RoomFace {
    BoundKind kind = BoundKind::Wall;
    std::vector<SimplePointT<double>> ring;
    std::vector<std::vector<SimplePointT<double>>> holes;
    std::optional<std::size_t> wall;  ///< place of the wall whose face it is
};

/// A room.
///
/// Shape  `faces` close a solid: a prism, but under slopes. `plan` is its floor.
struct Room {
    std::string name;  ///< "Room 1.2": the second of the first storey
    std::size_t storey = 0;
    PlanRegion plan;
    double floor = 0;
    double ceiling = 0;  ///< its highest
    Measure area;        ///< of its floor
    Measure height;      ///< from floor to ceiling, at its highest
    Measure volume;
    std::vector<RoomFace> faces;
    /// stations: those that stood in it or saw in; `seen`: of its floor and ceiling
    Evidence evidence;
};

/// A flat part of a roof, normal . p + offset = 0, the normal pointing up and out.
struct RoofSlope {
    SimplePointT<double> normal;
    double offset = 0;
    std::vector<SimplePointT<double>> outline;  ///< counter-clockwise from above
    std::optional<Measure> thickness;           ///< where both faces were seen
    bool upperSeen = false;                     ///< the plane is the lower face where it was not
    double area = 0;
    Evidence evidence;
};

enum class RoofEdgeKind { Ridge, Hip, Valley };

/// Where two slopes meet: the line of their planes.
struct RoofEdge {
    RoofEdgeKind kind = RoofEdgeKind::Ridge;
    std::array<std::size_t, 2> slopes{};  ///< places in Building::slopes, the smaller first
    std::array<SimplePointT<double>, 2> ends;
};

/// Where a scanner stood, project frame, and the number by which points name it.
struct ScanStation {
    std::uint16_t number = 0;
    SimplePointT<double> position;
};

struct Building {
    std::vector<Storey> storeys;
    std::vector<Slab> slabs;
    std::vector<Wall> walls;
    std::vector<Opening> openings;
    std::vector<Room> rooms;
    std::vector<RoofSlope> slopes;
    std::vector<RoofEdge> edges;
    bool stationsKnown = false;  ///< scanners' positions: without, rooms are guesses, openings none
    std::vector<std::string> remarks;  ///< what could not be told of this scan, a sentence each
};

}  // namespace orvix::building
