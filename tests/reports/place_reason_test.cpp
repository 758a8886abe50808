// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/place_reason.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvix::cli {
namespace {

class PlaceReason : public testing::Test {
protected:
    PlaceReason() {
        settings_.cellSize = 0.1;
        settings_.distance = 0.04;
        settings_.angle = 20;
        settings_.minArea = 0.25;
        settings_.minPoints = 30;
        planes_.resize(2);
        planes_[1].number = 7;
        planes_[1].kind = "wall";
        planes_[1].tolerance = 0.04;
        place_.occupied = true;
        place_.points = 12;
        place_.cellNormal = {0, 1, 0};
    }
    void ExpectSaid(const std::string& words) const {
        const std::string said = reports::SentencesOf(place_, settings_, planes_);
        EXPECT_NE(said.find(words), std::string::npos) << said;
    }

    detection::PlaceReport place_;
    detection::PlaneSearchSettings settings_;
    std::vector<reports::WorldPlane> planes_;
};

TEST_F(PlaceReason, NamesThePlaneAndItsDistanceInMillimetres) {
    place_.plane = place_.nearest = 1;
    place_.nearestDistance = -0.0031;
    place_.nearestTurn = std::cos(0.2);
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::OnPlane);
    ExpectSaid("on plane 7, a wall: 3.1 mm away, of 40.0 mm allowed");
    ExpectSaid("turned by 11.5 degrees");
    EXPECT_DOUBLE_EQ(reports::TurnInDegrees(place_), 11.459);
}

TEST_F(PlaceReason, NamesThePlanesOwnToleranceWhereThatIsMore) {
    place_.plane = place_.nearest = 1;
    place_.nearestDistance = 0.05;
    planes_[1].tolerance = 0.06;
    ExpectSaid("50.0 mm away, of 60.0 mm allowed for a plane that scatters or waves like it");
}

TEST_F(PlaceReason, SaysOfAPlaceThatIsTooFarHowItIsTurned) {
    place_.nearest = 1;
    place_.nearestDistance = 0.06;
    place_.nearestTurn = 0;
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::TooFar);
    ExpectSaid("on none: the nearest around is plane 7, a wall: 60.0 mm away, of 40.0 mm allowed");
    ExpectSaid("turned by 90.0 degrees from the plane, of 20 allowed (--angle): too much");
}

TEST_F(PlaceReason, TellsAPlaneThatWasDroppedFromNone) {
    place_.nearestDistance = 0.002;
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::Dropped);
    ExpectSaid("0.25 m2 (--min-area) and 30 points");
    place_.nearestDistance = 0;
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::NoPlane);
    place_.cellNormal = {};
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::NotFlat);
    EXPECT_LT(reports::TurnInDegrees(place_), 0);
    place_.occupied = false;
    EXPECT_EQ(reports::VerdictOf(place_), reports::PlaceVerdict::Empty);
    ExpectSaid("holds no point");
}

TEST_F(PlaceReason, KnowsNoTurnOfAPlaceThatIsNotFlat) {
    place_.nearest = 0;
    place_.nearestDistance = 0.06;
    place_.cellNormal = {};
    EXPECT_LT(reports::TurnInDegrees(place_), 0);
    ExpectSaid("its surroundings are not flat");
}

}  // namespace
}  // namespace orvix::cli
