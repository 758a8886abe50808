// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/plane_search.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "orvix/geometry/vector.h"
#include "orvix/planes/seed/plane_mesh.h"
#include "orvix/planes/seed/project_cloud.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/open_project.h"
#include "output/picture/picture_view.h"

namespace orvix::cli {

namespace {

using detail::Vector, detail::operator-;

constexpr std::uint64_t kPicturePoints = 2'000'000;

detail::SeedPlaneOptions OptionsOf(const PlaneRequest& request,
                                   const std::function<bool()>& proceed) {
    detail::SeedPlaneOptions options;
    options.splitSize = request.splitSize.value_or(options.splitSize);
    if (request.angle) {
        const double radians = *request.angle * std::numbers::pi / 180;
        options.diffA = options.diffB = options.diffC = 2 * std::sin(radians / 2);
    }
    options.diffA = request.diffA.value_or(options.diffA);
    options.diffB = request.diffB.value_or(options.diffB);
    options.diffC = request.diffC.value_or(options.diffC);
    options.reach = request.reach.value_or(options.reach);
    options.maxDistance = request.distance.value_or(options.maxDistance);
    options.proceed = proceed;
    return options;
}

// World positions relative to the centroid, where a picture's arithmetic is at home.
class NearFrame {
public:
    NearFrame(const detail::LocalToWorld& frame, const Vector& centre)
        : frame_(frame), centre_(centre) {}

    Vector operator()(const Vector& local) const { return frame_.ToWorld(local) - centre_; }

private:
    const detail::LocalToWorld& frame_;
    Vector centre_;
};

std::vector<Vector> SkeletonPoints(CProjectCore& core, const NearFrame& near) {
    std::vector<Vector> points;
    std::uint8_t* view = core.SkeletCoordPtsMapAddress();
    if (view == nullptr) return points;
    const auto count = static_cast<std::uint64_t>(core.SkeletPointCount());
    const std::uint64_t stride =
        std::max<std::uint64_t>(1, (count + kPicturePoints - 1) / kPicturePoints);
    for (std::uint64_t i = 0; i < count; i += stride) {
        SimplePointT<float> p;
        std::memcpy(&p, view + i * kSkeletonRecordBytes, sizeof p);
        points.push_back(near({p.x, p.y, p.z}));
    }
    UnmapFileView(view);
    return points;
}

std::string TiltText(const Vector& normal) {
    const double upright = std::asin(std::min(std::fabs(normal.z), 1.0)) * 180 / std::numbers::pi;
    if (upright < 45) return fmt::format("{:.1f} degrees off upright", upright);
    return fmt::format("{:.1f} degrees off level", 90 - upright);
}

output::PlanePicture PictureOf(const PlaneFinding& finding, const NearFrame& near,
                               CProjectCore& core, double cloudSpacing) {
    const detail::SeedPlane& grown = finding.grown;
    output::PlanePicture picture;
    picture.normal = {finding.equation[0], finding.equation[1], finding.equation[2]};
    for (const Vector& p : detail::Thinned(grown.plane.data(), kPicturePoints))
        picture.plane.push_back(near(p));
    picture.cloud = SkeletonPoints(core, near);
    picture.cloudSpacing = cloudSpacing;
    const auto addRing = [&](const PlaneRing& ring) {
        picture.rings.emplace_back();
        for (const Vector& p : grown.plane.RingTo3D(ring)) picture.rings.back().push_back(near(p));
    };
    for (const PlaneRegion& region : grown.plane.Outline().regions) {
        addRing(region.outer);
        for (const PlaneRing& hole : region.holes) addRing(hole);
    }
    picture.seed = near(grown.seed);
    picture.rms = grown.rms;
    picture.title = fmt::format("Plane of {:.2f} m², rms {:.1f} mm", grown.area, grown.rms * 1000);
    picture.subtitle = fmt::format(
        "{} points in {} cells, largest distance {:.1f} mm, {}", platform::CountText(grown.points),
        platform::CountText(grown.cells), grown.maxDistance * 1000, TiltText(picture.normal));
    return picture;
}

std::size_t HolesOf(const PlaneOutline& outline) {
    std::size_t holes = 0;
    for (const PlaneRegion& region : outline.regions) holes += region.holes.size();
    return holes;
}

Expected<detail::TriangleMesh> MeshOf(const PlaneFinding& finding,
                                      const detail::LocalToWorld& frame) {
    const detail::SeedPlane& grown = finding.grown;
    // BEHAVIOUR C7
    detail::TriangleMesh mesh = detail::MeshOfPlane(
        grown.plane, detail::Thinned(grown.plane.data(), detail::SeedPlaneOptions{}.outlinePoints),
        frame, finding.equation);
    if (!mesh.triangles.empty()) return mesh;
    return Fail(ErrorCode::BadInput,
                fmt::format("the plane's {} points enclose no area, so there is no mesh; choose "
                            "another seed, or a larger --distance",
                            grown.points));
}

// Growth speaks of the project's own frame; who gave a world seed wants to know where that lies.
tl::unexpected<Error> WithOrigin(Error error, const detail::LocalToWorld& frame) {
    const Vector origin = frame.Origin();
    const bool apart = origin.x != 0 || origin.y != 0 || origin.z != 0;
    if (error.code == ErrorCode::BadInput && apart)
        error.message += fmt::format(" (local 0, 0, 0 is {}, {}, {} in the world)", origin.x,
                                     origin.y, origin.z);
    return tl::unexpected<Error>(std::move(error));
}

Expected<detail::SeedPlane> Grow(detail::OpenProject& project, const detail::LocalToWorld& frame,
                                 const PlaneRequest& request,
                                 const std::function<bool()>& proceed) {
    const Vector asked{request.seed[0], request.seed[1], request.seed[2]};
    const Vector seed = request.local ? asked : frame.ToLocal(asked);
    PlaneWormSettings settings(project.Manager().projectFile, 1.0);
    settings.aliveMinPlane = request.minPlane.value_or(settings.aliveMinPlane);
    detail::ProjectCloud cloud(project.Core());
    return detail::GrowPlaneFromSeed(cloud, settings, seed, OptionsOf(request, proceed));
}

}  // namespace

Expected<PlaneFinding> FindPlane(const CString& path, const PlaneRequest& request,
                                 const std::function<bool()>& proceed) {
    auto project = detail::OpenProject::Open(path);
    if (!project) return ErrorOf(project);
    const ProjectManager& manager = (*project)->Manager();
    const auto frame = detail::ReadTransform(manager.transformFile);
    if (!frame) return ErrorOf(frame);
    auto grown = Grow(**project, *frame, request, proceed);
    if (!grown) return WithOrigin(grown.error(), *frame);

    PlaneFinding finding;
    finding.grown = std::move(*grown);
    const FittedPlane& plane = finding.grown.plane;
    finding.equation = detail::WorldEquation(plane, *frame);
    finding.centroid = frame->ToWorld(Vector{plane.x(), plane.y(), plane.z()});
    finding.seed = frame->ToWorld(finding.grown.seed);
    finding.holes = HolesOf(plane.Outline());
    if (request.wantMesh) {
        Expected<detail::TriangleMesh> mesh = MeshOf(finding, *frame);
        if (!mesh) return ErrorOf(mesh);
        finding.mesh = std::move(*mesh);
    }
    if (request.wantPicture)
        finding.picture = PictureOf(finding, NearFrame(*frame, finding.centroid),
                                    (*project)->Core(), manager.cloudHeader.scale);
    return finding;
}

}  // namespace orvix::cli
