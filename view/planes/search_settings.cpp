// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/search_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <set>
#include <string_view>

#include "orvix/planes/seed/plane_from_seed.h"
#include "orvix/planes/unsaved_settings.h"

namespace orvix::view {

namespace {

constexpr double kFarthest = 1e9;

// A number that a user may set.
struct Setting {
    const char* name;
    const char* caption;
    const char* unit;
    double min;
    double max;
    double step;
    const char* meaning;
};

// Names of the command's options, captions of the window of the plane parameters where it has them.
constexpr Setting kSplit{"split",
                         "Cell size",
                         "m",
                         0.001,
                         detail::kMaxSplitSize,
                         0.01,
                         "Side of a search cell; more is taken where points are sparse"};
constexpr Setting kDiff{"diff",
                        "Angular tolerance",
                        "",
                        0,
                        2,
                        0.015,
                        "Largest difference of each component of a cell's normal"};
constexpr Setting kMinPlane{
    "min_plane", "Speed", "", 0, 1e6, 1, "Most points handed on per cell; 0: all of them"};
constexpr Setting kDistance{"distance",
                            "Distance",
                            "m",
                            1e-6,
                            detail::kMaxSplitSize,
                            0.001,
                            "Largest distance of a point from the plane; else from the noise at "
                            "the seed"};
constexpr Setting kReach{"reach",
                         "Reach",
                         "m",
                         0.001,
                         kFarthest,
                         1,
                         "Largest distance from the seed; else until points end"};

constexpr Setting kCell{"cell",
                        "Cell size",
                        "m",
                        0.001,
                        10,
                        0.05,
                        "Side of a cell: 0.1, 0.2, 0.25, 0.5, 1, 2, 5 or 10, the next of them for "
                        "a size between; else from how densely points lie"};
constexpr Setting kPlanesDistance{"distance",
                                  "Distance",
                                  "m",
                                  1e-6,
                                  1000,
                                  0.001,
                                  "Largest distance of a point from its plane; else from the "
                                  "noise, and from how each plane scatters and waves"};
constexpr Setting kAngle{
    "angle", "Angle", "degrees", 1e-6, 180, 1, "Largest turn of a cell's normal; else 20"};
constexpr Setting kMinArea{"min_area",
                           "Least area",
                           "m\xC2\xB2",
                           1e-6,
                           kFarthest,
                           0.05,
                           "Least area of a plane; else 0.015 in a room or house, up to 0.25 in "
                           "what is wider"};
constexpr Setting kMinPoints{"min_points",
                             "Least points",
                             "",
                             1,
                             kFarthest,
                             10,
                             "Least points of a plane; else 50, in thin scans 30"};
constexpr Setting kBridge{"bridge",
                          "Gap",
                          "m",
                          0,
                          1000,
                          0.1,
                          "Width of a gap across which pieces of one plane join; else two cells "
                          "and the points' distance"};

constexpr std::array kDetails{std::pair{"fine", detection::Detail::Fine},
                              std::pair{"normal", detection::Detail::Normal},
                              std::pair{"coarse", detection::Detail::Coarse}};
constexpr std::array kFormats{"ply", "obj", "dxf", "geojson", "ifc"};

Json SettingJson(const Setting& setting, const Json& value) {
    Json json = Json::object();
    json["name"] = setting.name;
    json["caption"] = setting.caption;
    if (*setting.unit != 0) json["unit"] = setting.unit;
    json["min"] = setting.min;
    json["max"] = setting.max;
    json["step"] = setting.step;
    json["value"] = value;
    json["meaning"] = setting.meaning;
    return json;
}

Json ChoiceJson(const char* name, const char* caption, const char* meaning, const Json& choices,
                const Json& value) {
    return Json{{"name", name},
                {"caption", caption},
                {"choices", choices},
                {"value", value},
                {"meaning", meaning}};
}

Json SpeedJson(std::int32_t minPlane) {
    const auto choice = [](std::int32_t value, const char* caption) {
        return Json{{"value", value}, {"caption", caption}};
    };
    Json choices = Json::array({choice(0, "Exact"), choice(400, "Balanced"), choice(100, "Fast")});
    if (minPlane != 0 && minPlane != 400 && minPlane != 100)
        choices.push_back(choice(minPlane, "As set in the project"));
    return ChoiceJson(kMinPlane.name, kMinPlane.caption, kMinPlane.meaning, choices, minPlane);
}

Json DetailJson() {
    Json choices = Json::array();
    for (const auto& [word, unused] : kDetails) {
        std::string caption = word;
        caption.front() = static_cast<char>(caption.front() - 'a' + 'A');
        choices.push_back(Json{{"value", word}, {"caption", caption}});
    }
    return ChoiceJson("detail", "Detail",
                      "How much of what stands out from a surface is a plane of its own", choices,
                      "normal");
}

Expected<Json> ObjectOf(const std::string& body, std::initializer_list<std::string_view> known) {
    Json json = Json::parse(body, nullptr, false);
    if (!json.is_object()) return Fail(ErrorCode::BadInput, "the body is no JSON object");
    for (const auto& [name, unused] : json.items())
        if (std::find(known.begin(), known.end(), name) == known.end())
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} is nothing that this request takes", name.substr(0, 40)));
    return json;
}

// The object within an object; an empty one where it is not there.
Expected<Json> PartOf(const Json& json, const char* name) {
    if (!json.contains(name)) return Json::object();
    if (!json[name].is_object())
        return Fail(ErrorCode::BadInput, fmt::format("{} is no object", name));
    return json[name];
}

using Take = std::pair<const Setting*, std::function<void(double)>>;

Expected<void> TakeNumbers(const Json& json, const std::vector<Take>& takes) {
    for (const auto& [name, value] : json.items()) {
        const std::string asked = name;
        const auto found = std::find_if(takes.begin(), takes.end(), [&](const Take& take) {
            return asked == take.first->name;
        });
        if (found == takes.end())
            return Fail(ErrorCode::BadInput,
                        fmt::format("there is no setting {}", asked.substr(0, 40)));
        if (value.is_null()) continue;
        const Setting& setting = *found->first;
        const double number =
            value.is_number() ? value.get<double>() : std::numeric_limits<double>::quiet_NaN();
        if (!(number >= setting.min && number <= setting.max))
            return Fail(ErrorCode::BadInput, fmt::format("{} must be a number from {} to {}", asked,
                                                         setting.min, setting.max));
        found->second(number);
    }
    return {};
}

bool IsPlace(const Json& json) {
    return json.is_array() && json.size() == 3 &&
           std::all_of(json.begin(), json.end(), [](const Json& v) {
               return v.is_number() && std::fabs(v.get<double>()) <= kFarthest;
           });
}

Expected<detection::Detail> TakeDetail(Json& options) {
    if (!options.contains("detail")) return detection::Detail::Normal;
    const Json word = options["detail"];
    options.erase("detail");
    if (word.is_null()) return detection::Detail::Normal;
    for (const auto& [name, detail] : kDetails)
        if (word == name) return detail;
    return Fail(ErrorCode::BadInput, "detail must be fine, normal or coarse");
}

}  // namespace

Expected<Json> SettingsJson(const CString& project) {
    const auto settings = detail::SettingsUnsaved(project);
    if (!settings) return ErrorOf(settings);
    const double diff =
        std::min({settings->aliveDiffA, settings->aliveDiffB, settings->aliveDiffC});
    Json plane = Json::array({SettingJson(kSplit, settings->aliveSplitSize),
                              SettingJson(kDiff, diff), SpeedJson(settings->aliveMinPlane),
                              SettingJson(kDistance, nullptr), SettingJson(kReach, nullptr)});
    Json planes = Json::array({DetailJson()});
    for (const Setting& setting : {kCell, kPlanesDistance, kAngle, kMinArea, kMinPoints, kBridge})
        planes.push_back(SettingJson(setting, nullptr));
    return Json{{"plane", std::move(plane)}, {"planes", std::move(planes)}};
}

Expected<reports::PlaneRequest> PlaneRequestOf(const std::string& body) {
    const auto json = ObjectOf(body, {"seed", "settings"});
    if (!json) return ErrorOf(json);
    if (!json->contains("seed") || !IsPlace((*json)["seed"]))
        return Fail(ErrorCode::BadInput, "seed must be three numbers, [x, y, z]");
    const auto settings = PartOf(*json, "settings");
    if (!settings) return ErrorOf(settings);
    reports::PlaneRequest request;
    request.local = true;
    for (std::size_t axis = 0; axis < 3; ++axis)
        request.seed[axis] = (*json)["seed"][axis].get<double>();
    const std::vector<Take> takes{
        {&kSplit, [&](double v) { request.splitSize = v; }},
        {&kDiff, [&](double v) { request.diffA = request.diffB = request.diffC = v; }},
        {&kMinPlane, [&](double v) { request.minPlane = static_cast<std::int32_t>(v); }},
        {&kDistance, [&](double v) { request.distance = v; }},
        {&kReach, [&](double v) { request.reach = v; }}};
    if (auto taken = TakeNumbers(*settings, takes); !taken) return ErrorOf(taken);
    return request;
}

Expected<PlanesRequest> PlanesRequestOf(const std::string& body) {
    const auto json = ObjectOf(body, {"saved", "options"});
    if (!json) return ErrorOf(json);
    PlanesRequest request;
    if (json->contains("saved")) {
        if (!(*json)["saved"].is_boolean())
            return Fail(ErrorCode::BadInput, "saved must be true or false");
        request.saved = (*json)["saved"].get<bool>();
    }
    auto options = PartOf(*json, "options");
    if (!options) return ErrorOf(options);
    detection::PlaneSearchOptions& search = request.options;
    const auto detail = TakeDetail(*options);
    if (!detail) return ErrorOf(detail);
    search.detail = *detail;
    const std::vector<Take> takes{{&kCell, [&](double v) { search.cellSize = v; }},
                                  {&kPlanesDistance, [&](double v) { search.distance = v; }},
                                  {&kAngle, [&](double v) { search.angle = v; }},
                                  {&kMinArea, [&](double v) { search.minArea = v; }},
                                  {&kMinPoints, [&](double v) { search.minPoints = v; }},
                                  {&kBridge, [&](double v) { search.bridge = v; }}};
    if (auto taken = TakeNumbers(*options, takes); !taken) return ErrorOf(taken);
    return request;
}

Expected<ExportRequest> ExportRequestOf(const std::string& body) {
    const auto json = ObjectOf(body, {"format", "planes"});
    if (!json) return ErrorOf(json);
    ExportRequest request;
    for (const char* format : kFormats)
        if (json->contains("format") && (*json)["format"] == format) request.format = format;
    if (request.format.empty())
        return Fail(ErrorCode::BadInput, "format must be ply, obj, dxf, geojson or ifc");
    const Json planes = json->contains("planes") ? (*json)["planes"] : Json();
    if (!planes.is_array() || planes.empty())
        return Fail(ErrorCode::BadInput, "planes must be an array of at least one number");
    std::set<std::uint32_t> seen;
    for (const Json& plane : planes) {
        const bool fits = plane.is_number_unsigned() &&
                          plane.get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
        if (!fits) return Fail(ErrorCode::BadInput, "planes must hold whole numbers from 1 on");
        const auto number = plane.get<std::uint32_t>();
        if (!seen.insert(number).second)
            return Fail(ErrorCode::BadInput, fmt::format("plane {} is named twice", number));
        request.planes.push_back(number);
    }
    return request;
}

Json FormatsJson() {
    Json formats = Json::array();
    for (const char* format : kFormats) formats.push_back(format);
    return formats;
}

}  // namespace orvix::view
