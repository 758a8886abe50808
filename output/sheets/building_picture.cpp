// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/sheets/building_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "orvix/points/alive_point_reader.h"
#include "orvix/points/thinning.h"
#include "orvix/project/project_core.h"
#include "output/drawing/mesh_layer.h"
#include "output/drawing/panel.h"
#include "output/drawing/splat_layer.h"
#include "output/plans/storey_solid.h"
#include "output/sheets/plan_formats.h"

namespace orvix::output {

namespace {

using building::Building;
using detail::Vector;
using Triangles = std::vector<ShapeTriangle>;

constexpr double kMargin = 24, kBetween = 24, kTop = 104, kLegend = 64;
constexpr double kName = 40;       // over a panel
constexpr double kHighest = 0.84;  // of a panel, in its widths
constexpr double kMostDots = 14e6;
constexpr std::uint64_t kMostPoints = 4'000'000;
constexpr std::size_t kMostStoreys = 12;
constexpr double kUnderFloor = 0.4;  // metres of a scan below a storey's floor that belong to it

constexpr Colour kScan{214, 212, 206};
constexpr Vector kSouthWest{-0.48, -0.64, 0.6};
constexpr Vector kNorthEast{0.48, 0.64, 0.6};

constexpr std::array<Colour, kShapeKinds> kColours{{{236, 232, 224},
                                                    {72, 78, 90},
                                                    {176, 122, 74},
                                                    {140, 186, 216},
                                                    {222, 214, 190},
                                                    {206, 206, 206},
                                                    {196, 112, 84}}};
// Rooms beside each other differ, and none is loud.
constexpr std::array<Colour, 6> kFloors{{{226, 214, 186},
                                         {196, 218, 206},
                                         {206, 212, 232},
                                         {232, 206, 200},
                                         {218, 224, 190},
                                         {214, 202, 226}}};

Colour ColourOf(const ShapeTriangle& shape) {
    if (shape.kind == ShapeKind::Floor) return kFloors[shape.room % kFloors.size()];
    return kColours[static_cast<std::size_t>(shape.kind)];
}

// A floor lies on its slab and a cut face on the wall. Walls under a roof of which the lower face alone
// was seen reach into it.
double NearerBy(ShapeKind kind) {
    if (kind == ShapeKind::Roof) return 0.15;
    return kind == ShapeKind::Floor || kind == ShapeKind::CutWall ? 0.02 : 0;
}

class BuildingDrawing {
public:
    explicit BuildingDrawing(const BuildingPicture& picture)
        : picture_(picture),
          plans_(DrawPlans(picture.building, picture.plans)),
          storeys_(std::min(picture.building.storeys.size(), kMostStoreys)),
          columns_(picture.points.empty() ? 2 : 3),
          width_(2 * kMargin + columns_ * picture.panelWidth + (columns_ - 1) * kBetween),
          panelHeight_(std::floor(
              std::min(kHighest * picture.panelWidth,
                       kMostDots / width_ / static_cast<double>(Rows()) - kName - kBetween))),
          canvas_(static_cast<int>(width_),
                  static_cast<int>(kTop + RowHeight() * static_cast<double>(Rows()) + kLegend),
                  kPaper) {}

    Canvas Draw();

private:
    // One each storey, one for the whole.
    [[nodiscard]] std::size_t Rows() const { return std::max<std::size_t>(1, storeys_) + 1; }
    [[nodiscard]] double RowHeight() const { return panelHeight_ + kName + kBetween; }
    [[nodiscard]] PixelRect Panel(std::size_t row, int column) const {
        return {kMargin + column * (picture_.panelWidth + kBetween),
                kTop + kName + RowHeight() * static_cast<double>(row), picture_.panelWidth * 1.0,
                panelHeight_};
    }
    void Name(const PixelRect& panel, const std::string& name) {
        canvas_.Text({panel.left, panel.top - 26}, name, kTextSize, kInk);
    }
    void DrawPlan(const PixelRect& panel, const PlanDrawing& plan);
    void DrawShapes(const PixelRect& panel, const Triangles& shapes, PictureView view);
    void DrawScan(const PixelRect& panel, std::size_t storey, const Triangles& shown,
                  PictureView view);
    void DrawLegend(double top);
    [[nodiscard]] double CutOf(std::size_t storey) const {
        return picture_.building.storeys[storey].elevation + picture_.plans.cut;
    }
    [[nodiscard]] ViewBounds BoundsIn(const PictureView& view, const Triangles& shapes) const;

    const BuildingPicture& picture_;
    std::vector<PlanDrawing> plans_;
    std::size_t storeys_;
    int columns_;
    double width_;
    double panelHeight_;
    Canvas canvas_;
};

Canvas BuildingDrawing::Draw() {
    const Building& building = picture_.building;
    canvas_.Text({kMargin, 22}, picture_.title, kTitleSize, kInk);
    canvas_.Text({kMargin, 66}, picture_.subtitle, kTextSize, kSoftInk);
    const PictureView fromSouthWest = PictureView::Facing(kSouthWest);
    const std::size_t last = Rows() - 1;
    for (std::size_t row = 0; row < last; ++row) {
        int column = 0;
        const Triangles open = row < storeys_ ? StoreyUpTo(building, row, CutOf(row)) : Triangles{};
        if (!picture_.points.empty()) DrawScan(Panel(row, column++), row, open, fromSouthWest);
        DrawPlan(Panel(row, column++), plans_[row]);
        if (open.empty()) continue;
        const PixelRect panel = Panel(row, column);
        Name(panel, building.storeys[row].name + ", cut open, from the south-west");
        DrawShapes(panel, open, fromSouthWest);
    }
    const Triangles whole = WholeBuilding(building);
    if (!whole.empty()) {
        Name(Panel(last, 0), "The whole, from the south-west");
        DrawShapes(Panel(last, 0), whole, fromSouthWest);
        Name(Panel(last, 1), "The whole, from the north-east");
        DrawShapes(Panel(last, 1), whole, PictureView::Facing(kNorthEast));
    }
    DrawLegend(Panel(last, 0).top + panelHeight_ + kBetween);
    return std::move(canvas_);
}

void BuildingDrawing::DrawPlan(const PixelRect& panel, const PlanDrawing& plan) {
    // With its name over the panel the plan has its title and its scale already.
    PaintPlan(canvas_, plan, plan.bounds,
              {panel.left, panel.top - kName, panel.width, panel.height + kName});
}

ViewBounds BuildingDrawing::BoundsIn(const PictureView& view, const Triangles& shapes) const {
    ViewBounds bounds;
    for (const ShapeTriangle& shape : shapes)
        for (const Vector& p : shape.corners) bounds.Add(view.X(p), view.Y(p));
    if (bounds.Empty()) bounds.Add(0, 0);
    return bounds.Widened(0.04, 0.5);
}

void BuildingDrawing::DrawShapes(const PixelRect& panel, const Triangles& shapes,
                                 PictureView view) {
    view.Fit(BoundsIn(view, shapes), panel);
    canvas_.FillRect(panel, kPanel);
    MeshLayer layer(panel, view);
    for (const ShapeTriangle& shape : shapes) {
        const auto body = static_cast<std::uint16_t>(static_cast<std::size_t>(shape.kind) +
                                                     kShapeKinds * (shape.room % 1000));
        layer.Add(shape.corners, ColourOf(shape), body, NearerBy(shape.kind));
    }
    layer.DrawOnto(canvas_);
    canvas_.Frame(panel, 1.5, kBorder);
}

// What was scanned of a storey up to its cut, in the same view; of the lowest what lies below as well.
void BuildingDrawing::DrawScan(const PixelRect& panel, std::size_t storey, const Triangles& shown,
                               PictureView view) {
    const Building& building = picture_.building;
    const double top = storey < storeys_ ? CutOf(storey) : 1e300;
    const double low = storey > 0 ? building.storeys[storey].elevation - kUnderFloor : -1e300;
    if (shown.empty()) {
        std::vector<Vector> places;
        for (const auto& p : picture_.points) places.push_back(detail::Widened(p));
        view.Fit(CoreBoundsOf(view, places).Widened(0.04, 0.5), panel);
    } else {
        view.Fit(BoundsIn(view, shown), panel);
    }
    Name(panel, storey < storeys_ ? "The scan, cut open, from the south-west"
                                  : "The scan, from the south-west");
    canvas_.FillRect(panel, kPanel);
    SplatLayer layer(panel);
    const double radius = SplatRadius(picture_.spacing, view.PixelsPerMetre(), 0.7, 3);
    for (const auto& p : picture_.points)
        if (p.z <= top && p.z >= low)
            layer.Add(view.Place(detail::Widened(p)), view.Depth(detail::Widened(p)), kScan,
                      radius);
    layer.Shade(0.35);
    layer.DrawOnto(canvas_);
    canvas_.Frame(panel, 1.5, kBorder);
}

void BuildingDrawing::DrawLegend(double top) {
    static constexpr std::array<std::pair<ShapeKind, const char*>, 6> kNames{
        {{ShapeKind::CutWall, "wall, cut"},
         {ShapeKind::Wall, "wall"},
         {ShapeKind::Door, "closed door"},
         {ShapeKind::Window, "window"},
         {ShapeKind::Slab, "slab"},
         {ShapeKind::Roof, "roof"}}};
    double x = kMargin;
    for (const auto& [kind, name] : kNames) {
        canvas_.FillRect({x, top, 26, 16}, kColours[static_cast<std::size_t>(kind)]);
        canvas_.Frame({x, top, 26, 16}, 1.5, kBorder);
        canvas_.Text({x + 36, top + 1}, name, kTextSize, kInk);
        x += 36 + TextWidth(name, kTextSize) + 34;
    }
}

std::string Counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

}  // namespace

Canvas DrawBuilding(const BuildingPicture& picture) {
    return BuildingDrawing(picture).Draw();
}

BuildingPicture PictureOf(const Building& building, const PlanOptions& plans) {
    BuildingPicture picture;
    picture.building = building;
    picture.plans = plans;
    std::size_t doors = 0, windows = 0, both = 0;
    double area = 0;
    for (const building::Opening& opening : building.openings) {
        doors += opening.kind == building::OpeningKind::Door ? 1 : 0;
        windows += opening.kind == building::OpeningKind::Window ? 1 : 0;
    }
    for (const building::Wall& wall : building.walls) both += wall.thickness ? 1 : 0;
    for (const building::Room& room : building.rooms) area += room.area.value;
    picture.title =
        fmt::format("{}, {}, {:.1f} m²", Counted(building.storeys.size(), "storey", "storeys"),
                    Counted(building.rooms.size(), "room", "rooms"), area);
    picture.subtitle =
        fmt::format("{}, {} of them seen from both sides; {}, {}, {}",
                    Counted(building.walls.size(), "wall", "walls"), both,
                    Counted(doors, "door", "doors"), Counted(windows, "window", "windows"),
                    Counted(building.slopes.size(), "roof slope", "roof slopes"));
    return picture;
}

void AddScan(CProjectCore& core, BuildingPicture& picture) {
    const auto count = static_cast<std::uint64_t>(core.SkeletPointCount());
    if (count == 0) return;
    const std::uint64_t stride = detail::StrideFor(count, kMostPoints);
    const auto reader = core.CreateAlivePointReader();
    // A view that is missing leaves the picture without the points from there on.
    for (std::uint64_t i = 0; i < count && reader->ReadNextSkeletCoordPoint(); ++i)
        if (i % stride == 0) reader->ReadCurrentSkeletPoint(picture.points.emplace_back());
    // A cell of 1 m holds about a square metre of surface.
    const auto cells = static_cast<double>(core.CreateIndexReader()->Count100());
    picture.spacing =
        std::sqrt(std::max(cells, 1.0) / std::max(1.0, static_cast<double>(picture.points.size())));
}

}  // namespace orvix::output
