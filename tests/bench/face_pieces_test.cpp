// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/face_pieces.h"

#include <gtest/gtest.h>

#include "bench/planes/house_truth.h"

namespace orvix::bench {
namespace {

using detail::Vector;

/// A face at z = 1 and points on it, 2 cm apart.
class Sheet {
public:
    /// Points of a rectangle; `face` is what is known of them.
    void Add(double left, double bottom, double right, double top, std::int32_t face = 0) {
        const int columns = static_cast<int>((right - left) / 0.02 + 0.5);
        const int rows = static_cast<int>((top - bottom) / 0.02 + 0.5);
        for (int i = 0; i < columns * rows; ++i) {
            points_.push_back({left + i / rows * 0.02 + 0.01, bottom + i % rows * 0.02 + 0.01, 1});
            faceOf_.push_back(face);
        }
    }
    [[nodiscard]] FacePieces Pieces(double area = 100, bool judged = true) const {
        return PiecesOf(points_, faceOf_, {{{{0, 0, 1}, -1, area}, judged}});
    }
    [[nodiscard]] std::size_t Size() const { return points_.size(); }

private:
    std::vector<Vector> points_;
    std::vector<std::int32_t> faceOf_;
};

TEST(FacePieces, MeasureAreaAndWidthOfAnL) {
    // 2 x 1 m, and an arm of 1 x 0.2 m: the widest circle is a metre across.
    Sheet sheet;
    sheet.Add(0, 0, 2, 1);
    sheet.Add(2, 0, 3, 0.2);
    const FacePieces found = sheet.Pieces();
    ASSERT_EQ(found.pieces.size(), 1U);
    EXPECT_EQ(found.pieces[0].points, sheet.Size());
    EXPECT_NEAR(found.pieces[0].area, 2.2, 0.1);
    EXPECT_NEAR(found.pieces[0].width, 1.0, 0.11);
}

TEST(FacePieces, JoinGapsOfTwentyCentimetresAndKeepThoseOfForty) {
    for (const double gap : {0.2, 0.4}) {
        Sheet sheet;
        sheet.Add(0, 0, 1, 1);
        sheet.Add(1 + gap, 0, 2 + gap, 1);
        const FacePieces found = sheet.Pieces();
        ASSERT_EQ(found.pieces.size(), gap < 0.3 ? 1U : 2U);
        EXPECT_EQ(found.of.front() == found.of.back(), gap < 0.3);
        EXPECT_NEAR(found.pieces[0].area, gap < 0.3 ? 2 + gap : 1, 0.06);
    }
}

TEST(FacePieces, HaveNoMoreAreaThanTheirFace) {
    Sheet sheet;
    sheet.Add(0, 0, 1, 1);
    EXPECT_EQ(sheet.Pieces(0.7).pieces.at(0).area, 0.7);
}

TEST(FacePieces, LeaveOpenWhatIsSmallThinOrNotJudged) {
    Sheet sheet;
    sheet.Add(0, 0, 1, 1);
    sheet.Add(3, 0, 3.1, 0.1);  // 25 points
    const FacePieces found = sheet.Pieces();
    ASSERT_EQ(found.pieces.size(), 1U);
    EXPECT_EQ(found.pieces[0].points, 2500U);
    EXPECT_EQ(found.of.front(), 0);
    EXPECT_EQ(found.of.back(), test::kUnjudgedPlane);
    EXPECT_TRUE(sheet.Pieces(100, false).pieces.empty());
    EXPECT_EQ(sheet.Pieces(100, false).of.front(), test::kUnjudgedPlane);
}

TEST(FacePieces, KeepWhatIsOnNoFace) {
    Sheet sheet;
    sheet.Add(0, 0, 1, 1);
    sheet.Add(0, 0, 0.1, 0.02, test::kNoPlane);
    sheet.Add(0, 0, 0.1, 0.02, test::kUnjudgedPlane);
    const FacePieces found = sheet.Pieces();
    EXPECT_EQ(found.of[2500], test::kNoPlane);
    EXPECT_EQ(found.of.back(), test::kUnjudgedPlane);
    EXPECT_EQ(found.pieces.at(0).points, 2500U);
}

TEST(HouseTruth, ReadsFacesByTheirNumbers) {
    const auto faces =
        ParseHouse(R"({"planes":[{"id":3,"normal":[0,0,-1],"offset":0.2,"area":120,"curved":false,)"
                   R"("glass":false},{"id":1,"normal":[1,0,0],"offset":-4,"area":2,"curved":true,)"
                   R"("glass":false}]})",
                   "house.json");
    ASSERT_TRUE(faces.has_value()) << faces.error().message;
    ASSERT_EQ(faces->size(), 3U);
    EXPECT_FALSE((*faces)[0].judged);
    EXPECT_EQ((*faces)[0].plane.offset, 4);
    EXPECT_FALSE((*faces)[1].judged);
    EXPECT_TRUE((*faces)[2].judged);
    EXPECT_EQ((*faces)[2].plane.normal.z, -1);
    EXPECT_EQ((*faces)[2].plane.offset, -0.2);
    EXPECT_EQ((*faces)[2].plane.area, 120);
}

TEST(HouseTruth, RefusesWhatIsNoHouseWithItsName) {
    for (const char* text : {"", "{}", R"({"planes":[]})", R"({"planes":[{"id":1}]})",
                             R"({"planes":[{"id":0,"normal":[1,0,0],"offset":0,"area":1,)"
                             R"("curved":false,"glass":false}]})"}) {
        const auto faces = ParseHouse(text, "house.json");
        ASSERT_FALSE(faces.has_value()) << text;
        EXPECT_NE(faces.error().message.find("house.json"), std::string::npos);
    }
}

}  // namespace
}  // namespace orvix::bench
