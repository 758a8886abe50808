// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <string>

#include "output/drawing/letters.h"
#include "output/sheets/plan_formats.h"

namespace orvix::output {

namespace {

constexpr double kMargin = 10;  // millimetres

std::string Utf8Of(char32_t letter) {
    const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
    if (letter < 0x80) return {byte(letter)};
    if (letter < 0x800) return {byte(0xC0 | letter >> 6), byte(0x80 | (letter & 0x3F))};
    if (letter < 0x10000)
        return {byte(0xE0 | letter >> 12), byte(0x80 | (letter >> 6 & 0x3F)),
                byte(0x80 | (letter & 0x3F))};
    return {byte(0xF0 | letter >> 18), byte(0x80 | (letter >> 12 & 0x3F)),
            byte(0x80 | (letter >> 6 & 0x3F)), byte(0x80 | (letter & 0x3F))};
}

// Text between tags. Characters that XML cannot hold, and bytes that are no text, become U+FFFD.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (char32_t letter : LettersOf(text)) {
        const bool surrogate = letter >= 0xD800 && letter < 0xE000;
        if (letter < 0x20 || surrogate || letter == 0xFFFE || letter == 0xFFFF) letter = 0xFFFD;
        if (letter == '&')
            escaped += "&amp;";
        else if (letter == '<')
            escaped += "&lt;";
        else if (letter == '>')
            escaped += "&gt;";
        else
            escaped += Utf8Of(letter);
    }
    return escaped;
}

std::string StyleText(PlanLayer layer) {
    const PlanStyle& style = StyleOf(layer);
    const Colour& c = style.colour;
    std::string text = fmt::format(".{} {{ stroke: #{:02x}{:02x}{:02x}; stroke-width: {};",
                                   style.name, c.r, c.g, c.b, style.width);
    if (style.dashes[0] > 0) {
        text += " stroke-dasharray:";
        for (const double dash : style.dashes)
            if (dash > 0) text += fmt::format(" {}", dash);
        text += ';';
    }
    return text + fmt::format(" }}\n.{} .fill {{ fill: #{:02x}{:02x}{:02x}; stroke: none; }}\n",
                              style.name, c.r, c.g, c.b);
}

class SvgPlan {
public:
    SvgPlan(TextFile& file, const PlanSheet& sheet, const PlanDrawing& plan, double shift)
        : file_(file), plan_(plan), perMetre_(1000 / plan.scale) {
        left_ = sheet.bounds.low.x - shift;
        top_ = sheet.bounds.high.y;
    }

    void Print() {
        file_.Print("<g id=\"{}\" class=\"storey\">\n<title>{}</title>\n", plan_.id,
                    Escaped(plan_.name));
        for (std::size_t layer = 0; layer < kPlanLayers; ++layer)
            PrintLayer(static_cast<PlanLayer>(layer));
        file_.Print("</g>\n");
    }

private:
    [[nodiscard]] std::string At(const PlanPoint& p) const {
        return fmt::format("{:.3f} {:.3f}", kMargin + (p.x - left_) * perMetre_,
                           kMargin + (top_ - p.y) * perMetre_);
    }
    [[nodiscard]] std::string RingText(const PlanRing& ring, bool closed) const {
        std::string text;
        for (const PlanPoint& p : ring) text += (text.empty() ? "M" : "L") + At(p);
        return closed ? text + "Z" : text;
    }
    void PrintLayer(PlanLayer layer);
    void PrintText(const PlanText& text);

    TextFile& file_;
    const PlanDrawing& plan_;
    double perMetre_;
    double left_ = 0;
    double top_ = 0;
};

void SvgPlan::PrintLayer(PlanLayer layer) {
    std::string fills, lines;
    for (const PlanArea& area : plan_.areas)
        if (area.layer == layer) {
            std::string rings = RingText(area.region.outer, true);
            for (const PlanRing& hole : area.region.holes) rings += RingText(hole, true);
            fills += fmt::format("<path class=\"fill\" fill-rule=\"evenodd\" d=\"{}\"/>\n", rings);
        }
    for (const PlanPath& path : plan_.paths)
        if (path.layer == layer) lines += RingText(path.points, path.closed) + "\n";
    for (const PlanArc& arc : plan_.arcs)
        if (arc.layer == layer) {
            const double radius = Length(arc.from - arc.centre) * perMetre_;
            lines += fmt::format("M{}A{:.3f} {:.3f} 0 0 {} {}\n", At(arc.from), radius, radius,
                                 arc.left ? 0 : 1, At(arc.To()));
        }
    const bool texts = std::any_of(plan_.texts.begin(), plan_.texts.end(),
                                   [layer](const PlanText& text) { return text.layer == layer; });
    if (fills.empty() && lines.empty() && !texts) return;
    file_.Print("<g class=\"{}\">\n", StyleOf(layer).name);
    file_.Append(fills.data(), fills.size());
    if (!lines.empty()) {
        lines.pop_back();
        file_.Print("<path d=\"{}\"/>\n", lines);
    }
    for (const PlanText& text : plan_.texts)
        if (text.layer == layer) PrintText(text);
    file_.Print("</g>\n");
}

void SvgPlan::PrintText(const PlanText& text) {
    const PlanPoint down = text.upward ? PlanPoint{1, 0} : PlanPoint{0, -1};
    const std::string at = At(text.at + down * (text.height / 2));
    const std::string x = at.substr(0, at.find(' ')), y = at.substr(at.find(' ') + 1);
    const char* anchor = text.align == PlanAlign::Left     ? "start"
                         : text.align == PlanAlign::Centre ? "middle"
                                                           : "end";
    file_.Print("<text x=\"{}\" y=\"{}\" font-size=\"{:.2f}\" text-anchor=\"{}\"", x, y,
                text.height * perMetre_ / kCapitalHeight, anchor);
    if (text.upward) file_.Print(" transform=\"rotate(-90 {} {})\"", x, y);
    file_.Print(">{}</text>\n", Escaped(text.text));
}

}  // namespace

void PrintPlanSvg(TextFile& file, const PlanSheet& sheet) {
    const double scale = sheet.plans.front().scale;
    const double width = sheet.bounds.Size().x * 1000 / scale + 2 * kMargin;
    const double height = sheet.bounds.Size().y * 1000 / scale + 2 * kMargin;
    file.Print(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"{:.3f}mm\" "
        "height=\"{:.3f}mm\" viewBox=\"0 0 {:.3f} {:.3f}\">\n"
        "<!-- Units are millimetres of paper at a scale of 1:{:.0f}. -->\n<style>\n"
        "path {{ fill: none; stroke-linecap: butt; stroke-linejoin: miter; }}\n"
        "text {{ font-family: \"DejaVu Sans\", Arial, Helvetica, sans-serif; stroke: none; "
        "fill: #181c22; }}\n",
        width, height, width, height, scale);
    for (std::size_t layer = 0; layer < kPlanLayers; ++layer)
        file.Print("{}", StyleText(static_cast<PlanLayer>(layer)));
    file.Print("</style>\n<rect width=\"{:.3f}\" height=\"{:.3f}\" fill=\"#ffffff\"/>\n", width,
               height);
    for (std::size_t i = 0; i < sheet.plans.size(); ++i)
        SvgPlan(file, sheet, sheet.plans[i], sheet.shifts[i]).Print();
    file.Print("</svg>\n");
}

}  // namespace orvix::output
