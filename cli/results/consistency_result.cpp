// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/results/consistency_result.h"

#include <fmt/format.h>

#include <algorithm>
#include <numbers>
#include <utility>

#include "cli/json_parts.h"
#include "cli/printable.h"
#include "orvix/geometry/vector.h"
#include "orvix/platform/amounts.h"

namespace orvix::cli {

namespace {

using platform::CountText;
using reports::ConsistencyReport, reports::PairConsistency, reports::StationConsistency;

constexpr double kMillidegrees = 180'000 / std::numbers::pi;
constexpr double kMillimetres = 1000;
constexpr double kArm = 5;  // metres: where a turn is worth as much as a shift
constexpr std::size_t kListedPairs = 5;

Json MotionJson(const SimplePointT<double>& shift, const SimplePointT<double>& rotation) {
    Json json = Json::object();
    json["shift"] = PointJson(shift);
    json["rotation"] = PointJson(rotation);
    return json;
}

Json JsonOf(const StationConsistency& station) {
    Json json = Json::object();
    json["number"] = station.number;
    json["planes"] = station.planes;
    json["patches"] = station.patches;
    json["offset"] = station.offset;
    json["turn"] = station.turnPlanes == 0 ? Json() : Json(station.turn);
    json["correction"] = MotionJson(station.shift, station.rotation);
    json["deviation"] = MotionJson(station.shiftSigma, station.rotationSigma);
    json["about"] = PointJson(station.centre);
    json["directions"] = station.directions;
    json["weak"] = station.weak;
    json["moved"] = station.moved;
    return json;
}

Json JsonOf(const PairConsistency& pair) {
    Json json = Json::object();
    json["numbers"] = Json::array({pair.first, pair.second});
    json["planes"] = pair.planes;
    json["patches"] = pair.patches;
    json["offset"] = pair.offset;
    json["correction"] = MotionJson(pair.shift, pair.rotation);
    json["directions"] = pair.directions;
    json["weak"] = pair.weak;
    return json;
}

/// Three numbers; "?" for one that what was seen does not decide.
std::string VectorText(const SimplePointT<double>& value, const SimplePointT<double>& deviation,
                       double least, double unit, const char* form) {
    std::string text;
    for (const auto& [part, uncertain] :
         {std::pair{value.x, deviation.x}, std::pair{value.y, deviation.y},
          std::pair{value.z, deviation.z}}) {
        const bool known = uncertain <= least;
        text += fmt::format(
            " {:>8}", known ? fmt::format(fmt::runtime(form), part * unit) : std::string("?"));
    }
    return text + fmt::format(" ({:.1f})", detail::Length(deviation) * unit);
}

std::string LineOf(const StationConsistency& station) {
    std::string line =
        fmt::format("{:>5}  {:<20} {:>6} {:>8} {:>8.2f}", station.number,
                    PrintableName(station.name.value_or("-")), CountText(station.planes),
                    CountText(station.patches), station.offset * kMillimetres);
    line += station.turnPlanes == 0 ? fmt::format(" {:>8}", "-")
                                    : fmt::format(" {:>8.1f}", station.turn * kMillidegrees);
    line += fmt::format("  {:<36}", VectorText(station.shift, station.shiftSigma,
                                               reports::kWeakDirection, kMillimetres, "{:+.2f}"));
    line += VectorText(station.rotation, station.rotationSigma, reports::kWeakDirection / kArm,
                       kMillidegrees, "{:+.1f}");
    return line + (station.moved ? "  MOVED\n" : "\n");
}

std::string WorstPairs(const ConsistencyReport& report) {
    std::vector<const PairConsistency*> pairs;
    for (const PairConsistency& pair : report.pairs) pairs.push_back(&pair);
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const auto* a, const auto* b) { return a->offset > b->offset; });
    std::string text;
    for (std::size_t i = 0; i < std::min(pairs.size(), kListedPairs); ++i)
        text += fmt::format("{:<10}{:>5} and {:<5} {:.2f} mm apart on {} planes\n",
                            i == 0 ? "pairs" : "", pairs[i]->first, pairs[i]->second,
                            pairs[i]->offset * kMillimetres, CountText(pairs[i]->planes));
    if (pairs.size() > kListedPairs)
        text += fmt::format("          and {} more; --json lists them all\n",
                            CountText(pairs.size() - kListedPairs));
    return text;
}

}  // namespace

Json JsonOf(const ConsistencyReport& report) {
    Json json = Json::object();
    json["planes"] = report.planes;
    json["patches"] = report.patches;
    json["patch"] = report.side;
    json["offset"] = report.offset;
    json["moved"] = report.moved;
    json["compared"] = Json::array();
    for (const StationConsistency& station : report.stations)
        json["compared"].push_back(JsonOf(station));
    json["pairs"] = Json::array();
    for (const PairConsistency& pair : report.pairs) json["pairs"].push_back(JsonOf(pair));
    json["seconds"] = report.seconds;
    return json;
}

std::string TextOf(const ConsistencyReport& report) {
    std::string text =
        fmt::format("compared  {} patches of {:g} m on {} planes that two stations or more saw\n",
                    CountText(report.patches), report.side, CountText(report.planes));
    text += fmt::format("{:>5}  {:<20} {:>6} {:>8} {:>8} {:>8}   {:<36} {}\n", "", "station",
                        "planes", "patches", "mm off", "mdeg off",
                        "correction mm x y z (deviation)", "turn mdeg x y z (deviation)");
    for (const StationConsistency& station : report.stations) text += LineOf(station);
    text += WorstPairs(report);
    text += fmt::format("median    {:.2f} mm between a station and the others on a plane\n",
                        report.offset * kMillimetres);
    text += report.moved == 0
                ? std::string(
                      "verdict   no station is off by more than what is uncertain of it; ? is not "
                      "decided\n")
                : fmt::format("verdict   {} of {} stations are off; nothing was corrected\n",
                              report.moved, report.stations.size());
    return text + fmt::format("{:.2f} s\n", report.seconds);
}

}  // namespace orvix::cli
