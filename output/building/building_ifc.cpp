// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_ifc.h"

#include <algorithm>
#include <cmath>

#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::Building, building::ElementKind;
using detail::LocalToWorld, detail::Vector, detail::Cross, detail::Dot, detail::operator-;
using std::string;

const detail::TriangleMesh& BuildingIfc::MeshOf(ElementKind kind, std::size_t place) const {
    return std::find_if(meshes_.begin(), meshes_.end(),
                        [&](const auto& m) { return m.kind == kind && m.place == place; })
        ->mesh;
}

detail::TriangleMesh BuildingIfc::Moved(ElementKind kind, std::size_t place,
                                        const Vector& zero) const {
    detail::TriangleMesh mesh = MeshOf(kind, place);
    for (Vector& p : mesh.points) p = p - zero;
    return mesh;
}

// Near the middle of what there is.
Vector BuildingIfc::Zero() const {
    constexpr double kFar = 1e300;
    Vector low{kFar, kFar, kFar}, high{-kFar, -kFar, -kFar};
    double farthest = 0;
    for (const building::ElementMesh& element : meshes_)
        for (const Vector& local : element.mesh.points) {
            const Vector p = frame_.ToWorld(local);
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
            farthest = std::max({farthest, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
        }
    return farthest > 0 ? ModelZero(farthest, detail::Middle(low, high)) : Vector{};
}

void BuildingIfc::Aggregate(const string& bytes, std::size_t whole,
                            const std::vector<std::size_t>& parts) {
    if (!parts.empty())
        file_.Add("IFCRELAGGREGATES('{}',$,$,$,#{},{})", ids_.Of("parts of " + bytes), whole,
                  ListOf(parts));
}

void BuildingIfc::PrintProject() {
    const string bytes = BytesOf(building_);
    const auto id = [&](const char* role) { return ids_.Of(role + bytes); };
    const std::size_t units = file_.AddUnits();
    const std::size_t project = file_.Add("IFCPROJECT('{}',$,'Building',$,$,$,$,(#{}),#{})",
                                          id("project "), shapes_.Context(), units);
    const Vector zero = Zero();
    file_.AddMapConversion(shapes_.Context(), zero);
    const auto& m = frame_.m;
    const std::size_t sitePlacement =
        shapes_.AddPlacement(0, {frame_.Origin() - zero, {m[2], m[6], m[10]}, {m[0], m[4], m[8]}});
    const std::size_t site = file_.Add("IFCSITE('{}',$,'Site',$,$,#{},$,$,.ELEMENT.,$,$,$,$,$)",
                                       id("site "), sitePlacement);
    const std::size_t placement = shapes_.AddPlacement(sitePlacement, {});
    const std::size_t building = file_.Add(
        "IFCBUILDING('{}',$,'Building',$,$,#{},$,$,.ELEMENT.,$,$,$)", id("building "), placement);
    Aggregate("project" + bytes, project, {site});
    Aggregate("site" + bytes, site, {building});
    std::vector<std::size_t> storeys;
    for (const building::Storey& storey : building_.storeys) {
        const std::size_t own = shapes_.AddPlacement(placement, {{0, 0, storey.elevation}});
        const string storeyBytes = BytesOf(storey);
        storeys.push_back(file_.Add("IFCBUILDINGSTOREY('{}',$,{},$,$,#{},$,$,.ELEMENT.,{})",
                                    ids_.Of(storeyBytes), Text(storey.name), own,
                                    Real(storey.elevation)));
        parts_.push_back({storeyBytes, storeys.back(), own, storey.elevation, {}, {}});
    }
    Aggregate("building" + bytes, building, storeys);
    if (storeys.empty()) parts_.push_back({"building" + bytes, building, placement, 0, {}, {}});
    properties_.Add("StationsKnown", building_.stationsKnown);
    properties_.Add("Remarks", building_.remarks);
    properties_.AttachSet("Orvix_Model", building, bytes);
}

void BuildingIfc::PrintContents(const Part& part) {
    Aggregate(part.bytes, part.id, part.spaces);
    if (!part.elements.empty())
        file_.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('{}',$,$,$,{},#{})",
                  ids_.Of("contents of " + part.bytes), ListOf(part.elements), part.id);
}

namespace {

// Whether the frame turns and shifts, and does no more.
bool IsRigid(const LocalToWorld& frame) {
    constexpr double kSame = 1e-9;
    const auto& m = frame.m;
    const Vector x{m[0], m[4], m[8]}, y{m[1], m[5], m[9]}, z{m[2], m[6], m[10]};
    return detail::Length(Cross(x, y) - z) < kSame && std::abs(Dot(x, x) - 1) < kSame &&
           std::abs(Dot(y, y) - 1) < kSame && std::abs(Dot(x, y)) < kSame;
}

}  // namespace

Expected<void> WriteIfc(const CString& path, const Building& building, const LocalToWorld& frame) {
    if (!IsRigid(frame))
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(path) +
                        " cannot be written: the project's transform stretches or mirrors, which "
                        "IFC's placements cannot; write .obj or .json instead");
    TextFile file(path);
    BuildingIfc(file, building, frame).Print();
    return file.Commit();
}

}  // namespace orvix::output
