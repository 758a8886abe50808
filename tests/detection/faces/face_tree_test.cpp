// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/faces/face_tree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "support/dice.h"

namespace orvix::detection {
namespace {

using Place = SimplePoint2DT<double>;

const Extends2DT<double> kBounds{{-4, -4}, {4, 4}};

/// Marks of rectangles that were seen, in a frame that is turned.
class Seen {
public:
    explicit Seen(double turn = 0) : cosine_(std::cos(turn)), sine_(std::sin(turn)) {}

    /// Points so far apart across and up.
    Seen& Add(const Place& corner, double width, double height, double across = 0.012,
              double up = 0.012) {
        for (double x = across / 2; x < width; x += across)
            for (double y = up / 2; y < height; y += up)
                raster_.Mark(At({corner.x + x + Jitter(across), corner.y + y + Jitter(up)}));
        return *this;
    }
    [[nodiscard]] Place At(const Place& p) const {
        return {cosine_ * p.x - sine_ * p.y, sine_ * p.x + cosine_ * p.y};
    }
    [[nodiscard]] FaceTree Cut() const { return CutIntoFaces(raster_); }

private:
    double Jitter(double spacing) { return (dice_.Share() - 0.5) * 0.6 * spacing; }

    double cosine_, sine_;
    std::uint64_t state_ = 3;
    test::Dice dice_{state_};
    PlaneRaster raster_{kBounds, 0.024, 8};
};

TEST(FaceTree, CutsFrontsWhereverTheyAreTurned) {
    for (const double turn : {0.0, 0.02, 0.4, 1.2, 2.9}) {
        Seen seen(turn);
        // Two fronts under a drawer, and a high one beside them.
        seen.Add({0, 0}, 0.6, 0.7).Add({0.625, 0}, 0.6, 0.7).Add({0, 0.73}, 1.225, 0.27);
        seen.Add({1.25, 0}, 0.6, 1);
        const FaceTree tree = seen.Cut();
        ASSERT_EQ(tree.Faces(), 4U) << turn;
        std::set<std::int32_t> faces;
        for (const Place& middle : {Place{0.3, 0.35}, {0.92, 0.35}, {1.55, 0.35}, {0.9, 0.86}})
            faces.insert(tree.FaceOf(seen.At(middle)));
        EXPECT_EQ(faces, (std::set<std::int32_t>{0, 1, 2, 3})) << turn;
        for (const double x : {0.01, 0.59})
            for (const double y : {0.01, 0.69})
                EXPECT_EQ(tree.FaceOf(seen.At({x, y})), tree.FaceOf(seen.At({0.3, 0.35})));
    }
}

TEST(FaceTree, LeavesWholeWhatNoGapOfItsOwnParts) {
    // A scanner's columns are as far apart everywhere.
    EXPECT_EQ(Seen().Add({0, 0}, 1.2, 0.7, 0.03, 0.004).Cut().Faces(), 1U);
    // A gap that ends within the face, or is no wider than points are apart.
    EXPECT_EQ(Seen()
                  .Add({0, 0}, 0.6, 0.7)
                  .Add({0.625, 0}, 0.6, 0.7)
                  .Add({0.3, 0.2}, 0.6, 0.3)
                  .Cut()
                  .Faces(),
              1U);
    EXPECT_EQ(Seen().Add({0, 0}, 0.6, 0.7).Add({0.604, 0}, 0.6, 0.7).Cut().Faces(), 1U);
    // A wall behind a post, and a bar that is too narrow for a face.
    EXPECT_EQ(Seen().Add({0, 0}, 1.2, 2.5).Add({1.24, 0}, 1.3, 2.5).Cut().Faces(), 1U);
    EXPECT_EQ(Seen().Add({0, 0}, 0.6, 0.7).Add({0.625, 0}, 0.06, 0.7).Cut().Faces(), 1U);
    // Nothing, and little.
    EXPECT_EQ(Seen().Cut().Faces(), 1U);
    EXPECT_EQ(Seen().Add({0, 0}, 0.1, 0.1).Cut().Faces(), 1U);
}

TEST(FaceTree, StraysInAGapDoNotHideIt) {
    Seen seen;
    seen.Add({0, 0}, 0.6, 0.7).Add({0.63, 0}, 0.6, 0.7);
    for (const double y : {0.1, 0.3, 0.62}) seen.Add({0.61, y}, 0.01, 0.01);
    EXPECT_EQ(seen.Cut().Faces(), 2U);
}

TEST(RegionFaces, NumberTheFirstFaceAsItsRegionAndTheOthersAfterAllRegions) {
    const FaceTree whole;
    const FaceTree two({{1, 0, 0.5, ~0, ~1}});
    const FaceTree three({{1, 0, 0.5, 1, ~2}, {0, 1, 0.2, ~0, ~1}});
    const PlaneFrame level(0, 0, 1, 0);
    const RegionFaces faces({whole, two, whole, three}, std::vector<PlaneFrame>(4, level));
    EXPECT_EQ(faces.Others(), (std::vector<std::int32_t>{1, 3, 3}));
    EXPECT_FALSE(faces.AreSeveral(0));
    EXPECT_TRUE(faces.AreSeveral(3));
    const auto place = [&](double x, double y) { return level.To3D({x, y}); };
    EXPECT_EQ(faces.NumberOf(0, place(0.9, 0)), 0);
    EXPECT_EQ(faces.NumberOf(1, place(0.4, 0)), 1);
    EXPECT_EQ(faces.NumberOf(1, place(0.5, 0)), 4);  // a place on a cut lies after it
    EXPECT_EQ(faces.NumberOf(3, place(0.1, 0.1)), 3);
    EXPECT_EQ(faces.NumberOf(3, place(0.1, 0.3)), 5);
    EXPECT_EQ(faces.NumberOf(3, place(0.9, 0.3)), 6);
    EXPECT_TRUE(RegionFaces({whole, whole}, std::vector<PlaneFrame>(2, level)).Empty());
}

}  // namespace
}  // namespace orvix::detection
