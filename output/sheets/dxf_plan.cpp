// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "orvix/geometry/bounds.h"
#include "output/drawing/letters.h"
#include "output/dxf_entities.h"
#include "output/plans/turned_building.h"
#include "output/sheets/plan_formats.h"

namespace orvix::output {

namespace {

using Place = SimplePointT<double>;

// What is no ASCII as the format's own \U+XXXX, which readers of every version know.
std::string Encoded(const std::string& text) {
    std::string encoded;
    for (const char32_t letter : LettersOf(text)) {
        if (letter == '^')
            encoded += "^ ";
        else if (letter >= 0x20 && letter < 0x7F)
            encoded += static_cast<char>(letter);
        else if (letter > 0xFFFF)
            encoded += '?';
        else if (letter >= 0xA0)
            encoded += fmt::format("\\U+{:04X}", static_cast<unsigned>(letter));
    }
    return encoded;
}

std::string LineTypeOf(const PlanStyle& style) {
    if (style.dashes[0] <= 0) return "CONTINUOUS";
    std::string name = "ORVIX_";
    for (const char c : style.name)
        name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : '_';
    return name;
}

class DxfPlan {
public:
    DxfPlan(TextFile& file, const PlanSheet& sheet, const detail::LocalToWorld& frame)
        : file_(file), sheet_(sheet), frame_(frame) {}

    void Print() {
        const PlanBounds& bounds = sheet_.bounds;
        ExtendsT<double> box{At(bounds.low), At(bounds.low)};
        for (const PlanPoint& p : {PlanPoint{bounds.high.x, bounds.low.y}, bounds.high,
                                   PlanPoint{bounds.low.x, bounds.high.y}})
            detail::Extend(box, At(p));
        box.min.z = box.max.z = 0;
        PrintDxfHeader(file_, box);
        PrintTables();
        file_.Print("0\nSECTION\n2\nENTITIES\n");
        for (std::size_t i = 0; i < sheet_.plans.size(); ++i) {
            shift_ = sheet_.shifts[i];
            PrintPlan(sheet_.plans[i]);
        }
        file_.Print("0\nENDSEC\n0\nEOF\n");
    }

private:
    [[nodiscard]] Place At(const PlanPoint& p) const {
        const PlanPoint back = TurnedBack(p + PlanPoint{shift_, 0}, sheet_.plans.front().turn);
        const Place world = frame_.ToWorld(Place{back.x, back.y, 0});
        return {world.x, world.y, 0};
    }
    // Degrees counter-clockwise from x, in the world, of a direction on the sheet.
    [[nodiscard]] double DegreesOf(const PlanPoint& way) const {
        const Place from = At({0, 0}), to = At(way);
        const double degrees = std::atan2(to.y - from.y, to.x - from.x) * 180 / std::numbers::pi;
        const double whole = degrees < -1e-5 ? degrees + 360 : degrees;
        return std::abs(whole) < 1e-5 ? 0 : whole;
    }
    static std::string LayerName(PlanLayer layer) { return std::string(StyleOf(layer).dxfLayer); }
    void PrintTables();
    void PrintPlan(const PlanDrawing& plan);
    void PrintPath(const std::string& layer, const PlanRing& points, bool closed);
    void PrintArea(const PlanArea& area);
    void PrintArc(const PlanArc& arc);
    void PrintText(const PlanText& text);

    TextFile& file_;
    const PlanSheet& sheet_;
    const detail::LocalToWorld& frame_;
    double shift_ = 0;
};

void DxfPlan::PrintTables() {
    const PlanDrawing& plan = sheet_.plans.front();
    std::vector<DxfLineType> types;
    std::vector<DxfLayer> layers;
    for (std::size_t i = 0; i < kPlanLayers; ++i) {
        const PlanStyle& style = StyleOf(static_cast<PlanLayer>(i));
        const std::string type = LineTypeOf(style);
        if (type != "CONTINUOUS") {
            types.push_back({type, {}});
            for (const double dash : style.dashes)
                if (dash > 0) types.back().dashes.push_back(plan.Paper(dash));
        }
        const std::string name(style.dxfLayer);
        if (std::none_of(layers.begin(), layers.end(),
                         [&name](const DxfLayer& layer) { return layer.name == name; }))
            layers.push_back({name, style.dxfColour, type});
    }
    PrintDxfTables(file_, types, layers);
}

void DxfPlan::PrintPlan(const PlanDrawing& plan) {
    for (const PlanArea& area : plan.areas) PrintArea(area);
    for (const PlanPath& path : plan.paths)
        PrintPath(LayerName(path.layer), path.points, path.closed);
    for (const PlanArc& arc : plan.arcs) PrintArc(arc);
    for (const PlanText& text : plan.texts) PrintText(text);
}

void DxfPlan::PrintPath(const std::string& layer, const PlanRing& points, bool closed) {
    std::vector<Place> places;
    for (const PlanPoint& p : points) places.push_back(At(p));
    if (places.size() == 2 && !closed) {
        file_.Print("0\nLINE\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n11\n{:.6f}\n21\n{:.6f}\n", layer,
                    places[0].x, places[0].y, places[1].x, places[1].y);
        return;
    }
    PrintDxfPath(file_, layer, places, closed ? DxfPath::ClosedOnPlan : DxfPath::OpenOnPlan);
}

// The format fills three and four corners; a larger area is its outline.
void DxfPlan::PrintArea(const PlanArea& area) {
    const std::string layer = LayerName(area.layer);
    const PlanRing& ring = area.region.outer;
    if (area.layer == PlanLayer::Room || ring.size() > 4 || !area.region.holes.empty()) {
        PrintPath(layer, ring, true);
        for (const PlanRing& hole : area.region.holes) PrintPath(layer, hole, true);
        return;
    }
    // Corners in rows: the last two change places.
    const std::size_t last = ring.size() - 1;
    file_.Print("0\nSOLID\n8\n{}\n", layer);
    int code = 10;
    for (const std::size_t i : {std::size_t{0}, std::size_t{1}, last, std::size_t{2}}) {
        const Place p = At(ring[i]);
        file_.Print("{}\n{:.6f}\n{}\n{:.6f}\n", code, p.x, code + 10, p.y);
        ++code;
    }
}

// Arcs run counter-clockwise.
void DxfPlan::PrintArc(const PlanArc& arc) {
    const Place centre = At(arc.centre);
    const PlanPoint first = arc.left ? arc.from : arc.To(), last = arc.left ? arc.To() : arc.from;
    file_.Print("0\nARC\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n40\n{:.6f}\n50\n{:.4f}\n51\n{:.4f}\n",
                LayerName(arc.layer), centre.x, centre.y, Length(arc.from - arc.centre),
                DegreesOf(first - arc.centre), DegreesOf(last - arc.centre));
}

// Of a text: 72 how it lies along its line, 73 half-way up its place, which 11 and 21 hold.
void DxfPlan::PrintText(const PlanText& text) {
    const PlanPoint way = text.upward ? PlanPoint{0, 1} : PlanPoint{1, 0};
    const double width = WidthOf(text);
    const double before = text.align == PlanAlign::Left     ? 0
                          : text.align == PlanAlign::Centre ? width / 2
                                                            : width;
    const Place start = At(text.at - way * before - LeftOf(way) * (text.height / 2));
    const Place place = At(text.at);
    file_.Print("0\nTEXT\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n40\n{:.6f}\n1\n{}\n50\n{:.4f}\n72\n{}\n",
                LayerName(text.layer), start.x, start.y, text.height, Encoded(text.text),
                DegreesOf(way), static_cast<int>(text.align));
    file_.Print("11\n{:.6f}\n21\n{:.6f}\n73\n2\n", place.x, place.y);
}

}  // namespace

void PrintPlanDxf(TextFile& file, const PlanSheet& sheet, const detail::LocalToWorld& frame) {
    DxfPlan(file, sheet, frame).Print();
}

}  // namespace orvix::output
