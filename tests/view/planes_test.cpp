// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include "detection/saved_planes.h"
#include "orvix/points/alive_point_reader.h"
#include "output/outlines/outline_writer.h"
#include "reports/plane_finding.h"
#include "reports/planes_report.h"
#include "tests/view/served_project.h"

namespace orvix::test {
namespace {

using nlohmann::json;

bool GoOn() {
    return true;
}

class ViewPlanes : public ServedProject {
protected:
    ViewPlanes() {
        Write(FloorAndWall());
        ServedProject::Serve();
    }
    [[nodiscard]] reports::WorldProject Open() const {
        return std::move(*reports::WorldProject::Open(Project()));
    }
    static std::vector<std::uint32_t> NumbersOf(const Reply& reply) {
        std::vector<std::uint32_t> numbers(reply.body.size() / 4);
        std::memcpy(numbers.data(), reply.body.data(), numbers.size() * 4);
        return numbers;
    }
    // Of all points, from the set itself.
    static std::vector<std::uint32_t> NumbersOf(const reports::WorldProject& project,
                                                const detection::PlaneSet& set) {
        std::vector<std::uint32_t> numbers;
        const auto reader = project.Core().CreateAlivePointReader();
        for (std::size_t chunk = 0; chunk < set.Chunks(); ++chunk)
            EXPECT_TRUE(set.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& points) {
                for (const std::int32_t plane : points.planes)
                    numbers.push_back(set.NumberOf(plane));
            }));
        return numbers;
    }
    [[nodiscard]] std::vector<json> FindAll(const std::string& body = "{}") const {
        std::vector<json> planes;
        for (const json& line : LinesOf(Post("planes", body)))
            if (line.contains("plane")) planes.push_back(line["plane"]);
        return planes;
    }
    [[nodiscard]] std::string ExportText(const std::string& format, const json& numbers) const {
        const Reply reply = Post("export", json{{"format", format}, {"planes", numbers}}.dump());
        EXPECT_EQ(reply.status, 200) << reply.body;
        return reply.body;
    }
};

TEST_F(ViewPlanes, AGrownPlaneIsThatOfTheCommand) {
    const auto lines =
        LinesOf(Post("plane", R"({"seed":[1.5,1.0,0.0],"settings":{"distance":0.02}})"));
    ASSERT_GE(lines.size(), 2u);
    EXPECT_TRUE(lines.back().contains("done"));
    const json plane = lines[lines.size() - 2]["plane"];
    reports::PlaneRequest request;
    request.seed = {1.5, 1.0, 0.0};
    request.local = true;
    request.distance = 0.02;
    const auto project = Open();
    const auto expected = reports::FindPlane(project, request, GoOn);
    ASSERT_TRUE(expected);
    EXPECT_EQ(plane["area"], expected->grown.area);
    EXPECT_EQ(plane["points"], expected->grown.points);
    EXPECT_EQ(plane["rms"], expected->grown.rms);
    EXPECT_EQ(plane["class"], "floor");
    EXPECT_EQ(plane["number"], 1'000'001);
    EXPECT_NEAR(plane["world"]["centroid"][1].get<double>(), expected->centroid.y, 1e-6);
    const json outer = plane["regions"][0]["outer"];
    EXPECT_EQ(outer.size(), expected->grown.plane.Outline().regions[0].outer.points.size());
    for (const json& corner : outer) EXPECT_NEAR(corner[2].get<double>(), 0.0, 0.01);
}

TEST_F(ViewPlanes, AWallLooksAwayFromTheMiddleOfTheCloud) {
    const auto lines = LinesOf(Post("plane", R"({"seed":[1.5,2.6,1.2]})"));
    const json plane = lines[lines.size() - 2]["plane"];
    EXPECT_EQ(plane["class"], "wall");
    EXPECT_GT(plane["equation"][1].get<double>(), 0.99);
}

TEST_F(ViewPlanes, TheListAndTheNumbersAreThoseOfTheCommand) {
    const auto planes = FindAll();
    const auto project = Open();
    const auto expected = reports::FindPlanes(project, {});
    ASSERT_TRUE(expected);
    ASSERT_EQ(planes.size(), expected->planes.size());
    ASSERT_GE(planes.size(), 2u);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        EXPECT_EQ(planes[i]["number"], expected->planes[i].number);
        EXPECT_EQ(planes[i]["area"], expected->planes[i].area);
        EXPECT_EQ(planes[i]["class"], expected->planes[i].kind);
        EXPECT_EQ(planes[i]["world"]["equation"], json(expected->planes[i].equation));
    }
    const auto numbers = NumbersOf(project, *expected->set);
    EXPECT_EQ(NumbersOf(Get("plane-numbers")), numbers);
    std::vector<std::uint32_t> some;
    for (std::size_t i = 101; i < 15'000; i += 7) some.push_back(numbers[i]);
    EXPECT_EQ(NumbersOf(Get("plane-numbers?first=101&count=14899&every=7")), some);
    EXPECT_EQ(Get("plane-numbers?id=1").status, 200);
    ExpectRefused(Get("plane-numbers?id=2"), 409, "another list");
    ExpectRefused(Get("plane-numbers?first=99999999&count=1"), 400, "past the end");
    EXPECT_EQ(NumbersOf(Get("skeleton-plane-numbers")).size(), made_.skeleton.size());
}

TEST_F(ViewPlanes, SavedPlanesAreReadAsTheyWereFound) {
    ExpectRefused(Get("skeleton-plane-numbers"), 404, "no list yet");
    EXPECT_TRUE(LinesOf(Post("planes", R"({"saved":true})")).back().contains("error"));
    const auto found = FindAll();
    const auto skeleton = Get("skeleton-plane-numbers?first=1&every=3").body;
    {
        const auto project = Open();
        auto all = reports::FindPlanes(project, {});
        ASSERT_TRUE(detection::SavePlanes(project.Manager(), project.Core(), *all->set, GoOn));
    }
    const auto saved = FindAll(R"({"saved":true})");
    EXPECT_EQ(saved, found);
    EXPECT_EQ(Get("skeleton-plane-numbers?first=1&every=3").body, skeleton);
    EXPECT_EQ(Get("plane-numbers?id=2").status, 200);
    EXPECT_EQ(json::parse(Get("project").body)["saved_planes"], true);
}

TEST_F(ViewPlanes, AFileOfChosenPlanesIsTheWritersOwn) {
    const auto planes = FindAll();
    EXPECT_EQ(Post("plane", R"({"seed":[1.5,1.0,0.0]})").status, 200);
    const auto project = Open();
    auto expected = reports::FindPlanes(project, {});
    for (const char* ending : {"dxf", "geojson", "ifc"}) {
        const CString path = folder_ / (L"expected." + platform::FromUtf8(ending));
        const std::vector second{expected->planes[1]};
        ASSERT_TRUE(output::WriteOutlines(path, second));
        const auto bytes = ReadBytes(path);
        EXPECT_EQ(ExportText(ending, {2}), std::string(bytes.begin(), bytes.end())) << ending;
    }
    const std::string mesh = ExportText("obj", {1'000'001, 1});
    EXPECT_NE(mesh.find("plane_1000001_floor"), std::string::npos);
    EXPECT_NE(mesh.find("plane_1_"), std::string::npos);
    EXPECT_EQ(ExportText("ply", {1}).substr(0, 4), "ply\n");
}

// BEHAVIOUR L3
TEST_F(ViewPlanes, ASearchEndsWithItsPage) {
    using Clock = std::chrono::steady_clock;
    for (int i = 0; i < 5; ++i) {
        PageClient gone(port_);
        gone.Send(PostText("planes", R"({"options":{"detail":"fine"}})"));
        gone.HangUp();
    }
    const auto start = Clock::now();
    const auto lines = LinesOf(Post("plane", R"({"seed":[1.5,1.0,0.0]})"));
    EXPECT_TRUE(lines.back().contains("done"));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace orvix::test
