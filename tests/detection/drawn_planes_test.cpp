// SPDX-License-Identifier: GPL-3.0-or-later
// What a person would draw of small scenes, each made for one question.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "detection/plane_search.h"
#include "orvix/geometry/vector.h"
#include "support/dice.h"
#include "tests/detection/opened_project.h"

namespace orvix::detection {
namespace {

using detail::Dot, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

/// Points of faces, a jittered grid on each.
class Scene {
public:
    explicit Scene(double spacing, double noise) : spacing_(spacing), noise_(noise) {}

    /// A rectangle from a corner along two axes; `relief` lifts a place of it off the plane.
    Scene& Add(const Vector& corner, const Vector& u, const Vector& v,
               const std::function<double(double, double)>& relief = {}) {
        const double width = std::sqrt(Dot(u, u)), height = std::sqrt(Dot(v, v));
        const Vector alongU = u * (1 / width), alongV = v * (1 / height);
        const Vector normal = Cross(alongU, alongV);
        for (double at = spacing_ / 2; at < width; at += spacing_) {
            for (double up = spacing_ / 2; up < height; up += spacing_) {
                const double a = at + Jitter(), b = up + Jitter();
                const double away = noise_ * dice_.Normal() + (relief ? relief(a, b) : 0);
                points_.push_back(corner + alongU * a + alongV * b + normal * away);
            }
        }
        return *this;
    }
    /// A ball, seen from all sides.
    Scene& AddBall(const Vector& middle, double radius) {
        const double pi = 3.14159265358979;
        const int count = static_cast<int>(4 * pi * radius * radius / (spacing_ * spacing_));
        for (int i = 0; i < count; ++i) {
            const double z = 2 * dice_.Share() - 1, turn = 2 * pi * dice_.Share();
            const double r = std::sqrt(1 - z * z);
            const double away = radius + noise_ * dice_.Normal();
            points_.push_back(middle + Vector{r * std::cos(turn), r * std::sin(turn), z} * away);
        }
        return *this;
    }
    void AddPoint(const Vector& p) { points_.push_back(p); }
    void Add(const Scene& other) {
        points_.insert(points_.end(), other.points_.begin(), other.points_.end());
    }
    [[nodiscard]] const std::vector<Vector>& Points() const { return points_; }

private:
    static Vector Cross(const Vector& a, const Vector& b) {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }
    double Jitter() { return (dice_.Share() - 0.5) * 0.6 * spacing_; }

    double spacing_, noise_;
    std::uint64_t state_ = 7;
    test::Dice dice_{state_};
    std::vector<Vector> points_;
};

/// A search of a scene, with its project.
class Searched {
public:
    explicit Searched(const Scene& scene, const PlaneSearchOptions& options = {})
        : project_(WritePoints(folder_, scene.Points())), search_(project_.Search(options)) {}

    [[nodiscard]] const PlaneSearch* operator->() const { return search_.get(); }
    /// The planes that pass a place within a distance and are turned to a direction by 3 degrees at
    /// most, by their points, most first.
    [[nodiscard]] std::vector<FoundPlane> Through(const Vector& normal, const Vector& place,
                                                  double distance) const {
        std::vector<FoundPlane> through;
        for (const FoundPlane& plane : search_->Planes())
            if (std::abs(Dot(plane.normal, normal)) > 0.9986 &&
                std::abs(Dot(plane.normal, place) + plane.offset) <= distance)
                through.push_back(plane);
        return through;
    }

private:
    test::ScratchFolder folder_;
    Opened project_;
    std::unique_ptr<PlaneSearch> search_;
};

constexpr Vector kX{1, 0, 0}, kY{0, 1, 0}, kZ{0, 0, 1};

// The ceilings of two rooms, 12 cm apart, and the upper part of the wall between them.
Scene TwoRooms(double wallAt, bool wall, double spacing = 0.025) {
    Scene scene(spacing, 0.0015);
    scene.Add({0, 0, 2.53}, kX * wallAt, kY * 2);
    scene.Add({wallAt + 0.12, 0, 2.53}, kX * 2, kY * 2);
    if (wall) scene.Add({wallAt, 0, 1.5}, kY * 2, kZ * 1.03);
    if (wall) scene.Add({wallAt + 0.12, 0, 1.5}, kY * 2, kZ * 1.03);
    return scene;
}

// BEHAVIOUR A5, A14
TEST(DrawnPlanes, TheCeilingsOnBothSidesOfAWallAreTwoPlanesOfOneGroup) {
    PlaneSearchOptions options;
    options.bridge = 0.3;  // from the cells that hold the wall's ends as well to those beyond
    for (const double wallAt : {1.9, 1.92, 1.93, 1.95, 1.98}) {
        const Searched search(TwoRooms(wallAt, true), options);
        const auto ceilings = search.Through(kZ, {wallAt, 1, 2.53}, 0.01);
        ASSERT_EQ(ceilings.size(), 2U) << wallAt;
        EXPECT_GT(ceilings[0].group, 0);
        EXPECT_EQ(ceilings[0].group, ceilings[1].group);
        EXPECT_NEAR(ceilings[0].area + ceilings[1].area, 2 * (wallAt + 2), 0.3);
        EXPECT_EQ(search->Planes().size(), 4U);
        for (const FoundPlane& plane : search->Planes())
            EXPECT_EQ(plane.group == ceilings[0].group, std::abs(plane.normal.z) > 0.5);
    }
}

// Points 6 cm apart: cells on both sides of the wall touch, and their points lie no farther apart than
// points do. BEHAVIOUR A5
TEST(DrawnPlanes, NorDoSparsePointsLeadThroughAWall) {
    for (const double wallAt : {1.92, 1.95, 1.97, 4.94, 4.97}) {  // 5: a face between tiles
        const Searched parted(TwoRooms(wallAt, true, 0.06));
        EXPECT_EQ(parted.Through(kZ, {wallAt, 1, 2.53}, 0.01).size(), 2U) << wallAt;
        const Searched whole(TwoRooms(wallAt, false, 0.06));
        EXPECT_EQ(whole.Through(kZ, {wallAt, 1, 2.53}, 0.01).size(), 1U) << wallAt;
    }
}

// BEHAVIOUR A5
TEST(DrawnPlanes, WithoutTheWallAGapOfThatWidthPartsNothing) {
    const Searched search(TwoRooms(1.93, false));
    EXPECT_EQ(search.Through(kZ, {2, 1, 2.53}, 0.01).size(), 1U);
}

// BEHAVIOUR A5
TEST(DrawnPlanes, AStepOfACentimetreStays) {
    Scene scene(0.02, 0.0015);
    scene.Add({0, 0, 0.3}, kX * 1.5, kY * 2).Add({1.5, 0, 0.31}, kX * 1.5, kY * 2);
    const Searched search(scene);
    ASSERT_EQ(search->Planes().size(), 2U);
    for (const FoundPlane& plane : search->Planes())
        EXPECT_NEAR(plane.centre.z, plane.centre.x < 1.5 ? 0.3 : 0.31, 0.0005);
}

// BEHAVIOUR A5
TEST(DrawnPlanes, SoDoesOneBetweenFloorsOfUnlikeSizes) {
    for (const double width : {0.6, 1.0, 1.6, 2.2}) {
        Scene scene(0.025, 0.0015);
        scene.Add({0, 0, 0.3}, kX * 5, kY * 3).Add({5, 0, 0.31}, kX * width, kY * 3);
        const Searched search(scene);
        ASSERT_EQ(search->Planes().size(), 2U) << width;
        for (const FoundPlane& plane : search->Planes())
            EXPECT_NEAR(plane.centre.z, plane.centre.x < 5 ? 0.3 : 0.31, 0.0005) << width;
    }
}

// BEHAVIOUR A2
TEST(DrawnPlanes, APlasteredWallThatWavesStaysWhole) {
    Scene scene(0.025, 0.0015);
    const auto waves = [](double at, double up) {
        return 0.005 * std::sin(3.14159 * at) * std::cos(2.2 * up);
    };
    scene.Add({0, 0.44, 0}, kX * 4, kZ * 2.5, waves);
    scene.Add({0, 0.44, 0}, kX * 4, kY * 2);
    const Searched search(scene);
    const auto wall = search.Through(kY, {2, 0.44, 1.2}, 0.01);
    ASSERT_EQ(wall.size(), 1U);
    EXPECT_EQ(search->Planes().size(), 2U);
    EXPECT_GT(wall[0].points, 15680U);
    EXPECT_GT(wall[0].tolerance, search->Settings().distance);
}

// BEHAVIOUR A21
TEST(DrawnPlanes, FacesThatMeetAtAnObtuseAngleAreTwo) {
    const struct {
        double degrees, width, noise;
    } cases[] = {{12, 0.5, 0.008}, {12, 0.8, 0.01}, {16, 0.3, 0.008}, {16, 0.5, 0.005}};
    for (const auto& [degrees, width, noise] : cases) {
        SCOPED_TRACE(testing::Message() << degrees << " degrees, noise " << noise);
        const double radians = degrees * 3.14159 / 180;
        Scene scene(0.01, noise);
        scene.Add({0, 0, 0.31}, kX * 1.2, kY * width);
        scene.Add({0, width, 0.31}, kX * 1.2,
                  kY * (width * std::cos(radians)) + kZ * (width * std::sin(radians)));
        const Searched search(scene);
        ASSERT_EQ(search->Planes().size(), 2U);
        for (const FoundPlane& plane : search->Planes()) EXPECT_LT(plane.rms, 1.2 * noise);
        const auto& planes = search->Planes();
        EXPECT_NEAR(Dot(planes[0].normal, planes[1].normal), std::cos(radians), 0.02);
    }
}

TEST(DrawnPlanes, AFloorOnAFaceBetweenCellsAndTilesIsOnePlane) {
    const struct {
        double spacing, noise, side;
    } cases[] = {{0.025, 0.002, 4}, {0.025, 0.01, 4}, {0.01, 0.002, 1.5}, {0.01, 0.01, 1.5}};
    for (const auto& [spacing, noise, side] : cases) {
        for (const double height : {0.0, 0.1}) {
            Scene scene(spacing, noise);
            scene.Add({-side / 2, -side / 2, height}, kX * side, kY * side);
            const Searched search(scene);
            ASSERT_EQ(search->Planes().size(), 1U) << spacing << ' ' << noise << ' ' << height;
            EXPECT_NEAR(search->Planes()[0].rms, noise, noise / 5);
            EXPECT_GT(search->AssignedPoints(), search->Points() / 100 * 99);
            EXPECT_NEAR(search->Planes()[0].area, side * side, 0.05 * side * side);
        }
    }
}

TEST(DrawnPlanes, SoIsOneThatScattersMoreThanTheRestOfTheCloud) {
    for (const double height : {0.0, 0.1}) {
        Scene scene(0.015, 0.0015), floor(0.015, 0.0035);
        scene.Add({-1, 1.05, height + 0.05}, kX * 2, kZ * 2.5);
        floor.Add({-1, -1, height}, kX * 2, kY * 2);
        scene.Add(floor);
        const Searched search(scene);
        EXPECT_EQ(search->Planes().size(), 2U) << height;
        const auto found = search.Through(kZ, {0, 0, height}, 0.001);
        ASSERT_EQ(found.size(), 1U) << height;
        const auto points = static_cast<double>(floor.Points().size());
        EXPECT_NEAR(static_cast<double>(found[0].points), points, 0.02 * points);
    }
}

// BEHAVIOUR A23
TEST(DrawnPlanes, NorDoesAFaceBetweenCellsCutTheTailOffItsNoise) {
    for (const double below : {0.006, 0.008, 0.01, 0.012, 0.014}) {
        Scene scene(0.015, 0.0025), floor(0.008, 0.008);
        scene.Add({-1, 1.05, 0.2}, kX * 2, kZ * 2.5).Add({-1.05, -1, 0.2}, kY * 2, kZ * 2.5);
        scene.Add({1.05, -1, 0.2}, kY * 2, kZ * 2.5);
        floor.Add({-1, -1, 0.1 - below}, kX * 2, kY * 2);
        scene.Add(floor);
        const Searched search(scene);
        EXPECT_EQ(search->Planes().size(), 4U) << below;
        EXPECT_EQ(search.Through(kZ, {0, 0, 0.1 - below}, 0.002).size(), 1U) << below;
    }
}

// BEHAVIOUR A24
TEST(DrawnPlanes, ACarpetAmongSmoothWallsIsFoundWhole) {
    for (const double rough : {0.003, 0.005, 0.007}) {
        Scene scene(0.015, 0.0007), carpet(0.01, rough);
        scene.Add({-1, 1.05, 0.2}, kX * 2, kZ * 2.5).Add({-1.05, -1, 0.2}, kY * 2, kZ * 2.5);
        scene.Add({1.05, -1, 0.2}, kY * 2, kZ * 2.5);
        carpet.Add({-1, -1, 0.06}, kX * 2, kY * 2);
        scene.Add(carpet);
        const Searched search(scene);
        EXPECT_EQ(search->Planes().size(), 4U) << rough;
        const auto found = search.Through(kZ, {0, 0, 0.06}, 0.001);
        ASSERT_EQ(found.size(), 1U) << rough;
        EXPECT_GT(found[0].points, carpet.Points().size() / 100 * 99);
        EXPECT_NEAR(found[0].rms, rough, rough / 20);
    }
}

// A wall with a window, whose reveals are 12 cm deep.
Scene WallWithReveals() {
    Scene scene(0.02, 0.0015);
    scene.Add({0, 1.03, 0}, kX * 2.5, kZ * 0.8).Add({0, 1.03, 1.7}, kX * 2.5, kZ * 0.6);
    scene.Add({0, 1.03, 0.8}, kX * 0.83, kZ * 0.9).Add({1.67, 1.03, 0.8}, kX * 0.83, kZ * 0.9);
    scene.Add({0.83, 1.03, 0.8}, kY * 0.12, kZ * 0.9).Add({1.67, 1.03, 0.8}, kY * 0.12, kZ * 0.9);
    scene.Add({0.83, 1.03, 0.8}, kX * 0.84, kY * 0.12).Add({0.83, 1.03, 1.7}, kX * 0.84, kY * 0.12);
    return scene;
}

// BEHAVIOUR A18
TEST(DrawnPlanes, TheCornersOfARoomAreThoseOfItsPlanes) {
    Scene scene(0.02, 0.002);
    scene.Add({0.03, 0.05, 0.01}, kX * 3, kY * 2).Add({0.03, 0.05, 2.51}, kX * 3, kY * 2);
    scene.Add({0.03, 0.05, 0.01}, kX * 3, kZ * 2.5).Add({0.03, 2.05, 0.01}, kX * 3, kZ * 2.5);
    scene.Add({0.03, 0.05, 0.01}, kY * 2, kZ * 2.5).Add({3.03, 0.05, 0.01}, kY * 2, kZ * 2.5);
    const Searched search(scene);
    ASSERT_EQ(search->Planes().size(), 6U);
    for (const FoundPlane& plane : search->Planes()) {
        ASSERT_EQ(plane.outline.regions.size(), 1U);
        const auto& ring = plane.outline.regions[0].outer.points;
        ASSERT_EQ(ring.size(), 4U);
        for (const auto& flat : ring) {
            const Vector corner = plane.frame.To3D(flat);
            EXPECT_NEAR(std::min(corner.x - 0.03, 3.03 - corner.x), 0, 0.001);
            EXPECT_NEAR(std::min(corner.y - 0.05, 2.05 - corner.y), 0, 0.001);
            EXPECT_NEAR(std::min(corner.z - 0.01, 2.51 - corner.z), 0, 0.001);
        }
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, RevealsThatNoCellExplainsAreFoundFromPoints) {
    const Searched search(WallWithReveals());
    EXPECT_EQ(search->Planes().size(), 5U);
    EXPECT_EQ(search.Through(kY, {1, 1.03, 0.4}, 0.003).size(), 1U);
    const struct {
        Vector normal, place;
        double area;
    } reveals[] = {{kX, {0.83, 1.09, 1.2}, 0.108},
                   {kX, {1.67, 1.09, 1.2}, 0.108},
                   {kZ, {1.2, 1.09, 0.8}, 0.1008},
                   {kZ, {1.2, 1.09, 1.7}, 0.1008}};
    for (const auto& reveal : reveals) {
        const auto found = search.Through(reveal.normal, reveal.place, 0.003);
        ASSERT_EQ(found.size(), 1U) << reveal.place.x << ' ' << reveal.place.z;
        EXPECT_GT(static_cast<double>(found[0].points), 0.7 * reveal.area / 0.0004);
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, AFacadeFarFromTheScannerOfADenseRoomIsFoundWhole) {
    for (const double spacing : {0.115, 0.13, 0.15}) {
        Scene scene(0.02, 0.004);
        scene.Add({0, 0, 0}, kX * 6, kY * 5);
        Scene facade(spacing, 0.004);
        facade.Add({0.03, 9.96, 0.04}, kX * 6, kZ * 4);
        scene.Add(facade);
        const Searched search(scene);
        const auto found = search.Through(kY, {3, 9.96, 2}, 0.01);
        ASSERT_EQ(found.size(), 1U) << spacing;
        EXPECT_GT(static_cast<double>(found[0].points),
                  0.92 * static_cast<double>(facade.Points().size()));
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, BothSidesOfABarAreFound) {
    // 5 cm wide, 2 cm thick, the sides' places nearer to one another than twelve of one side.
    Scene scene(0.012, 0.0015);
    scene.Add({0, 0, 0}, kX * 2, kY * 2);
    const double bars[] = {0.53, 0.84, 1.17};
    for (const double at : bars)
        for (const double side : {at, at + 0.02}) scene.Add({side, 1.03, 0.1}, kY * 0.05, kZ * 0.9);
    const Searched search(scene);
    for (const double at : bars) {
        for (const double side : {at, at + 0.02}) {
            const auto found = search.Through(kX, {side, 1.05, 0.5}, 0.003);
            ASSERT_EQ(found.size(), 1U) << side;
            EXPECT_GT(found[0].points, 200U) << side;  // of 300
        }
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, ACasementIsOnePlaneThoughItsPointsLieAlongTwoLines) {
    Scene scene(0.008, 0.0015);
    scene.Add({0, 0, 0}, kX * 3, kY * 2);
    const double wide = 2, high = 0.5, leg = 0.04;
    scene.Add({0.5, 1.03, 0.3}, kX * leg, kZ * high)
        .Add({0.5 + wide - leg, 1.03, 0.3}, kX * leg, kZ * high)
        .Add({0.5 + leg, 1.03, 0.3}, kX * (wide - 2 * leg), kZ * leg)
        .Add({0.5 + leg, 1.03, 0.3 + high - leg}, kX * (wide - 2 * leg), kZ * leg);
    const Searched search(scene);
    const auto found = search.Through(kY, {0.95, 1.03, 0.9}, 0.002);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_GT(found[0].points, 2600U);  // of 3025
    EXPECT_EQ(search->Planes().size(), 2U);
}

// BEHAVIOUR A15
TEST(DrawnPlanes, NoPlaneLeansThroughTheStepsOfAFrame) {
    // Each with the planes that are found at least; of most, two or three points lie side by side.
    const struct {
        double wide, spacing;
        int steps;
        std::size_t planes;
    } frames[] = {
        {0.02, 0.012, 3, 8}, {0.025, 0.014, 2, 7}, {0.035, 0.014, 3, 6}, {0.03, 0.004, 3, 8}};
    for (const auto& frame : frames) {
        Scene scene(frame.spacing, 0.0011);
        scene.Add({0, 0, 0}, kX * 2, kY * 2);
        scene.Add({0, 1.8, 0}, kX * 2, kZ * 2).Add({1.8, 0, 0}, kY * 2, kZ * 2);
        for (int step = 0; step < frame.steps; ++step) {
            const double at = frame.wide * step;
            scene.Add({0.53 + at, 1.03 + at, 0.2}, kX * frame.wide, kZ * 1.1);
            scene.Add({0.53 + frame.wide + at, 1.03 + at, 0.2}, kY * frame.wide, kZ * 1.1);
        }
        const Searched search(scene);
        EXPECT_GE(search->Planes().size(), frame.planes) << frame.wide;
        for (const FoundPlane& plane : search->Planes()) {
            const Vector& n = plane.normal;
            EXPECT_GT(std::max({std::abs(n.x), std::abs(n.y), std::abs(n.z)}), 0.94)
                << frame.wide << ": " << n.x << ' ' << n.y << ' ' << n.z << ", " << plane.points;
        }
    }
}

// BEHAVIOUR A22
TEST(DrawnPlanes, NorDoesOneWhereTheyAreHardlyWiderThanTheirNoise) {
    const double wide = 0.03;
    for (const double noise : {0.0045, 0.005, 0.0055}) {
        Scene scene(0.012, 0.0025), frame(0.008, noise);
        scene.Add({0, 0, 0}, kX * 2, kY * 2);
        frame.Add({0, 1.03, 0.1}, kX * 0.53, kZ * 1.4);
        for (int step = 1; step <= 3; ++step) {
            const double x = 0.53 + wide * (step - 1), y = 1.03 + wide * (step - 1);
            frame.Add({x, y, 0.1}, kY * wide, kZ * 1.4);
            frame.Add({x, y + wide, 0.1}, kX * wide, kZ * 1.4);
        }
        frame.Add({0.53 + 3 * wide, 1.03 + 3 * wide, 0.1}, kX * 0.53, kZ * 1.4);
        scene.Add(frame);
        const Searched search(scene);
        EXPECT_GE(search->Planes().size(), 3U) << noise;
        for (const FoundPlane& plane : search->Planes()) {
            const Vector& n = plane.normal;
            EXPECT_GT(std::max({std::abs(n.x), std::abs(n.y), std::abs(n.z)}), 0.94)
                << noise << ": " << n.x << ' ' << n.y << ' ' << n.z << ", " << plane.points;
        }
    }
}

// BEHAVIOUR A5
TEST(DrawnPlanes, SmallFacesInOnePlaneArePartedByANarrowerGapThanLargeOnes) {
    Scene scene(0.012, 0.0015);
    scene.Add({0, 0, 0}, kX * 3, kY * 3);
    // Two fronts of 0.6 by 0.5 m, two bars of 5 cm, the two halves of a wall.
    scene.Add({0.36, 1.03, 0.4}, kX * 0.6, kZ * 0.5).Add({1.14, 1.03, 0.4}, kX * 0.6, kZ * 0.5);
    scene.Add({2.03, 0.445, 0.3}, kY * 0.05, kZ * 1.2).Add({2.03, 0.602, 0.3}, kY * 0.05, kZ * 1.2);
    scene.Add({0, 2.83, 0.3}, kX * 1.4, kZ * 2.2).Add({1.56, 2.83, 0.3}, kX * 1.4, kZ * 2.2);
    const Searched search(scene);
    EXPECT_EQ(search.Through(kY, {1, 1.03, 0.6}, 0.003).size(), 2U);
    EXPECT_EQ(search.Through(kX, {2.03, 0.55, 0.9}, 0.003).size(), 2U);
    EXPECT_EQ(search.Through(kY, {1.5, 2.83, 1}, 0.003).size(), 1U);
}

// Two fronts of a cupboard under one drawer, so far apart, before their carcass.
Scene Cupboard(double gap) {
    Scene scene(0.012, 0.0015);
    scene.Add({0, 0, 0}, kX * 3, kY * 3);
    scene.Add({0.36, 1.03, 0.1}, kX * 0.5, kZ * 0.6);
    scene.Add({0.86 + gap, 1.03, 0.1}, kX * 0.5, kZ * 0.6);
    scene.Add({0.36, 1.03, 0.7 + gap}, kX * (1 + gap), kZ * 0.25);
    scene.Add({0.36, 1.06, 0.1}, kX * (1 + gap), kZ * (0.85 + gap));
    return scene;
}

// BEHAVIOUR A20
TEST(DrawnPlanes, FrontsOfACupboardArePartedByGapsThatTheirPointsShow) {
    const Vector place{1, 1.03, 0.5};
    const Searched search(Cupboard(0.025));
    const auto fronts = search.Through(kY, place, 0.005);
    ASSERT_EQ(fronts.size(), 3U);
    for (const FoundPlane& front : fronts) EXPECT_EQ(front.group, fronts[0].group);
    EXPECT_GT(fronts[0].group, 0);
    EXPECT_NEAR(fronts[0].area, 0.3, 0.035);
    EXPECT_NEAR(fronts[1].area, 0.3, 0.035);
    EXPECT_NEAR(fronts[2].area, 0.25, 0.035);
    // A point lies on its own front.
    EXPECT_NE(search->PlaneOf({0.82, 1.03, 0.5}), search->PlaneOf({0.93, 1.03, 0.5}));
    EXPECT_EQ(search->PlaneOf({0.82, 1.03, 0.8}), search->PlaneOf({0.93, 1.03, 0.8}));
    EXPECT_GT(search->AssignedPoints(), search->Points() * 999 / 1000);

    // Not by what their points do not show, and not where a bridge is asked for.
    EXPECT_EQ(Searched(Cupboard(0.004)).Through(kY, place, 0.005).size(), 1U);
    PlaneSearchOptions bridged;
    bridged.bridge = 0.2;
    EXPECT_EQ(Searched(Cupboard(0.025), bridged).Through(kY, place, 0.005).size(), 1U);
}

// BEHAVIOUR A20
TEST(DrawnPlanes, AWallBehindAPostStaysWhole) {
    Scene scene(0.012, 0.0015);
    scene.Add({0, 0, 0}, kX * 3, kY * 2);
    scene.Add({0, 1.83, 0}, kX * 1.2, kZ * 2.5).Add({1.24, 1.83, 0}, kX * 1.3, kZ * 2.5);
    EXPECT_EQ(Searched(scene).Through(kY, {1, 1.83, 1}, 0.005).size(), 1U);
}

TEST(DrawnPlanes, BothSidesOfADoorLeafAreFound) {
    for (const double at : {1.0, 1.085}) {
        Scene scene(0.02, 0.0015);
        scene.Add({0, 0, 0}, kX * 2, kY * 2);
        scene.Add({0.5, at, 0}, kX * 0.9, kZ * 2).Add({0.5, at + 0.03, 0}, kX * 0.9, kZ * 2);
        const Searched search(scene);
        for (const double side : {at, at + 0.03}) {
            const auto found = search.Through(kY, {1, side, 1}, 0.004);
            ASSERT_EQ(found.size(), 1U) << at << ' ' << side;
            EXPECT_GT(found[0].points, 4200U);  // of 4500
        }
        EXPECT_EQ(search->Planes().size(), 3U) << at;
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, ABallHasNone) {
    for (const double radius : {0.05, 0.11, 0.16, 0.2, 0.25, 0.3, 0.35}) {
        Scene scene(0.016, 0.0015);
        scene.Add({0, 0, 0.03}, kX * 1.2, kY * 1.2);
        scene.AddBall({0.6, 0.6, 0.13 + radius}, radius);
        const Searched search(scene);
        EXPECT_EQ(search->Planes().size(), 1U) << radius;
    }
}

// BEHAVIOUR A15
TEST(DrawnPlanes, TheTailsOfDenseNoiseAreNoShellsBesideTheirPlane) {
    for (const double noise : {0.002, 0.006}) {
        Scene scene(0.005, noise);
        scene.Add({0, 0, 0.04}, kX * 1.2, kY * 1);
        const Searched search(scene);
        EXPECT_EQ(search->Planes().size(), 1U) << noise;
        EXPECT_GT(search->AssignedPoints(), search->Points() / 1000 * 999);
    }
}

// BEHAVIOUR A16
TEST(DrawnPlanes, DetailDecidesHowSmallAPlaneMayBe) {
    // A floor, a board of 40 x 30 cm above it and a plate of 8 x 7 cm.
    Scene scene(0.01, 0.0015);
    scene.Add({0, 0, 0.04}, kX * 2, kY * 1.5);
    scene.Add({0.5, 0.5, 0.34}, kX * 0.4, kY * 0.3);
    scene.Add({1.51, 0.51, 0.64}, kX * 0.08, kY * 0.07);
    const struct {
        Detail detail;
        std::size_t planes;
    } cases[] = {{Detail::Fine, 3}, {Detail::Normal, 2}, {Detail::Coarse, 1}};
    for (const auto& [detail, planes] : cases) {
        PlaneSearchOptions options;
        options.detail = detail;
        const Searched search(scene, options);
        EXPECT_EQ(search->Planes().size(), planes);
        EXPECT_EQ(search->LeftOut() > 0, planes < 3);
    }
}

// BEHAVIOUR A17
TEST(DrawnPlanes, WhatIsLeftOutAsTooSmallIsCounted) {
    // A floor and five boards of 0.28 square metres above it.
    Scene scene(0.02, 0.0015);
    scene.Add({0, 0, 0.04}, kX * 4.5, kY * 3);
    for (int i = 0; i < 5; ++i) scene.Add({0.8 * i + 0.15, 1.2, 0.44}, kX * 0.4, kY * 0.7);
    const auto expectLeftOut = [&](const PlaneSearchOptions& options, std::size_t count) {
        const Searched search(scene, options);
        EXPECT_EQ(search->Planes().size(), 6 - count);
        EXPECT_EQ(search->LeftOut(), count);
    };
    PlaneSearchOptions options;
    options.minArea = 0.1;
    expectLeftOut(options, 0);
    options.minArea = 0.4;  // what is found by its cells, and its outline is compared
    expectLeftOut(options, 5);
    options.minArea = 3;  // what its cells already refuse
    expectLeftOut(options, 5);
    options.detail = Detail::Coarse;
    expectLeftOut(options, 5);
    options = {};
    options.minPoints = 1200;
    expectLeftOut(options, 5);
}

// BEHAVIOUR A16
TEST(DrawnPlanes, StraysFarAwayDoNotMakeTheLeastAreaLarger) {
    Scene scene(0.03, 0.0015);
    scene.Add({0, 0, 0.04}, kX * 3, kY * 3);
    const double alone = Searched(scene)->Settings().minArea;
    for (int i = 0; i < 90; ++i) scene.AddPoint({200.0 + 3 * i, -150.0 - 2 * i, 0.1 * i});
    EXPECT_EQ(Searched(scene)->Settings().minArea, alone);
}

}  // namespace
}  // namespace orvix::detection
