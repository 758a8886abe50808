// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A terrace of three storeys at 100, 103 and 107 m, intensities 100, 200 and 900.
class ClassifyVerb : public testing::Test {
protected:
    ClassifyVerb() {
        std::string text = "x y z i\n";
        const double heights[] = {100.004, 103.004, 107.004};
        const int intensities[] = {100, 200, 900};
        for (int i = 0; i < 3'000; ++i) {
            const int storey = i % 10 < 5 ? 0 : i % 10 < 8 ? 1 : 2;
            text += fmt::format("{} {} {} {}\n", 0.01 * (i % 60), 0.01 * (i / 60),
                                heights[storey] + 0.01 * (i % 7), intensities[storey] + i % 3);
        }
        WriteText(folder_ / L"t.txt", text);
        OrvixJson({"import", File(L"t.txt"), File(L"t.prj")});
    }

    std::string File(std::wstring_view name) { return Utf8(folder_ / name); }
    Json Classify(std::vector<std::string> options) {
        options.insert(options.begin(), {"classify", File(L"t.prj")});
        return OrvixJson(options);
    }
    std::vector<std::uint8_t> Points() {
        return ReadBytes(folder_ / L"t_Project_Files/Index/Grid.pts");
    }
    std::vector<std::uint8_t> Skeleton() {
        return ReadBytes(folder_ / L"t_Project_Files/Index/GridSkelet.datapts");
    }
    std::string Text(std::wstring_view name) {
        const auto bytes = ReadBytes(folder_ / name);
        return {bytes.begin(), bytes.end()};
    }

    ScratchFolder folder_;
};

TEST_F(ClassifyVerb, FindsTheStoreysByAllPoints) {
    const Json classes = Classify({"--field", "z", "--classes", "3"});
    EXPECT_EQ(classes["exact"], true);
    EXPECT_EQ(classes["points"], 3'000);
    EXPECT_THAT(classes["counts"], ElementsAre(1'500, 900, 600));
    EXPECT_GT(classes["fit"], 0.9999);
    ASSERT_EQ(classes["boundaries"].size(), 4u);
    EXPECT_NEAR(classes["boundaries"][0], 100.005, 1e-3);
    EXPECT_NEAR(classes["boundaries"][1], 100.065, 1e-3);
    EXPECT_NEAR(classes["boundaries"][2], 103.065, 1e-3);
    EXPECT_NEAR(classes["boundaries"][3], 107.065, 1e-3);
}

TEST_F(ClassifyVerb, CountsAValueAtABoundaryInTheClassThatEndsThere) {
    const Json classes = Classify({"--field", "intensity", "--classes", "3"});
    EXPECT_THAT(classes["boundaries"], ElementsAre(100, 102, 202, 902));
    EXPECT_THAT(classes["counts"], ElementsAre(1'500, 900, 600));
}

TEST_F(ClassifyVerb, DrawsTheSameSampleForTheSameSeed) {
    const std::vector<std::string> options{"--field",  "z",   "--classes", "3",
                                           "--sample", "500", "--seed",    "7"};
    const Json classes = Classify(options);
    EXPECT_EQ(classes["exact"], false);
    EXPECT_EQ(classes["seed"], 7);
    EXPECT_NEAR(classes["sampled"], 500, 2);
    EXPECT_THAT(classes["counts"], ElementsAre(1'500, 900, 600));
    EXPECT_EQ(Classify(options), classes);
}

// BEHAVIOUR A11
TEST_F(ClassifyVerb, WritesEachPointsClassAndNothingElse) {
    const auto before = Points();
    const Json classes = Classify({"--field", "z", "--classes", "3", "--apply"});
    EXPECT_EQ(classes["applied"], 3'000);
    const auto after = Points();
    ASSERT_EQ(after.size(), before.size());
    std::map<int, int> counts;
    for (std::size_t at = 0; at < after.size(); at += 24) {
        EXPECT_EQ(std::memcmp(&after[at], &before[at], 22), 0);
        EXPECT_EQ(after[at + 23], before[at + 23]);
        const std::uint16_t intensity =
            static_cast<std::uint16_t>(after[at + 12] | after[at + 13] << 8);
        EXPECT_EQ(after[at + 22], intensity < 150 ? 1 : intensity < 300 ? 2 : 3);
        ++counts[after[at + 22]];
    }
    EXPECT_THAT(counts,
                ElementsAre(testing::Pair(1, 1'500), testing::Pair(2, 900), testing::Pair(3, 600)));
    EXPECT_EQ(OrvixJson({"check", File(L"t.prj")})["ok"], true);
}

TEST_F(ClassifyVerb, GivesTheSkeletonTheSameClasses) {
    Classify({"--field", "intensity", "--classes", "3", "--apply"});
    const auto skeleton = Skeleton();
    ASSERT_FALSE(skeleton.empty());
    for (std::size_t at = 0; at < skeleton.size(); at += 12) {
        const int intensity = skeleton[at] | skeleton[at + 1] << 8;
        EXPECT_EQ(skeleton[at + 8], intensity < 150 ? 1 : intensity < 300 ? 2 : 3);
    }
}

// As a run that was killed leaves it: some points carry new classes, others old ones, and the mark of
// its opening stands beside them.
TEST_F(ClassifyVerb, ComesToTheSameBytesFromAnyHalfWrittenState) {
    Classify({"--field", "z", "--classes", "3", "--apply"});
    const auto whole = Points();
    auto half = whole;
    for (std::size_t at = 0; at < half.size() / 2; at += 24) half[at + 22] = 9;
    WriteBytes(folder_ / L"t_Project_Files/Index/Grid.pts", half.data(), half.size());
    WriteText(folder_ / L"t_Project_Files/Index/Grid.written", "1");
    Classify({"--field", "z", "--classes", "3", "--apply"});
    EXPECT_EQ(Points(), whole);
    EXPECT_EQ(OrvixJson({"check", File(L"t.prj"), "--deep"})["sums"]["written_since"].size(), 3u);
    EXPECT_TRUE(OrvixJson({"repair", File(L"t.prj")})["summed"]);
    EXPECT_EQ(OrvixJson({"check", File(L"t.prj"), "--deep"})["sums"]["written_since"].size(), 0u);
}

TEST_F(ClassifyVerb, DrawsEveryClassAndItsBoundaries) {
    const Json classes =
        Classify({"--field", "z", "--classes", "3", "--picture", File(L"z & co.svg")});
    EXPECT_EQ(classes["picture"], File(L"z & co.svg"));
    const std::string svg = Text(L"z & co.svg");
    EXPECT_THAT(svg, HasSubstr(">height (m)</text>"));
    EXPECT_THAT(svg, HasSubstr(">points per "));
    EXPECT_THAT(svg, HasSubstr(">100.065</text>"));
    EXPECT_THAT(svg, HasSubstr(">103.065</text>"));
    EXPECT_THAT(svg, HasSubstr("t.prj: height in 3 natural classes"));
    EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
}

TEST_F(ClassifyVerb, OffersHeightsWhereEveryIntensityIsTheSame) {
    WriteCloud(folder_ / L"plain.xyz", Room({0, 0, 0}));
    OrvixJson({"import", File(L"plain.xyz"), File(L"plain.prj")});
    const auto message = OrvixError({"classify", File(L"plain.prj")})["message"].get<std::string>();
    EXPECT_THAT(message, HasSubstr("1 distinct value; ask for 1 class, or "));
    EXPECT_THAT(message, HasSubstr("--field z"));
    EXPECT_EQ(OrvixJson({"classify", File(L"plain.prj"), "--field", "z"})["counts"].size(), 5u);
}

TEST_F(ClassifyVerb, RefusesMoreClassesThanValuesAndWhatDoesNotGoTogether) {
    const std::string project = File(L"t.prj");
    const Json many = OrvixError({"classify", project, "--field", "intensity", "--classes", "10"});
    EXPECT_EQ(many["exit"], 3);
    EXPECT_THAT(many["message"].get<std::string>(), HasSubstr("9 distinct values"));
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--classes", "0"},
                                                    {"--classes", "256"},
                                                    {"--field", "colour"},
                                                    {"--exact", "--sample", "100"},
                                                    {"--seed", "4"}}) {
        std::vector<std::string> line{"classify", project};
        line.insert(line.end(), options.begin(), options.end());
        EXPECT_EQ(OrvixError(line)["exit"], 2) << options.front();
    }
}

TEST_F(ClassifyVerb, TellsADamagedHistogram) {
    const CString path = folder_ / L"t_Project_Files/Data/z.hist";
    auto bytes = ReadBytes(path);
    bytes.pop_back();
    WriteBytes(path, bytes.data(), bytes.size());
    const Json fault = OrvixError({"classify", File(L"t.prj"), "--field", "z"});
    EXPECT_EQ(fault["exit"], 5);
    EXPECT_THAT(fault["message"].get<std::string>(), HasSubstr("z.hist"));
    EXPECT_EQ(OrvixError({"histogram", File(L"t.prj")})["exit"], 5);
}

TEST_F(ClassifyVerb, HistogramsCountEveryPointOnce) {
    const Json both = OrvixJson({"histogram", File(L"t.prj"), "--picture", File(L"h.svg")});
    ASSERT_EQ(both["histograms"].size(), 2u);
    for (const Json& histogram : both["histograms"]) {
        std::uint64_t sum =
            histogram["below"].get<std::uint64_t>() + histogram["above"].get<std::uint64_t>();
        for (const Json& count : histogram["counts"]) sum += count.get<std::uint64_t>();
        EXPECT_EQ(sum, 3'000u) << histogram["field"];
        EXPECT_LE(histogram["counts"].size(), 24u);
    }
    EXPECT_EQ(both["histograms"][0]["lowest"], 100);
    EXPECT_EQ(both["histograms"][0]["median"], 102);
    EXPECT_NEAR(both["histograms"][1]["highest"], 107.065, 1e-3);
    EXPECT_THAT(Text(L"h.svg"), HasSubstr("intensity (as stored, 0 to 65535)"));
}

TEST_F(ClassifyVerb, HistogramsStartAtRoundNumbers) {
    const Json one =
        OrvixJson({"histogram", File(L"t.prj"), "--field", "intensity", "--columns", "9"});
    const Json& intensity = one["histograms"][0];
    EXPECT_EQ(intensity["width"], 100);
    EXPECT_EQ(intensity["start"], 99.5);
    EXPECT_THAT(intensity["counts"], ElementsAre(1'500, 900, 0, 0, 0, 0, 0, 0, 600));
}

}  // namespace
}  // namespace orvix::test
