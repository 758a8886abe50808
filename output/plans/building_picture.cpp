// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/building_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "output/picture/mesh_layer.h"
#include "output/picture/panel.h"
#include "output/picture/splat_layer.h"
#include "output/plans/plan_formats.h"
#include "output/plans/storey_solid.h"

namespace orvix::output {

namespace {

using building::Building;
using detail::Vector;
using Triangles = std::vector<ShapeTriangle>;

constexpr int kWidth = 1880;
constexpr double kMargin = 24, kBetween = 24, kTop = 104, kLegend = 64;
constexpr double kCellWidth = (kWidth - 2 * kMargin - kBetween) / 2;
constexpr double kName = 40;      // over a panel
constexpr double kHighest = 760;  // of a panel
constexpr double kMostDots = 14e6;
constexpr std::size_t kMostStoreys = 12;

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

class BuildingDrawing {
public:
    explicit BuildingDrawing(const BuildingPicture& picture)
        : picture_(picture),
          plans_(DrawPlans(picture.building, picture.plans)),
          storeys_(std::min(picture.building.storeys.size(), kMostStoreys)),
          rows_(std::max<std::size_t>(1, storeys_) + 1 + (picture.points.empty() ? 0 : 1)),
          panelHeight_(std::floor(std::min(
              kHighest, kMostDots / kWidth / static_cast<double>(rows_) - kName - kBetween))),
          canvas_(kWidth,
                  static_cast<int>(kTop + RowHeight() * static_cast<double>(rows_) + kLegend),
                  kPaper) {}

    Canvas Draw();

private:
    [[nodiscard]] double RowHeight() const { return panelHeight_ + kName + kBetween; }
    // The panel of a row's left (0) or right (1) half.
    [[nodiscard]] PixelRect Panel(std::size_t row, int half) const {
        return {kMargin + half * (kCellWidth + kBetween),
                kTop + kName + RowHeight() * static_cast<double>(row), kCellWidth, panelHeight_};
    }
    void Name(const PixelRect& panel, const std::string& name) {
        canvas_.Text({panel.left, panel.top - 26}, name, kTextSize, kInk);
    }
    void DrawPlan(const PixelRect& panel, const PlanDrawing& plan);
    void DrawShapes(const PixelRect& panel, const Triangles& shapes, PictureView view);
    void DrawScan(const PixelRect& panel, PictureView view);
    void DrawLegend(double top);
    [[nodiscard]] double CutOf(std::size_t storey) const {
        return picture_.building.storeys[storey].elevation + picture_.plans.cut;
    }
    [[nodiscard]] ViewBounds BoundsIn(const PictureView& view, const Triangles& shapes) const;

    const BuildingPicture& picture_;
    std::vector<PlanDrawing> plans_;
    std::size_t storeys_;
    std::size_t rows_;
    double panelHeight_;
    Canvas canvas_;
};

Canvas BuildingDrawing::Draw() {
    const Building& building = picture_.building;
    canvas_.Text({kMargin, 22}, picture_.title, kTitleSize, kInk);
    canvas_.Text({kMargin, 66}, picture_.subtitle, kTextSize, kSoftInk);
    const PictureView fromSouthWest = PictureView::Facing(kSouthWest);
    std::size_t row = 0;
    if (!picture_.points.empty()) {
        Triangles open;
        for (std::size_t storey = 0; storey < building.storeys.size(); ++storey) {
            const bool topmost = storey + 1 == building.storeys.size();
            const double top = topmost ? CutOf(storey) : building.storeys[storey + 1].elevation;
            for (const ShapeTriangle& shape : StoreyUpTo(building, storey, top))
                open.push_back(shape);
        }
        Name(Panel(row, 0), "The scan, cut open, from the south-west");
        DrawScan(Panel(row, 0), fromSouthWest);
        Name(Panel(row, 1), "The model, cut open");
        DrawShapes(Panel(row, 1), open, fromSouthWest);
        ++row;
    }
    for (std::size_t storey = 0; storey < std::max<std::size_t>(1, storeys_); ++storey, ++row) {
        DrawPlan(Panel(row, 0), plans_[storey]);
        if (storey >= storeys_) continue;
        Name(Panel(row, 1), building.storeys[storey].name + ", cut open, from the south-west");
        DrawShapes(Panel(row, 1), StoreyUpTo(building, storey, CutOf(storey)), fromSouthWest);
    }
    const Triangles whole = WholeBuilding(building);
    Name(Panel(row, 0), "The whole, from the south-west");
    DrawShapes(Panel(row, 0), whole, fromSouthWest);
    Name(Panel(row, 1), "The whole, from the north-east");
    DrawShapes(Panel(row, 1), whole, PictureView::Facing(kNorthEast));
    DrawLegend(Panel(row, 0).top + panelHeight_ + kBetween);
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
        // A floor lies on its slab, and a cut face on the wall.
        const bool over = shape.kind == ShapeKind::Floor || shape.kind == ShapeKind::CutWall;
        layer.Add(shape.corners, ColourOf(shape), body, over ? 0.01 : 0);
    }
    layer.DrawOnto(canvas_);
    canvas_.Frame(panel, 1.5, kBorder);
}

void BuildingDrawing::DrawScan(const PixelRect& panel, PictureView view) {
    const Building& building = picture_.building;
    const double top = building.storeys.empty() ? 1e300 : CutOf(building.storeys.size() - 1);
    ViewBounds bounds;
    for (const building::Wall& wall : building.walls)
        for (const PlanPoint& p : wall.axis)
            for (const double z : {wall.base, std::min(wall.top, top)})
                bounds.Add(view.X({p.x, p.y, z}), view.Y({p.x, p.y, z}));
    if (bounds.Empty())
        for (const auto& p : picture_.points)
            bounds.Add(view.X(detail::Widened(p.position)), view.Y(detail::Widened(p.position)));
    view.Fit(bounds.Widened(0.04, 0.5), panel);
    canvas_.FillRect(panel, kPanel);
    SplatLayer layer(panel);
    const double radius = SplatRadius(picture_.spacing, view.PixelsPerMetre(), 0.7, 3);
    for (const auto& p : picture_.points) {
        const Vector at = detail::Widened(p.position);
        if (p.ceiling || at.z > top) continue;
        layer.Add(view.Place(at), view.Depth(at), {214, 212, 206}, radius);
    }
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

}  // namespace orvix::output
