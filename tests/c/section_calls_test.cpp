// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "orvix/gpu/revit_amp.h"
#include "support/dice.h"
#include "tests/c/c_project.h"
#include "tests/c/short_memory.h"
#include "tests/support/compute_devices.h"

namespace orvix::test {
namespace {

const SimplePointT<double> kOrigin{10000, 20000, 100};
const double kPoint[] = {10001.5, 20002.25, 101};
const double kNormal[] = {1, -2, 0.5};
const double kBounds[] = {-12, 14.5, -3, std::numeric_limits<double>::infinity()};

// A hall of 40 m x 40 m x 6 m.
std::vector<CCloudPoint<float>> Hall(std::size_t count) {
    std::uint64_t state = 5;
    Dice dice(state);
    std::vector<CCloudPoint<float>> points(count);
    for (auto& p : points) {
        p.x = static_cast<float>(40 * dice.Share() - 20);
        p.y = static_cast<float>(40 * dice.Share() - 20);
        p.z = static_cast<float>(6 * dice.Share() - 1);
    }
    return points;
}

class CSections : public CProject {
protected:
    CSections() : CProject(Hall(2500), kOrigin) {
        EXPECT_EQ(Open(), ORVIX_OK) << error.text;
        EXPECT_EQ(orvix_section_open(nullptr, &section, &error), ORVIX_OK) << error.text;
        points = Points(0, tiny.points.size());
    }
    ~CSections() override { orvix_section_close(section); }

    void Ok(orvix_status status) { EXPECT_EQ(status, ORVIX_OK) << error.text; }
    void Refused(orvix_status status) {
        EXPECT_EQ(status, ORVIX_BAD_ARGUMENT);
        EXPECT_STRNE(error.text, "");
        error = Sized<orvix_error>();
    }
    void SetSection() {
        Ok(orvix_section_set_plane(section, kPoint, kNormal, &error));
        Ok(orvix_section_set_slab(section, 0.75, kBounds, &error));
    }
    /// What a host of the class has of the same numbers.
    RevitAMP Class() {
        RevitAMP made;
        EXPECT_TRUE(
            made.SetPlane({kPoint[0], kPoint[1], kPoint[2]}, {kNormal[0], kNormal[1], kNormal[2]}));
        EXPECT_TRUE(made.SetOrigin(kOrigin));
        EXPECT_TRUE(made.SetSlab({0.75, kBounds[0], kBounds[1], kBounds[2], kBounds[3]}));
        EXPECT_TRUE(made.Hold(SectionPoints::Of(std::span<const CCloudPoint<float>>(tiny.points))));
        return made;
    }
    std::vector<std::uint8_t> Classes() {
        std::uint64_t count = 0;
        Ok(orvix_section_get_count(section, &count, &error));
        std::vector<std::uint8_t> classes(count, 77);
        Ok(orvix_section_check(section, classes.data(), classes.size(), nullptr, &error));
        return classes;
    }
    std::string Device() {
        std::array<char, 256> text{};
        Ok(orvix_section_get_device(section, text.data(), text.size(), nullptr, &error));
        return text.data();
    }

    orvix_section* section = nullptr;
    std::vector<orvix_point> points;
    orvix_section_counts counts = Sized<orvix_section_counts>();
};

std::vector<PickingRay> SomeRays(std::size_t count) {
    std::uint64_t state = 6;
    Dice dice(state);
    std::vector<PickingRay> rays(count);
    for (auto& ray : rays) {
        ray.origin = {kOrigin.x + 40 * dice.Share() - 20, kOrigin.y - 25, kOrigin.z + 2};
        ray.direction = {dice.Share() - 0.5, 3, 0.1 * dice.Share() - 0.05};
        ray.radius = 0.05;
        ray.tangent = dice.Share() < 0.5 ? 0 : 0.01;
    }
    return rays;
}

orvix_picking_ray RecordOf(const PickingRay& ray) {
    return {{ray.origin.x, ray.origin.y, ray.origin.z},
            {ray.direction.x, ray.direction.y, ray.direction.z},
            ray.radius,
            ray.tangent};
}

void ExpectSame(const std::vector<SnappedPoint>& wanted,
                const std::vector<orvix_snapped_point>& found) {
    std::size_t hits = 0;
    for (std::size_t k = 0; k < wanted.size(); ++k) {
        EXPECT_EQ(found[k].index, wanted[k].index);
        EXPECT_EQ(found[k].along, wanted[k].along);
        EXPECT_EQ(found[k].distance, wanted[k].distance);
        hits += wanted[k].Found() ? 1 : 0;
    }
    EXPECT_GT(hits, wanted.size() / 4);
}

orvix_section_counts RecordOf(const SectionCounts& counts) {
    auto record = Sized<orvix_section_counts>();
    record.in_slab = counts.in;
    record.behind = counts.behind;
    record.before = counts.before;
    record.outside = counts.outside;
    record.no_position = counts.noPosition;
    return record;
}

bool Same(const orvix_section_counts& a, const orvix_section_counts& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST_F(CSections, ClassesIndicesAndColoursAreThoseOfTheClass) {
    SetSection();
    const double origin[] = {kOrigin.x, kOrigin.y, kOrigin.z};
    Ok(orvix_section_set_origin(section, origin, &error));
    points[3].x = std::nanf("");
    tiny.points[3].x = std::nanf("");
    Ok(orvix_section_hold(section, points.data(), points.size(), sizeof points[0], &error));
    RevitAMP amp = Class();
    std::vector<std::uint64_t> some(points.size() / 3);
    for (std::size_t i = 0; i < some.size(); ++i) some[i] = (i * 7919) % points.size();
    for (const bool listed : {false, true}) {
        if (listed) {
            Ok(orvix_section_set_indices(section, some.data(), some.size(), &error));
            const std::array lists{std::span<const std::uint64_t>(some)};
            ASSERT_TRUE(amp.SetIndexLists(lists));
        }
        std::vector<SectionClass> classes(amp.Count());
        SectionCounts found;
        ASSERT_TRUE(amp.CheckPlaneXZ(classes, &found));
        EXPECT_TRUE(found.in > 20 && found.behind > 20 && found.before > 20 && found.outside > 20);
        const auto got = Classes();
        ASSERT_EQ(got.size(), classes.size());
        EXPECT_EQ(std::memcmp(got.data(), classes.data(), got.size()), 0);
        Ok(orvix_section_check(section, nullptr, 0, &counts, &error));
        EXPECT_TRUE(Same(counts, RecordOf(found)));

        for (std::int32_t wanted = ORVIX_CLASS_IN; wanted <= ORVIX_CLASS_NO_POSITION; ++wanted) {
            std::vector<std::uint64_t> indices;
            ASSERT_TRUE(amp.CheckPlaneXZ(static_cast<SectionClass>(wanted), indices));
            std::uint64_t count = 0;
            Ok(orvix_section_get_indices(section, wanted, nullptr, 0, &count, &error));
            std::vector<std::uint64_t> listedIndices(count);
            Ok(orvix_section_get_indices(section, wanted, listedIndices.data(), count, &count,
                                         &error));
            EXPECT_EQ(listedIndices, indices);
        }

        const std::uint8_t colours[3][4] = {{9, 8, 7, 6}, {1, 2, 3, 255}, {4, 5, 6, 0}};
        const SectionColour asked[] = {{9, 8, 7, 6}, {1, 2, 3, 255}, {4, 5, 6, 0}};
        std::vector<SectionColour> wanted(amp.Count(), {70, 71, 72, 73});
        std::vector<SectionColour> rgba = wanted;
        auto* const bytes = reinterpret_cast<std::uint8_t*>(rgba.data());
        const auto agree = [&] {
            EXPECT_EQ(rgba, wanted);
            EXPECT_TRUE(Same(counts, RecordOf(found)));
            counts = Sized<orvix_section_counts>();
        };
        ASSERT_TRUE(amp.CheckPlaneXZ_ColorSeparate(asked[1], asked[2], wanted, &found));
        Ok(orvix_section_colour_separate(section, colours[1], colours[2], bytes, rgba.size(),
                                         &counts, &error));
        agree();
        ASSERT_TRUE(amp.CheckPlaneXZ_ColorIn(asked[0], wanted, &found));
        Ok(orvix_section_colour_in(section, colours[0], bytes, rgba.size(), &counts, &error));
        agree();
        ASSERT_TRUE(amp.CheckPlaneXZ_ColorPlane({-3, 4, asked}, wanted, &found));
        Ok(orvix_section_colour_plane(section, -3, 4, colours[0], 3, bytes, rgba.size(), &counts,
                                      &error));
        agree();
    }
    Ok(orvix_section_clear_indices(section, &error));
    EXPECT_EQ(Classes().size(), points.size());
    EXPECT_EQ(Device(), "processor");
}

TEST_F(CSections, AnArrayThatIsTooSmallIsLeftAsItWas) {
    SetSection();
    Ok(orvix_section_set_points(section, points.data(), points.size(), sizeof points[0], &error));
    std::vector<std::uint8_t> bytes(4 * points.size(), 77);
    const auto untouched = bytes;
    const std::uint8_t white[] = {255, 255, 255, 255};
    const std::uint64_t room = points.size() - 1;
    EXPECT_EQ(orvix_section_check(section, bytes.data(), room, &counts, &error), ORVIX_TOO_SMALL);
    EXPECT_EQ(orvix_section_colour_in(section, white, bytes.data(), room, nullptr, &error),
              ORVIX_TOO_SMALL);
    EXPECT_EQ(bytes, untouched);
    EXPECT_STRNE(error.text, "");

    std::vector<std::uint64_t> indices(points.size(), 77);
    std::uint64_t count = 0;
    Ok(orvix_section_get_indices(section, ORVIX_CLASS_OUTSIDE, nullptr, 0, &count, &error));
    ASSERT_GT(count, 0u);
    EXPECT_EQ(orvix_section_get_indices(section, ORVIX_CLASS_OUTSIDE, indices.data(), count - 1,
                                        &count, &error),
              ORVIX_TOO_SMALL);
    EXPECT_EQ(indices[0], 77u);
    auto small = Sized<orvix_section_counts>();
    small.size = 16;
    small.behind = 77;
    Ok(orvix_section_check(section, nullptr, 0, &small, &error));
    EXPECT_EQ(small.behind, 77u) << "a struct of an earlier version ends before it";
}

TEST_F(CSections, SnapToPointsInMemoryAndToThoseOfAProject) {
    RevitAMP amp = Class();
    const auto rays = SomeRays(60);
    std::vector<orvix_picking_ray> records;
    std::vector<SimplePointT<double>> places;
    std::vector<double> xyz;
    for (const auto& ray : rays) {
        records.push_back(RecordOf(ray));
        places.push_back({ray.origin.x, ray.origin.y + 25, ray.origin.z});
        xyz.insert(xyz.end(), {ray.origin.x, ray.origin.y + 25, ray.origin.z});
    }
    std::vector<SnappedPoint> wanted(rays.size());
    std::vector<orvix_snapped_point> found(rays.size());
    Ok(orvix_section_set_project(section, project, &error));
    orvix_project_close(project);  // a section outlives its project
    project = nullptr;
    Ok(orvix_section_hold(section, points.data(), points.size(), sizeof points[0], &error));

    ASSERT_TRUE(amp.Snap(rays, wanted));
    Ok(orvix_section_snap_rays(section, records.data(), records.size(), found.data(), &error));
    ExpectSame(wanted, found);
    std::fill(found.begin(), found.end(), orvix_snapped_point{});
    Ok(orvix_section_snap_rays_in_project(section, records.data(), records.size(), found.data(),
                                          &error));
    ExpectSame(wanted, found);

    ASSERT_TRUE(amp.Snap(places, 1, wanted));
    Ok(orvix_section_snap_positions(section, xyz.data(), places.size(), 1, found.data(), &error));
    ExpectSame(wanted, found);
    std::fill(found.begin(), found.end(), orvix_snapped_point{});
    Ok(orvix_section_snap_positions_in_project(section, xyz.data(), places.size(), 1, found.data(),
                                               &error));
    ExpectSame(wanted, found);
    orvix_snapped_point none{};
    const orvix_picking_ray up{{kOrigin.x + 500, kOrigin.y, 0}, {0, 0, 1}, 0.01, 0};
    Ok(orvix_section_snap_rays(section, &up, 1, &none, &error));
    EXPECT_EQ(none.index, UINT64_MAX);
    Ok(orvix_section_snap_rays(section, nullptr, 0, nullptr, &error));
}

/// What a stream hands out.
struct Heard {
    std::vector<int> classes;  // by point; -1: not handed out
    std::vector<orvix_point> points;
    int left = 1 << 30;  // calls until it cancels
    double done = 0;

    static std::int32_t ORVIX_C_CALL Chunk(void* user, std::uint64_t first, std::uint64_t count,
                                           const orvix_point* points, const std::uint8_t* classes) {
        auto& heard = *static_cast<Heard*>(user);
        for (std::uint64_t k = 0; k < count; ++k) {
            EXPECT_EQ(heard.classes[first + k], -1) << "handed out twice";
            heard.classes[first + k] = classes[k];
            EXPECT_EQ(std::memcmp(&heard.points[first + k], &points[k], sizeof *points), 0);
        }
        return --heard.left > 0 ? 1 : 0;
    }
    static std::int32_t ORVIX_C_CALL Proceed(void* user, double done) {
        auto& heard = *static_cast<Heard*>(user);
        EXPECT_TRUE(done > heard.done && done <= 1) << done;
        heard.done = done;
        return --heard.left > 0 ? 1 : 0;
    }
};

class CSectionStreams : public CSections {
protected:
    CSectionStreams() {
        heard.points = points;
        heard.classes.assign(points.size(), -1);
        options.user = &heard;
        SetSection();
        Ok(orvix_section_set_project(section, project, &error));
        orvix_project_close(project);
        project = nullptr;
    }
    orvix_status Stream() { return orvix_section_stream(section, &options, &counts, &error); }

    Heard heard;
    orvix_stream_options options = Sized<orvix_stream_options>();
};

TEST_F(CSectionStreams, HandOutThePointsOfWantedClassesAndCountAll) {
    options.chunk = Heard::Chunk;
    options.proceed = Heard::Proceed;
    options.wanted = 1U << ORVIX_CLASS_IN;
    Ok(Stream());
    RevitAMP amp = Class();
    std::vector<SectionClass> classes(points.size());
    SectionCounts all;
    ASSERT_TRUE(amp.CheckPlaneXZ(classes, &all));
    EXPECT_TRUE(Same(counts, RecordOf(all)));
    std::size_t unread = 0;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        const int wanted = static_cast<int>(classes[i]);
        const bool wasRead = heard.classes[i] >= 0;
        EXPECT_TRUE(wasRead ? heard.classes[i] == wanted : wanted != ORVIX_CLASS_IN) << i;
        unread += wasRead ? 0 : 1;
    }
    EXPECT_GT(unread, points.size() / 2);
    EXPECT_GT(heard.done, 0);

    counts = Sized<orvix_section_counts>();
    Ok(orvix_section_stream(section, nullptr, &counts, &error));
    EXPECT_TRUE(Same(counts, RecordOf(all))) << "the counts alone";
}

TEST_F(CSectionStreams, EndWhereACallbackSaysSo) {
    options.wanted = 0x1F;
    heard.left = 1;
    options.chunk = Heard::Chunk;
    EXPECT_EQ(Stream(), ORVIX_CANCELLED);
    EXPECT_STRNE(error.text, "");
    heard.left = 1;
    options.chunk = nullptr;
    options.proceed = Heard::Proceed;
    EXPECT_EQ(Stream(), ORVIX_CANCELLED);
    options.proceed = nullptr;
    options.wanted = 0x20;
    Refused(Stream());
    orvix_section_release(section);
    options.wanted = 0;
    Refused(Stream());
}

// Wherever memory ends: a status, and the section goes on as it was.
TEST_F(CSectionStreams, TurnShortMemoryIntoAStatus) {
    const std::vector<orvix_picking_ray> rays(30, RecordOf(SomeRays(1)[0]));
    std::vector<orvix_snapped_point> found(rays.size());
    std::vector<std::uint64_t> indices(points.size());
    Ok(Open());
    Ok(orvix_section_hold(section, points.data(), points.size(), sizeof points[0], &error));
    const std::function<orvix_status()> calls[] = {
        [&] { return orvix_section_set_project(section, project, &error); },
        [&] { return Stream(); },
        [&] { return orvix_section_set_indices(section, indices.data(), indices.size(), &error); },
        [&] {
            return orvix_section_get_indices(section, ORVIX_CLASS_OUTSIDE, indices.data(),
                                             indices.size(), nullptr, &error);
        },
        [&] {
            return orvix_section_snap_rays(section, rays.data(), rays.size(), found.data(), &error);
        },
        [&] {
            return orvix_section_snap_rays_in_project(section, rays.data(), rays.size(),
                                                      found.data(), &error);
        }};
    for (const auto& call : calls) {
        orvix_status status = ORVIX_NO_MEMORY;
        for (long long limit = 0; status != ORVIX_OK && limit < 100'000; limit += limit / 4 + 1) {
            LimitAllocations(limit);
            status = call();
            LimitAllocations(-1);
            ASSERT_TRUE(status == ORVIX_OK || status == ORVIX_NO_MEMORY) << limit << error.text;
        }
        EXPECT_EQ(status, ORVIX_OK);
        Ok(Stream());
    }
}

/// A project whose frame is turned by a quarter about z as well: local x is world y.
class CTurnedProject : public CSections {
protected:
    CTurnedProject() {
        orvix_project_close(project);
        project = nullptr;
        tiny.frame.m = {0, -1, 0, kOrigin.x, 1, 0, 0, kOrigin.y, 0, 0, 1, kOrigin.z, 0, 0, 0, 1};
        WriteTinyProject(tiny, path);
        EXPECT_EQ(Open(), ORVIX_OK) << error.text;
    }
};

// BEHAVIOUR B7
TEST_F(CTurnedProject, IsCutAndPickedInTheWorld) {
    SetSection();
    Ok(orvix_section_set_project(section, project, &error));
    double matrix[16] = {};
    Ok(orvix_section_get_transformation(section, matrix, &error));
    std::vector<double> xyz(3 * points.size());
    Ok(orvix_points_read_world(project, 0, points.size(), xyz.data(), &error));
    Ok(orvix_section_hold(section, points.data(), points.size(), sizeof points[0], &error));
    const auto classes = Classes();
    std::size_t in = 0;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        double at[3] = {};
        for (int row = 0; row < 3; ++row) {
            const double* m = matrix + 4 * row;
            const double* p = xyz.data() + 3 * i;
            at[row] = m[0] * p[0] + m[1] * p[1] + m[2] * p[2] + m[3];
        }
        const double margin = 1e-4;
        const bool inside = at[0] >= kBounds[0] && at[0] <= kBounds[1] && at[2] >= kBounds[2];
        const auto near = [&](double value, double bound) {
            return std::fabs(value - bound) < margin;
        };
        if (near(at[0], kBounds[0]) || near(at[0], kBounds[1]) || near(at[2], kBounds[2]) ||
            near(std::fabs(at[1]), 0.75)) {
            continue;
        }
        const int wanted = !inside                    ? ORVIX_CLASS_OUTSIDE
                           : std::fabs(at[1]) <= 0.75 ? ORVIX_CLASS_IN
                           : at[1] > 0                ? ORVIX_CLASS_BEHIND
                                                      : ORVIX_CLASS_BEFORE;
        ASSERT_EQ(classes[i], wanted) << i;
        in += wanted == ORVIX_CLASS_IN ? 1 : 0;
    }
    EXPECT_GT(in, 20u);

    // Each point's own place, and a ray that ends at it from 3 m above.
    for (std::uint64_t i = 0; i < 50; ++i) {
        const double* p = xyz.data() + 3 * i;
        const orvix_picking_ray ray{{p[0], p[1], p[2] + 3}, {0, 0, -1}, 0.0001, 0};
        orvix_snapped_point found[4];
        Ok(orvix_section_snap_rays(section, &ray, 1, &found[0], &error));
        Ok(orvix_section_snap_rays_in_project(section, &ray, 1, &found[1], &error));
        Ok(orvix_section_snap_positions(section, p, 1, 0.0001, &found[2], &error));
        Ok(orvix_section_snap_positions_in_project(section, p, 1, 0.0001, &found[3], &error));
        for (const auto& point : found) EXPECT_EQ(point.index, i);
        EXPECT_NEAR(found[0].along, 3, 1e-9);
    }
}

TEST_F(CSections, RefuseWhatCannotBeAndKeepWhatWasThere) {
    SetSection();
    double before[16] = {};
    Ok(orvix_section_get_transformation(section, before, &error));
    const double nan = std::nan("");
    double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2};
    Refused(orvix_section_set_transformation(section, matrix, &error));
    matrix[15] = 1;
    matrix[7] = nan;
    Refused(orvix_section_set_transformation(section, matrix, &error));
    const double nothing[] = {0, 0, 0};
    const double endless[] = {nan, 0, 0};
    const double far[] = {1.7e308, -1.7e308, 1.7e308};
    Refused(orvix_section_set_plane(section, nothing, nothing, &error));
    Refused(orvix_section_set_plane(section, endless, kNormal, &error));
    Refused(orvix_section_set_plane(section, far, kNormal, &error));
    Refused(orvix_section_set_origin(section, endless, &error));
    double after[16] = {};
    Ok(orvix_section_get_transformation(section, after, &error));
    EXPECT_EQ(std::memcmp(before, after, sizeof before), 0);
    const double noBound[] = {0, 1, nan, 1};
    Refused(orvix_section_set_slab(section, -1, nullptr, &error));
    Refused(orvix_section_set_slab(section, 1, noBound, &error));

    Ok(orvix_section_hold(section, points.data(), 5, sizeof points[0], &error));
    const std::uint64_t beyond[] = {1, 5};
    const std::uint64_t few[] = {4, 4, 0};
    Ok(orvix_section_set_indices(section, few, 3, &error));
    Refused(orvix_section_set_indices(section, beyond, 2, &error));
    Refused(orvix_section_set_indices(section, nullptr, 2, &error));
    Refused(orvix_section_set_points(section, points.data(), 5, 8, &error));
    Refused(orvix_section_set_points(section, points.data(), 5, 0, &error));
    Refused(orvix_section_set_points(section, points.data(), 5, 14, &error));
    Refused(orvix_section_set_points(section, nullptr, 5, 12, &error));
    Refused(orvix_section_set_points(section, points.data(), UINT64_MAX / 8, 12, &error));
    EXPECT_EQ(Classes().size(), 3u) << "points and indices stay";

    const std::uint8_t ramp[8] = {};
    std::uint8_t colours[12] = {};
    Refused(orvix_section_colour_plane(section, 0, 1, ramp, 1, colours, 3, nullptr, &error));
    Refused(orvix_section_colour_plane(section, 0, 1, ramp, 257, colours, 3, nullptr, &error));
    Refused(orvix_section_colour_plane(section, 1, 1, ramp, 2, colours, 3, nullptr, &error));
    Refused(orvix_section_colour_plane(section, nan, 1, ramp, 2, colours, 3, nullptr, &error));
    std::uint64_t count = 0;
    Refused(orvix_section_get_indices(section, 5, nullptr, 0, &count, &error));
    Refused(orvix_section_get_indices(section, -1, nullptr, 0, &count, &error));
    counts.size = 12;
    Refused(orvix_section_check(section, nullptr, 0, &counts, &error));

    orvix_snapped_point found{};
    orvix_picking_ray ray{{0, 0, 0}, {0, 0, 1}, 0.01, 0};
    for (double* const number : {&ray.radius, &ray.tangent, &ray.origin[1], &ray.direction[2]}) {
        const double kept = *number;
        *number = number == &ray.direction[2] ? 0 : number == &ray.origin[1] ? nan : -1;
        Refused(orvix_section_snap_rays(section, &ray, 1, &found, &error));
        *number = kept;
    }
    Refused(orvix_section_snap_rays(section, &ray, 1, nullptr, &error));
    Refused(orvix_section_snap_rays(section, nullptr, 1, &found, &error));
    Refused(orvix_section_snap_rays_in_project(section, &ray, 1, &found, &error));
    Refused(orvix_section_snap_positions(section, endless, 1, 1, &found, &error));
    Refused(orvix_section_snap_positions(section, nothing, 1, -1, &found, &error));
    Refused(orvix_section_snap_positions_in_project(section, nothing, 1, 1, &found, &error));
    Refused(orvix_section_set_project(section, nullptr, &error));
}

TEST_F(CSections, RefuseNullAndOptionsThatCannotBe) {
    auto options = Sized<orvix_section_options>();
    orvix_section* other = section;
    options.device = 3;
    Refused(orvix_section_open(&options, &other, &error));
    EXPECT_EQ(other, nullptr);
    options.device = -1;
    Refused(orvix_section_open(&options, &other, &error));
    Refused(orvix_section_open(nullptr, nullptr, &error));
    options.size = 10;
    Refused(orvix_section_open(&options, &other, &error));

    std::uint64_t count = 0;
    const std::uint8_t colour[4] = {};
    Refused(orvix_section_set_transformation(nullptr, kPoint, &error));
    Refused(orvix_section_set_transformation(section, nullptr, &error));
    Refused(orvix_section_set_plane(nullptr, kPoint, kNormal, &error));
    Refused(orvix_section_set_plane(section, nullptr, kNormal, &error));
    Refused(orvix_section_set_plane(section, kPoint, nullptr, &error));
    Refused(orvix_section_get_transformation(section, nullptr, &error));
    Refused(orvix_section_set_origin(section, nullptr, &error));
    Refused(orvix_section_set_slab(nullptr, 1, nullptr, &error));
    Refused(orvix_section_hold(nullptr, nullptr, 0, 12, &error));
    Refused(orvix_section_set_indices(nullptr, nullptr, 0, &error));
    Refused(orvix_section_clear_indices(nullptr, &error));
    Refused(orvix_section_get_count(nullptr, &count, &error));
    Refused(orvix_section_get_count(section, nullptr, &error));
    Refused(orvix_section_check(nullptr, nullptr, 0, nullptr, &error));
    Refused(orvix_section_get_indices(nullptr, 0, nullptr, 0, &count, &error));
    Refused(orvix_section_colour_in(section, nullptr, nullptr, 0, nullptr, &error));
    Refused(orvix_section_colour_plane(section, 0, 1, nullptr, 2, nullptr, 0, nullptr, &error));
    Refused(orvix_section_colour_separate(section, colour, nullptr, nullptr, 0, nullptr, &error));
    Refused(orvix_section_stream(nullptr, nullptr, nullptr, &error));
    Refused(orvix_section_snap_rays(nullptr, nullptr, 0, nullptr, &error));
    Refused(orvix_section_get_device(nullptr, nullptr, 0, &count, &error));
    orvix_section_release(nullptr);
    orvix_section_close(nullptr);
}

TEST_F(CSections, AProjectWhoseCellsLeadNowhereIsNotSet) {
    Ok(orvix_section_set_project(section, project, &error));
    tiny.cells100[1].offset = 1ULL << 60;
    const CString other = folder / L"damaged.prj";
    WriteTinyProject(tiny, other);
    orvix_project* damaged = nullptr;
    Ok(orvix_project_open(platform::ToUtf8(other).c_str(), nullptr, &damaged, &error));
    EXPECT_EQ(orvix_section_set_project(section, damaged, &error), ORVIX_DAMAGED);
    EXPECT_STRNE(error.text, "");
    orvix_project_close(damaged);
    Refused(orvix_section_stream(section, nullptr, nullptr, &error));
}

TEST_F(CSections, ADeviceThatIsAskedForAnswersAsTheProcessorDoes) {
    constexpr auto kApi =
        kHasDirect3d ? platform::ComputeApi::Direct3D11 : platform::ComputeApi::OpenCl;
    ORVIX_NEEDS_DEVICE(OpenTested(TestedOptions(kApi)), kApi);
    orvix_section_close(section);
    auto options = Sized<orvix_section_options>();
    options.device = ORVIX_DEVICE_GPU;
    options.device_memory = 1;  // as little as a device makes do with
    options.software_devices = 1;
    Ok(orvix_section_open(&options, &section, &error));
    SetSection();
    Ok(orvix_section_set_project(section, project, &error));
    Ok(orvix_section_hold(section, points.data(), points.size(), sizeof points[0], &error));
    const auto classes = Classes();
    EXPECT_NE(Device(), "processor");
    std::vector<SectionClass> wanted(points.size());
    ASSERT_TRUE(Class().CheckPlaneXZ(wanted));
    EXPECT_EQ(std::memcmp(classes.data(), wanted.data(), wanted.size()), 0);
    Ok(orvix_section_stream(section, nullptr, &counts, &error));
    EXPECT_NE(Device(), "processor");
    EXPECT_EQ(counts.in_slab, static_cast<std::uint64_t>(
                                  std::count(wanted.begin(), wanted.end(), SectionClass::In)));
}

}  // namespace
}  // namespace orvix::test
