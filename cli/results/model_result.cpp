// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/results/model_result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/json_parts.h"
#include "orvix/platform/amounts.h"
#include "output/building/building_json.h"

namespace orvix::cli {

namespace {

using building::Building;
using building::Measure;
using reports::BuildingFinding;

constexpr std::size_t kListed = 40;

// "12.50 +- 0.02": the value and the wider of its two sides.
std::string TextOf(const Measure& measure, int digits) {
    const double half = std::max(measure.high - measure.value, measure.value - measure.low);
    return fmt::format("{:.{}f} +- {:.{}f}", measure.value, digits, half, digits);
}

// Of a place of the project's frame, in the world; never "-0.000".
double HeightOf(const detail::LocalToWorld& frame, double z) {
    const double height = frame.ToWorld(SimplePointT<double>{0, 0, z}).z;
    return std::abs(height) < 0.0005 ? 0 : height;
}

std::string CountOf(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", platform::CountText(count), count == 1 ? one : many);
}

std::string TextOfPlanes(const BuildingFinding& finding) {
    if (!finding.planes) return "found     earlier; kept in the project\n";
    return fmt::format("planes    {}, {} in {:.2f} s\n", platform::CountText(*finding.planes),
                       finding.planesRead ? "kept in the project, read" : "found",
                       finding.planesSeconds);
}

std::string TextOfRooms(const Building& building) {
    std::string text;
    const std::size_t listed = std::min(building.rooms.size(), kListed);
    for (std::size_t i = 0; i < listed; ++i) {
        const building::Room& room = building.rooms[i];
        text += fmt::format("          {:<10} {:<10} {:>16} m2 {:>14} m {:>16} m3\n", room.name,
                            building.storeys[room.storey].name, TextOf(room.area, 2),
                            TextOf(room.height, 3), TextOf(room.volume, 2));
    }
    if (listed < building.rooms.size())
        text += fmt::format("          and {} more; --json lists them all\n",
                            platform::CountText(building.rooms.size() - listed));
    return text;
}

std::string TextOf(const ModelArguments& arguments, const BuildingFinding& finding,
                   const detail::LocalToWorld& frame) {
    const Building& building = finding.building;
    const reports::BuildingSums sums = reports::SumsOf(building);
    std::string text = TextOfPlanes(finding);
    for (std::size_t i = 0; i < building.storeys.size(); ++i) {
        const building::Storey& storey = building.storeys[i];
        text += fmt::format("{:<9} {}, floor at {:.3f} m, ceiling at {:.3f} m\n",
                            i == 0 ? "storeys" : "", storey.name, HeightOf(frame, storey.elevation),
                            HeightOf(frame, storey.ceiling));
    }
    text += fmt::format("rooms     {}, {:.2f} m2, {:.2f} m3\n{}",
                        platform::CountText(building.rooms.size()), sums.floorArea, sums.volume,
                        TextOfRooms(building));
    text += fmt::format("walls     {}, {:.2f} m2 without openings; of {} one side alone was seen\n",
                        platform::CountText(building.walls.size()), sums.wallArea,
                        platform::CountText(sums.faces));
    text += fmt::format("openings  {}, {}, {}\n", CountOf(sums.doors, "door", "doors"),
                        CountOf(sums.windows, "window", "windows"),
                        CountOf(sums.holes, "hole", "holes"));
    text += fmt::format("slabs     {}\n", platform::CountText(building.slabs.size()));
    if (!building.slopes.empty())
        text += fmt::format(
            "roof      {}, {}\n", CountOf(building.slopes.size(), "slope", "slopes"),
            CountOf(building.edges.size(), "ridge, hip or valley", "ridges, hips and valleys"));
    for (const std::string& remark : building.remarks)
        text += fmt::format("note      {}\n", remark);
    for (const std::string& file : arguments.files) text += fmt::format("file      {}\n", file);
    if (!arguments.picture.empty()) text += fmt::format("picture   {}\n", arguments.picture);
    if (arguments.save) text += "saved     the model is kept in the project\n";
    return text + fmt::format("{:.2f} s\n", finding.seconds + finding.planesSeconds);
}

Json JsonOf(const ModelArguments& arguments, const BuildingFinding& finding,
            const detail::LocalToWorld& frame) {
    const reports::BuildingSums sums = reports::SumsOf(finding.building);
    Json json = Json::object();
    json["model"] = Json::parse(output::JsonOf(finding.building, frame));
    json["sums"] = Json{{"floor_area", sums.floorArea}, {"volume", sums.volume},
                        {"wall_area", sums.wallArea},   {"doors", sums.doors},
                        {"windows", sums.windows},      {"holes", sums.holes}};
    json["planes"] = finding.planes ? Json(*finding.planes) : Json();
    json["planes_read"] = finding.planesRead;
    json["files"] = arguments.files;
    json["picture"] = NameOrNull(arguments.picture);
    json["saved"] = arguments.save;
    json["planes_seconds"] = finding.planesSeconds;
    json["seconds"] = finding.seconds;
    return json;
}

}  // namespace

Outcome OutcomeOf(const ModelArguments& arguments, const BuildingFinding& finding,
                  const detail::LocalToWorld& frame) {
    return {JsonOf(arguments, finding, frame), TextOf(arguments, finding, frame)};
}

}  // namespace orvix::cli
