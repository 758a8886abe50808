// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/surface_mesh.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvix/geometry/vector.h"
#include "orvix/surfaces/outline_builder.h"
#include "orvix/surfaces/point_cloud_geometrics.h"

namespace orvix {
namespace {

using detail::Cross, detail::Length, detail::operator-;
using Point = detail::Vector;

double MeshArea(const std::vector<Point>& points, const std::vector<int>& faces) {
    double area = 0;
    for (std::size_t f = 0; f < faces.size(); f += 4) {
        const Point& corner = points[faces[f + 1]];
        area += Length(Cross(points[faces[f + 2]] - corner, points[faces[f + 3]] - corner)) / 2;
    }
    return area;
}

/// A sheet of the tilted plane with a window in it, a point every 10 cm.
struct Sheet {
    PlaneFrame frame{0.36, 0.48, 0.8, -1000};
    std::vector<Point> points;
    PlaneOutline outline;

    Sheet() {
        std::vector<SimplePoint2DT<double>> flat;
        for (int i = 0; i <= 40; ++i) {
            for (int j = 0; j <= 30; ++j) {
                if (i > 12 && i < 28 && j > 8 && j < 22) continue;
                points.push_back(frame.To3D({0.1 * i, 0.1 * j}));
                flat.push_back(frame.To2D(points.back()));
            }
        }
        outline = detail::BuildOutline(flat, {});
    }

    CGAL::Plane_3<CGAL::Epick> Plane() const {
        return {frame.A(), frame.B(), frame.C(), frame.D()};
    }
};

// BEHAVIOUR S3
TEST(SurfaceMesh, AMeshCutToItsOutlineHasTheOutlinesArea) {
    Sheet sheet;
    const std::size_t given = sheet.points.size();
    const std::vector<Point> boundary = BoundaryOf(sheet.points, sheet.outline.regions[0].outer);
    std::vector<int> faces;
    PointCloudGeometrics::ConstrainedSurface(sheet.points, sheet.Plane(), faces, &boundary);
    EXPECT_EQ(sheet.points.size(), given) << "the ring's own points are vertices already";
    EXPECT_NEAR(MeshArea(sheet.points, faces), 12, 1e-6);
    const std::vector<int> kept =
        FacesInsideOutline(sheet.points, faces, sheet.frame, sheet.outline);
    EXPECT_NEAR(MeshArea(sheet.points, kept), sheet.outline.area, 1e-6);
    EXPECT_NEAR(sheet.outline.area, 12 - 1.6 * 1.4, 0.25);
}

TEST(SurfaceMesh, LaysAppendedVerticesOnThePlane) {
    Sheet sheet;
    const std::size_t given = sheet.points.size();
    // From outside across the sheet: two new ends, and no outline through them.
    const std::vector<Point> boundary{sheet.frame.To3D({-1.05, 1.03}),
                                      sheet.frame.To3D({5.07, 1.02})};
    std::vector<int> faces;
    PointCloudGeometrics::ConstrainedSurface(sheet.points, sheet.Plane(), faces, &boundary);
    ASSERT_EQ(sheet.points.size(), given + 2);
    LiftPlanarVertices(sheet.points, given, sheet.frame);
    for (std::size_t i = given; i < sheet.points.size(); ++i) {
        EXPECT_NEAR(sheet.frame.Distance(sheet.points[i]), 0, 1e-9);
        const Point& end = sheet.frame.To2D(sheet.points[i]).x < 0 ? boundary[0] : boundary[1];
        EXPECT_NEAR(sheet.points[i].x, end.x, 1e-9);
        EXPECT_NEAR(sheet.points[i].z, end.z, 1e-9);
    }
}

TEST(SurfaceMesh, HasNothingForAnEmptyOutline) {
    EXPECT_TRUE(BoundaryOf({}, PlaneRing()).empty());
    EXPECT_TRUE(FacesInsideOutline({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {3, 0, 1, 2},
                                   PlaneFrame(0, 0, 1, 0), PlaneOutline())
                    .empty());
}

}  // namespace
}  // namespace orvix
