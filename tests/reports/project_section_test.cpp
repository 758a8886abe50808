// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/project_section.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "importer/import.h"
#include "orvix/geometry/bounds.h"
#include "orvix/platform/path.h"
#include "output/export/project_export.h"
#include "output/picture/picture_of_section.h"
#include "output/picture/section_picture.h"
#include "support/scans/las_writer.h"
#include "support/scratch_folder.h"

namespace orvix::test {
namespace {

using namespace reports;
using detail::Vector, detail::operator-;

constexpr double kEast = 770'500;
constexpr double kNorth = 6'277'500;

/// Walls of a room of 8 by 6 m and 3 m high far from the world's zero, the wall at the south with an
/// opening from 3 to 5 m and up to 2 m, without floor and ceiling.
class ProjectSectionOfARoom : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        std::mt19937_64 random(7);
        const auto share = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
        std::string text;
        for (int i = 0; i < 60'000; ++i) {
            const double along = share(), z = 3 * share();
            Vector p{8 * along, i % 4 == 0 ? 0.0 : 6.0, z};
            if (i % 4 > 1) p = {i % 4 == 2 ? 0.0 : 8.0, 6 * along, z};
            if (p.y == 0 && p.x > 3 && p.x < 5 && z < 2) continue;
            text += fmt::format("{:.4f} {:.4f} {:.4f}\n", kEast + p.x, kNorth + p.y, p.z);
        }
        WriteText(*folder_ / L"room.xyz", text);
        const auto report = importer::Import({*folder_ / L"room.xyz"}, Path(), {});
        ASSERT_TRUE(report) << report.error().message;
    }
    static void TearDownTestSuite() {
        delete folder_;
        folder_ = nullptr;
    }
    static CString Path() { return *folder_ / L"room.prj"; }

    static WorldProject Open() {
        auto project = WorldProject::Open(Path());
        EXPECT_TRUE(project) << project.error().message;
        return std::move(*project);
    }
    static std::vector<Vector> PointsOf(const WorldProject& project) {
        auto reader = project.Core().CreateAlivePointReader();
        std::vector<CCloudPoint<float>> points;
        reader->ReadIndexPoints(0, static_cast<std::uint32_t>(project.Core().AlivePointCount()),
                                points);
        std::vector<Vector> world;
        for (const auto& p : points) world.push_back(project.frame.ToWorld(Vector{p.x, p.y, p.z}));
        return world;
    }

    /// Counts in the world and in double precision; points so near a face that rounding decides
    /// are counted apart.
    struct PlainReport {
        SectionCounts counts;
        std::uint64_t open = 0;
        Extends2DT<double> extent = detail::NoBounds<Extends2DT<double>>();
    };
    static PlainReport Plain(const std::vector<Vector>& points, const SectionRequest& request) {
        PlainReport plain;
        const SectionSlab& slab = request.slab;
        for (const Vector& p : points) {
            const Vector q = request.frame.ToSection(p);
            const auto from = [&plain](double value, double face) {
                if (std::fabs(value - face) < 1e-5) ++plain.open;
                return value - face;
            };
            if (from(q.x, slab.xLow) < 0 || from(q.x, slab.xHigh) > 0 || from(q.z, slab.zLow) < 0 ||
                from(q.z, slab.zHigh) > 0) {
                ++plain.counts.outside;
            } else if (from(q.y, slab.halfThickness) > 0) {
                ++plain.counts.behind;
            } else if (from(q.y, -slab.halfThickness) < 0) {
                ++plain.counts.before;
            } else {
                ++plain.counts.in;
                detail::Extend(plain.extent, SimplePoint2DT<double>{q.x, q.z});
            }
        }
        return plain;
    }
    static void ExpectSame(const SectionReport& found, const PlainReport& plain) {
        const auto near = [&plain](std::uint64_t a, std::uint64_t b) {
            return (a > b ? a - b : b - a) <= plain.open;
        };
        EXPECT_LT(plain.open, 20u);
        EXPECT_GT(plain.counts.in, 100u);
        EXPECT_TRUE(near(found.counts.in, plain.counts.in));
        EXPECT_TRUE(near(found.counts.behind, plain.counts.behind));
        EXPECT_TRUE(near(found.counts.before, plain.counts.before));
        EXPECT_TRUE(near(found.counts.outside, plain.counts.outside));
        EXPECT_EQ(found.counts.Total(), plain.counts.Total());
        EXPECT_NEAR(found.extent.min.x, plain.extent.min.x, 0.01);
        EXPECT_NEAR(found.extent.max.x, plain.extent.max.x, 0.01);
        EXPECT_NEAR(found.extent.min.y, plain.extent.min.y, 0.01);
        EXPECT_NEAR(found.extent.max.y, plain.extent.max.y, 0.01);
    }
    static SectionReport Report(const WorldProject& project, const SectionRequest& request) {
        auto section = ProjectSection::Open(project, request);
        EXPECT_TRUE(section) << section.error().message;
        auto report = ReportSection(*section, {});
        EXPECT_TRUE(report) << report.error().message;
        return std::move(*report);
    }
    /// Through the opening of the south wall, which stands 5 cm inside the slab.
    static SectionRequest SouthWall() {
        SectionRequest request;
        request.frame = *SectionFrame::Through({kEast, kNorth, kEast + 8, kNorth});
        request.slab = {0.1, -0.5, 8.5, -0.5, 3.5};
        return request;
    }

    static inline ScratchFolder* folder_ = nullptr;
};

TEST_F(ProjectSectionOfARoom, CountsAsAPlainLoopDoes) {
    const WorldProject project = Open();
    const auto points = PointsOf(project);
    SectionRequest plan{.frame = *SectionFrame::AtLevel(1.0)};
    ExpectSame(Report(project, plan), Plain(points, plan));
    plan.slab = {0.3, kEast - 1, kEast + 4.2, kNorth + 2, kNorth + 7};
    ExpectSame(Report(project, plan), Plain(points, plan));
    ExpectSame(Report(project, SouthWall()), Plain(points, SouthWall()));
    const double d = -0.6 * (kEast + 4) + 0.7 * (kNorth + 3) - 0.2 * 1.5;
    SectionRequest slope{.frame = *SectionFrame::OfPlane({0.6, -0.7, 0.2, d})};
    slope.slab.halfThickness = 0.25;
    ExpectSame(Report(project, slope), Plain(points, slope));
}

TEST_F(ProjectSectionOfARoom, KeepsAnEvenSampleOfManyPoints) {
    std::vector<LasPoint> points(600'000);
    std::int32_t i = 0;
    for (LasPoint& point : points) point = {i % 1000 * 7, i / 1000 * 11, i++ % 13 * 100};
    const auto las = MakeLas({}, points);
    WriteBytes(*folder_ / L"many.las", las.data(), las.size());
    ASSERT_TRUE(importer::Import({*folder_ / L"many.las"}, *folder_ / L"many.prj", {}));
    const auto project = WorldProject::Open(*folder_ / L"many.prj");
    ASSERT_TRUE(project);
    const SectionRequest everything{.frame = *SectionFrame::AtLevel(0), .slab = {1000}};
    auto section = ProjectSection::Open(*project, everything);
    ASSERT_TRUE(section);
    const auto report = ReportSection(*section, {});
    ASSERT_TRUE(report);
    EXPECT_EQ(report->counts.in, points.size());
    // 600,000 are more than twice 262,144: every fourth.
    ASSERT_EQ(report->sample.size(), points.size() / 4);
    std::size_t differ = 0;
    ASSERT_TRUE(section->Stream(RevitAMP::Bit(SectionClass::In),
                                [&](const RevitAMP::Chunk& chunk) {
                                    for (std::size_t k = 0; k < chunk.points.size(); ++k) {
                                        const std::uint64_t number = chunk.firstPoint + k;
                                        if (number % 4 != 0) continue;
                                        const Vector place = section->Place(chunk.points[k]);
                                        const auto& kept =
                                            report->sample[static_cast<std::size_t>(number / 4)];
                                        differ += kept.x != place.x || kept.y != place.z;
                                    }
                                },
                                {}));
    EXPECT_EQ(differ, 0u);
}

TEST_F(ProjectSectionOfARoom, FollowsAProjectFrameThatIsTurned) {
    WorldProject project = Open();
    // About the upright axis by the angle of 3, 4, 5, and tilted.
    project.frame.m = {0.6,  -0.8, 0,   kEast, 0.48, 0.36, -0.8, kNorth,
                       0.64, 0.48, 0.6, 40,    0,    0,    0,    1};
    const auto points = PointsOf(project);
    const Vector middle = points[points.size() / 2];
    SectionRequest plan{.frame = *SectionFrame::AtLevel(middle.z)};
    plan.slab.halfThickness = 0.2;
    ExpectSame(Report(project, plan), Plain(points, plan));
    const double d = -0.6 * middle.x + 0.8 * middle.y;
    SectionRequest upright{.frame = *SectionFrame::OfPlane({0.6, -0.8, 0, d})};
    upright.slab.halfThickness = 0.2;
    ExpectSame(Report(project, upright), Plain(points, upright));
}

// BEHAVIOUR C19
TEST_F(ProjectSectionOfARoom, ExportsThePointsThatItCounts) {
    const SectionRequest request{.frame = *SectionFrame::AtLevel(1.0), .slab = {0.1}};
    const WorldProject project = Open();
    const SectionReport counted = Report(project, request);
    output::ExportOptions options;
    options.section = request;
    const auto exported = output::ExportProject(Path(), *folder_ / L"slab.xyz", options);
    ASSERT_TRUE(exported) << exported.error().message;
    EXPECT_EQ(exported->points, counted.counts.in);
    EXPECT_EQ(exported->bounds.min.z, counted.bounds.min.z);
    EXPECT_EQ(exported->bounds.max.x, counted.bounds.max.x);
    const auto again = importer::Import({*folder_ / L"slab.xyz"}, *folder_ / L"slab.prj", {});
    ASSERT_TRUE(again) << again.error().message;
    auto opened = WorldProject::Open(*folder_ / L"slab.prj");
    ASSERT_TRUE(opened);
    for (const Vector& p : PointsOf(*opened)) ASSERT_NEAR(p.z, 1.0, 0.1001);
    options.existing = output::ExistingFile::Replace;
    options.section->frame = *SectionFrame::AtLevel(50);
    const auto none = output::ExportProject(Path(), *folder_ / L"slab.xyz", options);
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().code, ErrorCode::BadInput);
}

TEST_F(ProjectSectionOfARoom, IsDrawnInItsPlace) {
    const WorldProject project = Open();
    auto section = ProjectSection::Open(project, SouthWall());
    ASSERT_TRUE(section);
    const auto report = ReportSection(*section, {});
    ASSERT_TRUE(report);
    const auto canvas = output::PictureOf(*section, *report, {}, {});
    ASSERT_TRUE(canvas) << canvas.error().message;
    const auto pixels = canvas->Finish();
    // The same sheet knows where a place is.
    const output::SectionDrawing sheet({.view = output::PictureView::Along({1, 0, 0}, {0, 0, 1}),
                                        .shown = {-0.5, 8.5, -0.5, 3.5}});
    const auto darkestAround = [&](double x, double z) {
        const output::Pixel2 at = sheet.PlaceOf(x, z);
        int darkest = 255;
        for (int dy = -12; dy <= 12; ++dy) {
            for (int dx = -12; dx <= 12; ++dx) {
                const auto row = static_cast<std::size_t>(at.y + dy);
                const auto column = static_cast<std::size_t>(at.x + dx);
                darkest = std::min<int>(
                    darkest,
                    pixels[(row * static_cast<std::size_t>(canvas->Width()) + column) * 3]);
            }
        }
        return darkest;
    };
    EXPECT_LT(darkestAround(1.5, 1.5), 40);  // the wall
    EXPECT_LT(darkestAround(4, 2.5), 40);    // above the opening
    EXPECT_GT(darkestAround(4, 1), 60);      // through it, the wall at the north
    EXPECT_LT(darkestAround(4, 1), 235);
    EXPECT_GT(darkestAround(4, 3.25), 220);  // above the room
}

TEST_F(ProjectSectionOfARoom, LeavesNothingOnceItIsCancelled) {
    const WorldProject project = Open();
    auto section = ProjectSection::Open(project, SouthWall());
    ASSERT_TRUE(section);
    const auto never = [](double) { return false; };
    const auto report = ReportSection(*section, never);
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::Cancelled);
    // Where nothing is read, the question is asked all the same.
    auto far = ProjectSection::Open(project, {.frame = *SectionFrame::AtLevel(5000)});
    ASSERT_TRUE(far);
    EXPECT_FALSE(ReportSection(*far, never));
    output::ExportOptions options;
    options.section = SouthWall();
    const auto exported = output::ExportProject(
        Path(), *folder_ / L"cancelled.las", options,
        [](double share, std::uint64_t, std::uint64_t) { return share < 0.5; });
    ASSERT_FALSE(exported);
    EXPECT_EQ(exported.error().code, ErrorCode::Cancelled);
    EXPECT_FALSE(platform::PathExists(*folder_ / L"cancelled.las"));
    EXPECT_FALSE(platform::PathExists(*folder_ / L"cancelled.las.orvix-part"));
}

}  // namespace
}  // namespace orvix::test
