// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/results/deviation_result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cli/json_parts.h"
#include "cli/printable.h"
#include "orvix/platform/amounts.h"

namespace orvix::cli {

namespace {

constexpr std::size_t kListed = 20;
constexpr std::uint64_t kFewPoints = 100;  // below, a median is no finding

using platform::CountText;
using reports::DeviationFigures, reports::DeviationReport, reports::DrawnElement;

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

double ShareOf(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

void AddFigures(Json& json, const DeviationFigures& figures) {
    const bool any = figures.points != 0;
    const auto valueOrNull = [any](double value) { return any ? Json(value) : Json(); };
    json["points"] = figures.points;
    json["within"] = valueOrNull(ShareOf(figures.within, figures.points));
    json["median"] = valueOrNull(figures.median);
    json["p5"] = valueOrNull(figures.low);
    json["p95"] = valueOrNull(figures.high);
    json["rms"] = valueOrNull(figures.rms);
}

Json ModelOf(const ElementsGiven& given) {
    if (given.model == ElementsGiven::Model::None) return {};
    return given.model == ElementsGiven::Model::Saved ? "saved" : "found";
}

Json JsonOf(const DeviationArguments& arguments, const ElementsGiven& given,
            const DeviationReport& report) {
    const std::vector<DrawnElement>& elements = given.elements;
    Json json = Json::object();
    json["against"] = arguments.from;
    json["model"] = ModelOf(given);
    json["not_taken"] = TextOrNull(given.notTaken);
    json["reach"] = arguments.options.reach;
    json["tolerance"] = arguments.options.tolerance;
    json["cell"] = report.cell;
    json["step"] = report.step;
    json["stations_known"] = report.stationsKnown;
    json["project_points"] = report.points;
    AddFigures(json, report.all);
    json["area"] = report.area;
    json["missing"] = report.missing;
    json["hidden"] = report.stationsKnown ? Json(report.hidden) : Json();
    json["elements"] = Json::array();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Json element = Json::object();
        element["number"] = i + 1;
        element["id"] = TextOrNull(elements[i].id);
        element["class"] = TextOrNull(elements[i].kind);
        element["name"] = TextOrNull(elements[i].name);
        AddFigures(element, report.elements[i].figures);
        element["area"] = report.elements[i].area;
        element["missing"] = report.elements[i].missing;
        element["hidden"] = report.stationsKnown ? Json(report.elements[i].hidden) : Json();
        json["elements"].push_back(std::move(element));
    }
    json["picture"] = NameOrNull(arguments.picture);
    json["seconds"] = report.seconds;
    return json;
}

/// The elements whose points lie farthest off first; those with few points at the end.
std::vector<std::size_t> WorstFirst(const DeviationReport& report) {
    std::vector<std::size_t> order(report.elements.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto few = [&](std::size_t i) { return report.elements[i].figures.points < kFewPoints; };
    const auto off = [&](std::size_t i) { return std::abs(report.elements[i].figures.median); };
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        if (few(a) != few(b)) return few(b);
        if (!few(a) && off(a) != off(b)) return off(a) > off(b);
        return a < b;
    });
    return order;
}

std::string NameOf(const DrawnElement& element) {
    std::string name = element.kind;
    if (!name.empty() && !element.name.empty()) name += ' ';
    name += element.name;
    return name.empty() ? "-" : PrintableName(name);
}

std::string LineOf(std::size_t i, const DrawnElement& element,
                   const reports::ElementDeviation& its) {
    const DeviationFigures& f = its.figures;
    std::string line = fmt::format("{:>6}    {:<40} {:>9.2f} m2", i + 1, NameOf(element), its.area);
    if (f.points == 0) return line + "  no points\n";
    return line +
           fmt::format(
               " {:>12} points  {:+7.1f} mm, {:+.1f} to {:+.1f}, {:5.1f} % within, {:5.1f} "
               "% missing",
               CountText(f.points), f.median * 1000, f.low * 1000, f.high * 1000,
               100 * ShareOf(f.within, f.points), 100 * its.missing) +
           (its.hidden > 0 ? fmt::format(", {:.1f} % hidden\n", 100 * its.hidden) : "\n");
}

std::string ModelText(const ElementsGiven& given) {
    if (given.model == ElementsGiven::Model::None) return {};
    if (given.model == ElementsGiven::Model::Saved)
        return "          the model that the project keeps\n";
    if (given.notTaken.empty())
        return "          a model that was found now: the project keeps none\n";
    return "          a model that was found now, and not the one that the project keeps:\n"
           "          " +
           PrintableName(given.notTaken) + '\n';
}

std::string TextOf(const DeviationArguments& arguments, const ElementsGiven& given,
                   const DeviationReport& report) {
    const std::vector<DrawnElement>& elements = given.elements;
    const DeviationFigures& all = report.all;
    std::string text =
        fmt::format("against   {}: {} elements, {:.2f} m2\n", PrintableName(arguments.from),
                    CountText(elements.size()), report.area);
    text += ModelText(given);
    text += fmt::format("points    {} of {} within {:g} m of them\n", CountText(all.points),
                        CountText(report.points), arguments.options.reach);
    if (!report.stationsKnown && !arguments.options.bothSides)
        text += "          the scanners' positions are not known: a point may be of either side\n";
    if (all.points != 0)
        text += fmt::format(
            "off       median {:+.1f} mm, {:+.1f} to {:+.1f} mm, rms {:.1f} mm; {:.1f} % within "
            "{:g} mm\n",
            all.median * 1000, all.low * 1000, all.high * 1000, all.rms * 1000,
            100 * ShareOf(all.within, all.points), arguments.options.tolerance * 1000);
    text += fmt::format("missing   {:.1f} % of the surface", 100 * report.missing);
    text += report.stationsKnown
                ? fmt::format(": {:.1f} % in sight of a scanner, {:.1f} % hidden from all\n",
                              100 * (report.missing - report.hidden), 100 * report.hidden)
                : std::string("\n");
    const std::vector<std::size_t> order = WorstFirst(report);
    for (std::size_t i = 0; i < std::min(order.size(), kListed); ++i)
        text += LineOf(order[i], elements[order[i]], report.elements[order[i]]);
    if (order.size() > kListed)
        text += fmt::format("          and {} more; --json lists them all\n",
                            CountText(order.size() - kListed));
    if (!arguments.picture.empty()) text += fmt::format("picture   {}\n", arguments.picture);
    return text + fmt::format("{:.2f} s\n", report.seconds);
}

}  // namespace

Outcome OutcomeOf(const DeviationArguments& arguments, const ElementsGiven& given,
                  const DeviationReport& report) {
    return {JsonOf(arguments, given, report), TextOf(arguments, given, report)};
}

}  // namespace orvix::cli
