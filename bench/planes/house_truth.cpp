// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/house_truth.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <string>

#include "orvix/platform/file.h"

namespace orvix::bench {
namespace {

using Json = nlohmann::json;

constexpr std::int64_t kMaxId = 0xFFFFFE;

/// Whether a plane of the file was read into its face; `false` where a value is missing or absurd.
bool Take(const Json& plane, std::vector<TrueFace>& faces) {
    const std::int64_t id = plane.at("id").get<std::int64_t>();
    const auto normal = plane.at("normal").get<std::vector<double>>();
    if (id < 1 || id > kMaxId || normal.size() != 3) return false;
    TrueFace face;
    face.plane.normal = {normal[0], normal[1], normal[2]};
    face.plane.offset = -plane.at("offset").get<double>();
    face.plane.area = plane.at("area").get<double>();
    face.judged = !plane.at("curved").get<bool>() && !plane.at("glass").get<bool>();
    TrueFace none;
    none.judged = false;
    if (faces.size() < static_cast<std::size_t>(id))
        faces.resize(static_cast<std::size_t>(id), none);
    faces[static_cast<std::size_t>(id - 1)] = face;
    return true;
}

}  // namespace

Expected<std::vector<TrueFace>> ParseHouse(std::string_view text, std::string_view name) {
    const auto wrong = [name](std::string_view what) {
        return Fail(ErrorCode::BadInput, fmt::format("{} is no truth of a house: {}", name, what));
    };
    std::vector<TrueFace> faces;
    try {
        const Json file = Json::parse(text);
        for (const Json& plane : file.at("planes"))
            if (!Take(plane, faces)) return wrong("a plane's id or normal cannot be");
    } catch (const Json::exception& e) {
        return wrong(e.what());
    }
    if (faces.empty()) return wrong("there is no plane in it");
    return faces;
}

Expected<std::vector<TrueFace>> ReadHouse(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    std::string text;
    if (!error) {
        text.resize(file.Size());
        text.resize(file.ReadAt(0, text.data(), text.size(), error));
    }
    if (error) return FailSystem(error, "cannot read " + platform::ToUtf8(path));
    return ParseHouse(text, platform::ToUtf8(path));
}

}  // namespace orvix::bench
