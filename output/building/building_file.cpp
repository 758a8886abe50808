// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_file.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "building/element_meshes.h"
#include "output/building/building_ifc.h"
#include "output/building/building_json.h"
#include "output/file_ending.h"
#include "output/mesh/mesh_writer.h"
#include "output/sheets/write_plans.h"
#include "output/text_file.h"

namespace orvix::output {

namespace {

using building::Building;
using detail::LocalToWorld;

Expected<void> WriteObj(const CString& path, const Building& building, const LocalToWorld& frame,
                        const PlanOptions&) {
    detail::TriangleMesh all;
    std::vector<MeshPart> parts;
    for (const building::ElementMesh& element : MeshesOf(building)) {
        std::string name = element.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        parts.push_back({all.triangles.size(), name});
        const auto first = static_cast<std::uint32_t>(all.points.size());
        for (const auto& p : element.mesh.points) all.points.push_back(frame.ToWorld(p));
        for (const auto& t : element.mesh.triangles)
            all.triangles.push_back({first + t[0], first + t[1], first + t[2]});
    }
    return WriteMesh(path, all, parts);
}

Expected<void> WriteJson(const CString& path, const Building& building, const LocalToWorld& frame,
                         const PlanOptions&) {
    const std::string text = JsonOf(building, frame);
    TextFile file(path);
    file.Append(text.data(), text.size());
    return file.Commit();
}

Expected<void> WriteIfcFile(const CString& path, const Building& building,
                            const LocalToWorld& frame, const PlanOptions&) {
    return WriteIfc(path, building, frame);
}

struct Format {
    std::wstring_view ending;
    Expected<void> (*write)(const CString&, const Building&, const LocalToWorld&,
                            const PlanOptions&);
};

constexpr std::array kFormats{Format{L".ifc", WriteIfcFile}, Format{L".obj", WriteObj},
                              Format{L".json", WriteJson},   Format{L".svg", WritePlans},
                              Format{L".dxf", WritePlans},   Format{L".png", WritePlans}};

}  // namespace

bool IsBuildingName(const CString& path) {
    return std::any_of(kFormats.begin(), kFormats.end(),
                       [&](const Format& format) { return HasEnding(path, format.ending); });
}

std::string BuildingEndings() {
    std::string list;
    for (std::size_t i = 0; i < kFormats.size(); ++i) {
        if (i > 0) list += i + 1 == kFormats.size() ? " or " : ", ";
        list += platform::ToUtf8(CString(kFormats[i].ending));
    }
    return list;
}

Expected<void> WriteBuilding(const CString& path, const Building& building,
                             const LocalToWorld& frame, const PlanOptions& plans) {
    for (const Format& format : kFormats)
        if (HasEnding(path, format.ending)) return format.write(path, building, frame, plans);
    return Fail(ErrorCode::BadInput, platform::ToUtf8(path) + " must end in " + BuildingEndings() +
                                         " to hold a building");
}

}  // namespace orvix::output
