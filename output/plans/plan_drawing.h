// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "output/colour.h"
#include "output/plans/plan_vector.h"

namespace orvix::output {

/// What a line of a plan stands for. Drawn in this order, the last on top.
enum class PlanLayer {
    Room,        ///< a room's floor
    Below,       ///< a wall that ends below the cut
    Hatch,       ///< of what is cut
    Opening,     ///< a door's threshold, the faces of a wall on at a window
    Glass,       ///< a window's panes
    Door,        ///< leaves
    Swing,       ///< the way they swing
    SwingGuess,  ///< dashed: of a door whose leaf was not seen open
    Above,       ///< dashed: lintels, windows and walls above the cut
    Bound,       ///< dashed: a room's bound where no wall was seen
    FarSide,     ///< dotted: the side of a wall that nobody saw
    Face,        ///< the face of a wall of one face
    Wall,        ///< outlines of what is cut
    Roof,        ///< dashed: outlines of slopes
    RoofEdge,    ///< ridges, hips and valleys
    Slope,       ///< arrows downhill
    Dimension,   ///< lines and numbers
    RoomText,
    Text,  ///< titles, scale bar, north
};
inline constexpr std::size_t kPlanLayers = 19;

/// How a layer is drawn, in millimetres of paper.
struct PlanStyle {
    std::string_view name;      ///< of the class in SVG
    std::string_view dxfLayer;  ///< of the layer in DXF
    int dxfColour = 7;          ///< of the colour index
    double width = 0;
    Colour colour;
    std::array<double, 4> dashes{};  ///< lengths drawn and left out in turn; zeros for none
};
const PlanStyle& StyleOf(PlanLayer layer);

struct PlanPath {
    PlanLayer layer = PlanLayer::Wall;
    PlanRing points;
    bool closed = false;
};

/// A quarter of a circle, from `from` to the left or to the right around the centre.
struct PlanArc {
    PlanLayer layer = PlanLayer::Door;
    PlanPoint centre;
    PlanPoint from;
    bool left = true;

    [[nodiscard]] PlanPoint To() const {
        return centre + LeftOf(from - centre) * (left ? 1.0 : -1.0);
    }
};

/// Filled in its layer's colour.
struct PlanArea {
    PlanLayer layer = PlanLayer::Room;
    PlanRegion region;
};

enum class PlanAlign { Left, Centre, Right };

struct PlanText {
    PlanLayer layer = PlanLayer::Text;
    PlanPoint at;       ///< its start, middle or end, half-way up its capitals
    double height = 0;  ///< of its capitals
    std::string text;   ///< UTF-8
    PlanAlign align = PlanAlign::Centre;
    bool upward = false;  ///< reads from below to above
};

/// Metres from the start of a text to its end.
double WidthOf(const PlanText& text);

struct PlanBounds {
    PlanPoint low{1e300, 1e300};
    PlanPoint high{-1e300, -1e300};

    void Add(const PlanPoint& p);
    [[nodiscard]] bool Empty() const { return high.x < low.x; }
    [[nodiscard]] PlanPoint Size() const { return high - low; }
    [[nodiscard]] bool Meets(const PlanBounds& other) const;
    [[nodiscard]] PlanBounds Widened(double metres) const;
};

PlanBounds BoundsOf(const PlanRing& ring);
/// What a text covers, with a rim of a quarter of its height.
PlanBounds BoundsOf(const PlanText& text);

/// A drawing: paths, arcs, areas and texts, each on a layer; the form that every writer takes.
///
/// Units  metres, the drawing's own frame: y is up, and the greater part of the walls run along x or
///        y. `turn` is the direction in the project of the drawing's x, of length one.
/// Order  as drawn; layers over each other as PlanLayer lists them.
struct PlanDrawing {
    std::string id;    ///< "storey-1"
    std::string name;  ///< of the storey
    PlanPoint turn{1, 0};
    double scale = 100;  ///< one to this: a millimetre of paper is so many millimetres
    std::vector<PlanArea> areas;
    std::vector<PlanPath> paths;
    std::vector<PlanArc> arcs;
    std::vector<PlanText> texts;
    PlanBounds bounds;  ///< of all that is drawn

    /// Metres of so many millimetres of paper.
    [[nodiscard]] double Paper(double millimetres) const { return millimetres * scale / 1000; }
    void Line(PlanLayer layer, const PlanPoint& from, const PlanPoint& to);
    void Path(PlanLayer layer, PlanRing points, bool closed);
    void Arc(const PlanArc& arc);
    void Area(PlanLayer layer, PlanRegion region);
    void Text(PlanText text);
    /// Whether no text stands there yet.
    [[nodiscard]] bool IsFree(const PlanText& text) const;
};

}  // namespace orvix::output
