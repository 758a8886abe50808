// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does it cost to hold every point of a project against the faces of some hundred
//           elements?
// Ceiling:  a bare loop over the mapped point file, on one thread as the comparison here. Rival: CGAL's
//           AABB tree, asked for the nearest place of the same triangles to each point.
#include "reports/deviation/deviation.h"

#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>

#include <cmath>
#include <cstring>
#include <map>

#include "bench/bench_support.h"
#include "importer/import.h"
#include "orvix/platform/mapping.h"
#include "output/mesh/planes_mesh.h"
#include "reports/deviation/triangle_tree.h"
#include "reports/planes_report.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
using Kernel = CGAL::Simple_cartesian<double>;
using Triangles = std::vector<Kernel::Triangle_3>;
using Primitive = CGAL::AABB_triangle_primitive<Kernel, Triangles::const_iterator>;
using Tree = CGAL::AABB_tree<CGAL::AABB_traits<Kernel, Primitive>>;

constexpr std::uint64_t kRivalPoints = 500'000;  // it takes microseconds a point

std::vector<reports::DrawnElement> ElementsOf(const reports::WorldProject& project) {
    const auto finding = reports::FindPlanes(project, {});
    bench::Require(finding && !finding->planes.empty(), "no planes were found");
    const output::PlanesMesh drawn =
        output::MeshOfPlanes(*finding->set, project.frame, finding->planes);
    std::vector<reports::DrawnElement> elements(drawn.parts.size());
    std::size_t part = 0;
    for (std::size_t t = 0; t < drawn.mesh.triangles.size(); ++t) {
        while (part + 1 < drawn.parts.size() && drawn.parts[part + 1].first <= t) ++part;
        const auto& [a, b, c] = drawn.mesh.triangles[t];
        elements[part].triangles.push_back(
            {drawn.mesh.points[a], drawn.mesh.points[b], drawn.mesh.points[c]});
    }
    return elements;
}

/// The same triangles in the project's frame, and whose they are.
struct Rival {
    Triangles triangles;
    std::vector<std::uint32_t> elements;
    std::vector<reports::Face> faces;
    Tree tree;

    Rival(const reports::WorldProject& project, const std::vector<reports::DrawnElement>& drawn) {
        for (std::uint32_t i = 0; i < drawn.size(); ++i) {
            for (const auto& triangle : drawn[i].triangles) {
                std::array<detail::Vector, 3> corners;
                for (std::size_t k = 0; k < 3; ++k) corners[k] = project.frame.ToLocal(triangle[k]);
                const reports::Face face = reports::Face::Of(corners, i);
                if (detail::Length(face.normal) == 0) continue;
                const auto& [a, b, c] = corners;
                triangles.emplace_back(Kernel::Point_3(a.x, a.y, a.z),
                                       Kernel::Point_3(b.x, b.y, b.z),
                                       Kernel::Point_3(c.x, c.y, c.z));
                elements.push_back(i);
                faces.push_back(face);
            }
        }
        tree.rebuild(triangles.begin(), triangles.end());
        tree.accelerate_distance_queries();
    }
    /// The height over the nearest triangle of each point that has one within the reach, and whose foot
    /// lies on it, by element.
    std::map<std::uint32_t, std::vector<double>> Heights(const std::uint8_t* points,
                                                         std::uint64_t count, double reach) const {
        std::map<std::uint32_t, std::vector<double>> heights;
        CCloudPoint<float> p;
        for (std::uint64_t i = 0; i < count; ++i) {
            std::memcpy(&p, points + i * kAlivePointBytes, sizeof p);
            const Kernel::Point_3 at(p.x, p.y, p.z);
            const auto [place, primitive] = tree.closest_point_and_primitive(at);
            if (CGAL::squared_distance(place, at) > reach * reach) continue;
            const auto which = static_cast<std::size_t>(primitive - triangles.begin());
            if (faces[which].OverhangOf({p.x, p.y, p.z}, 0.01) > 0.01) continue;
            heights[elements[which]].push_back(faces[which].HeightOf({p.x, p.y, p.z}));
        }
        return heights;
    }
};

double SumOf(const std::uint8_t* points, std::uint64_t count) {
    double sum = 0;
    CCloudPoint<float> point;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::memcpy(&point, points + i * kAlivePointBytes, sizeof point);
        sum += point.x + 2.0 * point.y + 3.0 * point.z;
    }
    return sum;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    const test::ScratchFolder folder;
    // All points are looked at by the rival's check, so that there are few in a project of their own.
    for (const std::uint64_t points : {kRivalPoints, options.points}) {
        const bool check = points == kRivalPoints;
        const CString name = check ? L"check" : L"large";
        const test::SyntheticBuilding building({.seed = 5, .points = points});
        test::WriteScan(building, folder / (name + L".las"));
        const CString path = folder / (name + L".prj");
        bench::Require(importer::Import({folder / (name + L".las")}, path, {}).has_value(),
                       "the import failed");
        const auto project = reports::WorldProject::Open(path);
        bench::Require(project.has_value(), "the project does not open");
        const auto elements = ElementsOf(*project);
        std::error_code error;
        const auto mapped = platform::MappedFile::Open(project->Manager().gridPts, error);
        bench::Require(!error, "the point file cannot be mapped");
        const auto count = static_cast<std::uint64_t>(project->Core().AlivePointCount());
        reports::DeviationOptions how;
        how.threads = 1;
        const auto run = [&] { return reports::FindDeviations(*project, elements, how); };
        if (!check) {
            bench::Report report("deviation", options);
            report.Compare(
                fmt::format("{} elements, over a loop on the mapped file", elements.size()),
                count * kAlivePointBytes, [&] { bench::Keep(SumOf(mapped.Data(), count)); },
                [&] { bench::Keep(run()->all.points); });
            break;
        }
        const Rival rival(*project, elements);
        const auto deviations = run();
        bench::Require(deviations.has_value(), "the comparison failed");
        std::map<std::uint32_t, std::vector<double>> heights;
        const double theirs =
            bench::Seconds([&] { heights = rival.Heights(mapped.Data(), count, how.reach); });
        std::uint64_t near = 0;
        for (auto& [element, of] : heights) {
            near += of.size();
            const auto& figures = deviations->elements[element].figures;
            // Where two faces are as near, each may take the other's points.
            if (of.size() < 1000) continue;
            bench::Require(std::fabs(bench::Median(of) - figures.median) < 2e-4,
                           "a median differs");
            bench::Require(
                std::fabs(static_cast<double>(of.size()) / static_cast<double>(figures.points) -
                          1) < 0.05,
                "the points of an element differ");
        }
        bench::Require(
            std::fabs(static_cast<double>(near) / static_cast<double>(deviations->all.points) - 1) <
                0.005,
            "the points near the elements differ");
        const double ours = bench::Seconds([&] { bench::Keep(run()->all.points); });
        fmt::print("deviation: CGAL's AABB tree: {:.0f} ns a point, here {:.0f}: ratio {:.1f}\n",
                   theirs / static_cast<double>(count) * 1e9,
                   ours / static_cast<double>(count) * 1e9, theirs / ours);
    }
    return 0;
}
