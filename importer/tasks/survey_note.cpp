// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/survey_note.h"

#include "importer/tasks/task_name.h"

namespace orvix::importer {
namespace {

using Position = SimplePointT<double>;

Json JsonOf(const Position& p) {
    return Json::array({p.x, p.y, p.z});
}

Position PositionOf(const Json& json) {
    return {json.at(0).get<double>(), json.at(1).get<double>(), json.at(2).get<double>()};
}

// Names are bytes: nothing says that a file's are valid UTF-8.
Json JsonOf(const ScanPart& part) {
    Json json{{"name", std::vector<std::uint8_t>(part.name.begin(), part.name.end())}};
    if (part.pose) {
        const Quaternion& turn = part.pose->rotation;
        json["position"] = JsonOf(part.pose->position);
        json["rotation"] = Json::array({turn.w, turn.x, turn.y, turn.z});
    }
    if (part.map) json["map"] = part.map->m;
    return json;
}

ScanPart PartOf(const Json& json) {
    ScanPart part;
    const auto name = json.at("name").get<std::vector<std::uint8_t>>();
    part.name.assign(name.begin(), name.end());
    if (json.contains("position")) {
        const auto turn = json.at("rotation").get<std::array<double, 4>>();
        part.pose = ScanPose{PositionOf(json.at("position")), {turn[0], turn[1], turn[2], turn[3]}};
    }
    if (json.contains("map")) part.map = AffineMap{json.at("map").get<std::array<double, 12>>()};
    return part;
}

Json JsonOf(const SurveyedScan& scan) {
    const AttributeRange& range = scan.range;
    const PointlessRecords& less = scan.pointless;
    return {{"points", scan.points},
            {"pointless", {less.malformed, less.noReturn, less.invalid, less.directionOnly}},
            {"intensity", {range.minIntensity, range.maxIntensity}},
            {"intensities", range.intensities},
            {"whole", range.wholeIntensities},
            {"colour", range.maxColour}};
}

SurveyedScan ScanOf(const Json& json) {
    SurveyedScan scan;
    scan.points = json.at("points");
    const Json& less = json.at("pointless");
    scan.pointless = {less.at(0), less.at(1), less.at(2), less.at(3)};
    scan.range = {json.at("intensity").at(0), json.at("intensity").at(1), json.at("intensities"),
                  json.at("whole"), json.at("colour")};
    return scan;
}

Json JsonOf(const SurveyMark& mark) {
    Json json = mark.place;
    json.push_back(mark.points);
    json.push_back(mark.bytes);
    return json;
}

SurveyMark MarkOf(const Json& json) {
    SurveyMark mark;
    for (std::size_t i = 0; i < mark.place.size(); ++i) mark.place[i] = json.at(i);
    mark.points = json.at(mark.place.size());
    mark.bytes = json.at(mark.place.size() + 1);
    return mark;
}

InputSurvey SurveyOf(const Json& json) {
    InputSurvey survey;
    for (const Json& part : json.at("parts")) survey.parts.push_back(PartOf(part));
    for (const Json& scan : json.at("scans")) survey.scans.push_back(ScanOf(scan));
    survey.usable = json.at("usable");
    survey.box = {PositionOf(json.at("min")), PositionOf(json.at("max"))};
    for (const Json& median : json.at("medians"))
        survey.medians.push_back({PositionOf(median), median.at(3)});
    for (const Json& mark : json.at("marks")) survey.marks.push_back(MarkOf(mark));
    if (survey.scans.size() > survey.parts.size())
        throw Json::out_of_range::create(401, "scans", &json);
    return survey;
}

std::string NoteOf(std::size_t input) {
    return FileNameOf({TaskKind::Survey, input});
}

}  // namespace

Expected<InputSurvey> ReadSurvey(const TaskNotes& notes, std::size_t input) {
    return ReadNote(notes, NoteOf(input), SurveyOf);
}

Expected<void> WriteSurvey(const TaskNotes& notes, std::size_t input, const InputSurvey& survey) {
    Json json{{"parts", Json::array()},        {"scans", Json::array()},
              {"usable", survey.usable},       {"min", JsonOf(survey.box.min)},
              {"max", JsonOf(survey.box.max)}, {"medians", Json::array()},
              {"marks", Json::array()}};
    for (const ScanPart& part : survey.parts) json["parts"].push_back(JsonOf(part));
    for (const SurveyedScan& scan : survey.scans) json["scans"].push_back(JsonOf(scan));
    for (const WeightedPosition& median : survey.medians) {
        json["medians"].push_back(JsonOf(median.position));
        json["medians"].back().push_back(median.weight);
    }
    for (const SurveyMark& mark : survey.marks) json["marks"].push_back(JsonOf(mark));
    return notes.Write(NoteOf(input), json);
}

}  // namespace orvix::importer
