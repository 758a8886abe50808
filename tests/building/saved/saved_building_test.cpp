// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/saved_building.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "building/saved/building_records.h"
#include "importer/import.h"
#include "orvix/platform/path.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/destroy_project.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/model_file.h"
#include "support/scenes/sample_building.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"
#include "tests/support/shown_bytes.h"

namespace orvix::building {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;
using testing::HasSubstr;

Bytes BytesOf(const Building& building) {
    Bytes bytes;
    EncodeBuilding(building, bytes);
    return bytes;
}

/// The sentence that refuses a building; empty where it is taken.
std::string Refusal(const Building& building) {
    Building read;
    std::string fault;
    (void)DecodeBuilding(BytesOf(building), read, fault);
    return fault;
}

template <class Change>
std::string RefusalWith(Change&& change) {
    Building building = test::SampleBuilding();
    change(building);
    return Refusal(building);
}

TEST(BuildingRecords, HoldEveryFieldToTheLastBit) {
    const Building before = test::SampleBuilding();
    Building after;
    std::string fault;
    ASSERT_TRUE(DecodeBuilding(BytesOf(before), after, fault)) << fault;
    EXPECT_EQ(BytesOf(after), BytesOf(before));
    ASSERT_EQ(after.rooms.size(), before.rooms.size());
    EXPECT_EQ(after.rooms[1].name, before.rooms[1].name);
    EXPECT_EQ(after.rooms[3].faces.size(), before.rooms[3].faces.size());
    EXPECT_EQ(after.openings[4].state, before.openings[4].state);
    EXPECT_EQ(after.openings[4].rooms, before.openings[4].rooms);
    EXPECT_EQ(after.walls[5].thickness.has_value(), before.walls[5].thickness.has_value());
    EXPECT_EQ(after.slabs[1].bottom->low, before.slabs[1].bottom->low);
    EXPECT_EQ(after.slopes[0].evidence.stations, before.slopes[0].evidence.stations);
    EXPECT_EQ(after.edges[0].ends[1].z, before.edges[0].ends[1].z);
    EXPECT_EQ(after.remarks, before.remarks);
    EXPECT_EQ(Refusal({}), "") << "a building of nothing is one";
}

TEST(BuildingRecords, AreRefusedAtEveryLength) {
    const Bytes whole = BytesOf(test::SampleBuilding());
    Building building;
    std::string fault;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::span<const std::uint8_t> bytes(whole.data(), length);
        ASSERT_FALSE(DecodeBuilding(bytes, building, fault)) << length;
        ASSERT_THAT(fault, HasSubstr("do not end"));
    }
    Bytes longer = whole;
    longer.push_back(0);
    EXPECT_FALSE(DecodeBuilding(longer, building, fault));
    EXPECT_THAT(fault, HasSubstr("1 bytes follow"));
}

// Whatever is taken can be used: every place is near, every name of another element is one.
TEST(BuildingRecords, AreSafeToUseWithAnyByteChanged) {
    const Bytes whole = BytesOf(test::SampleBuilding());
    Building building;
    std::string fault;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0xFFU}) {
            Bytes bytes = whole;
            bytes[at] = static_cast<std::uint8_t>(value);
            if (!DecodeBuilding(bytes, building, fault)) continue;
            for (const Wall& wall : building.walls) {
                ASSERT_LT(wall.storey, building.storeys.size());
                ASSERT_LE(std::abs(wall.axis[0].x), 2e8);
                ASSERT_GE(wall.profile.size(), 3U);
            }
            for (const Opening& opening : building.openings)
                ASSERT_LT(opening.wall, building.walls.size());
            for (const RoofEdge& edge : building.edges)
                ASSERT_LT(edge.slopes[1], building.slopes.size());
        }
    }
}

TEST(BuildingRecords, SayWhatIsWrongWithThem) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto with = [](auto change) { return RefusalWith(change); };
    EXPECT_THAT(with([](Building& b) { b.walls[2].storey = 2; }),
                HasSubstr("wall 3 is of a storey"));
    EXPECT_THAT(with([&](Building& b) { b.walls[2].axis[0].x = nan; }), HasSubstr("wall 3 lies"));
    EXPECT_THAT(with([](Building& b) { b.walls[2].axis[1] = b.walls[2].axis[0]; }),
                HasSubstr("no length"));
    EXPECT_THAT(with([](Building& b) { b.walls[0].profile.resize(2); }), HasSubstr("ring"));
    EXPECT_THAT(with([](Building& b) { b.openings[1].wall = 99; }), HasSubstr("opening 2 is in"));
    EXPECT_THAT(with([](Building& b) { b.openings[1].rooms[0] = 99; }), HasSubstr("leads to"));
    EXPECT_THAT(with([](Building& b) { b.rooms[0].faces[0].wall = 99; }), HasSubstr("room 1 has"));
    EXPECT_THAT(with([](Building& b) { b.rooms[0].plan.outer.clear(); }), HasSubstr("ring"));
    EXPECT_THAT(with([&](Building& b) { b.rooms[0].area.high = nan; }), HasSubstr("number"));
    EXPECT_THAT(with([](Building& b) { b.slabs[0].evidence.rms = -1; }), HasSubstr("slab 1"));
    EXPECT_THAT(with([](Building& b) { b.slopes[0].normal.z = 0; }), HasSubstr("unit length"));
    EXPECT_THAT(with([](Building& b) { b.edges[0].slopes[1] = 2; }), HasSubstr("edge 1"));
    for (const char* text :
         {"a\nb", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xFF"})
        EXPECT_THAT(with([&](Building& b) { b.rooms[0].name = text; }), HasSubstr("no text"));
    for (const char* text : {"", "Flur \xC3\xA9", "\xE6\x88\xBF", "\xF0\x9F\x8F\xA0"})
        EXPECT_EQ(with([&](Building& b) { b.remarks = {text}; }), "") << text;
}

/// A scan of five blocks of points, imported for each case.
class SavedBuildingTest : public testing::Test {
protected:
    SavedBuildingTest() {
        test::BuildingOptions options;
        options.points = 150'000;
        test::WriteScan(test::SyntheticBuilding(options), folder / L"scan.las");
        EXPECT_TRUE(importer::Import({folder / L"scan.las"}, File(), {}));
        Open();
    }

    [[nodiscard]] CString File() const { return folder / L"scan.prj"; }
    [[nodiscard]] CString Model() const { return detail::SavedModelPath(project->Manager()); }
    void Open() {
        project.reset();
        auto opened = detail::OpenProject::Open(File());
        ASSERT_TRUE(opened);
        project = std::move(*opened);
    }
    Expected<void> Save(const Building& building = test::SampleBuilding()) {
        return SaveBuilding(project->Manager(), project->Core(), building);
    }
    Expected<Building> Read() { return OpenSavedBuilding(project->Manager(), project->Core()); }
    ErrorCode CodeOfRead() {
        const auto read = Read();
        EXPECT_FALSE(read);
        return read ? ErrorCode{} : read.error().code;
    }
    void Overwrite(const Bytes& bytes) const { test::WriteRecords(Model(), bytes); }
    /// Changes a byte of the model; with a checksum that is right where `sealed`.
    void Spoil(std::size_t at, std::uint8_t value, bool sealed) const {
        Bytes bytes = test::ReadBytes(Model());
        bytes.at(at) = value;
        const std::size_t content = bytes.size() - sizeof(std::uint64_t);
        const std::uint64_t hash = detail::HashOf(bytes.data(), content);
        if (sealed) std::memcpy(bytes.data() + content, &hash, sizeof hash);
        Overwrite(bytes);
    }
    /// Moves the first point of a block by a millimetre, or sets what is no coordinate. The project is
    /// closed meanwhile: on some systems nobody writes a file that is mapped.
    void Touch(std::uint64_t block, bool move) {
        const CString path = project->Manager().gridPts;
        project.reset();
        Bytes bytes = test::ReadBytes(path);
        const std::size_t at = block * detail::PlanesFileStart::kBlockPoints * 24;
        float x = 0;
        std::memcpy(&x, bytes.data() + at, sizeof x);
        x += 0.001F;
        if (move)
            std::memcpy(bytes.data() + at, &x, sizeof x);
        else
            bytes.at(at + 20) ^= 1U;
        test::WriteRecords(path, bytes);
        EXPECT_TRUE(test::ReadBytes(path) == bytes);
        Open();
    }
    [[nodiscard]] std::string FirstFault() const {
        detail::CheckOptions options;
        options.modelFault = FaultOfRecords;
        const auto report = detail::CheckProject(File(), options);
        EXPECT_TRUE(report);
        return report && !report->faults.empty() ? report->faults.front().what : "";
    }

    test::ScratchFolder folder;
    std::unique_ptr<detail::OpenProject> project;
};

TEST_F(SavedBuildingTest, IsReadAsItWasSaved) {
    EXPECT_EQ(CodeOfRead(), ErrorCode::BadInput) << "none is saved yet";
    EXPECT_TRUE(RequireSavable(project->Manager()));
    ASSERT_TRUE(Save());
    const Bytes first = test::ReadBytes(Model());
    const auto read = Read();
    ASSERT_TRUE(read) << read.error().message;
    EXPECT_EQ(BytesOf(*read), BytesOf(test::SampleBuilding()));
    ASSERT_TRUE(Save({}));
    EXPECT_TRUE(Read()->walls.empty()) << "the later one stands";
    ASSERT_TRUE(Save());
    EXPECT_TRUE(test::ReadBytes(Model()) == first) << "the same building, the same bytes";
    EXPECT_EQ(FirstFault(), "");
    const CString model = Model();
    project.reset();
    ASSERT_TRUE(detail::DestroyProject(File()));
    EXPECT_FALSE(platform::PathExists(model));
    EXPECT_FALSE(platform::PathExists(File()));
}

// BEHAVIOUR M1
TEST_F(SavedBuildingTest, IsRefusedOnceAPointOfItsBlocksHasMoved) {
    ASSERT_TRUE(Save());
    Touch(1, false);
    EXPECT_TRUE(Read()) << "classes and colours may change";
    for (const std::uint64_t block : {0U, 2U, 4U}) {
        Touch(block, true);
        const auto read = Read();
        ASSERT_FALSE(read) << block;
        EXPECT_EQ(read.error().code, ErrorCode::BadInput);
        EXPECT_THAT(read.error().message, HasSubstr("points have changed"));
        ASSERT_TRUE(Save());
        EXPECT_TRUE(Read());
    }
    Touch(3, true);
    const auto report = detail::CheckProject(File());
    ASSERT_TRUE(report);
    EXPECT_TRUE(std::any_of(report->faults.begin(), report->faults.end(), [](const auto& fault) {
        return fault.what.find("is of other points than") != std::string::npos;
    }));
}

TEST_F(SavedBuildingTest, IsRefusedWhereItsBytesAreNotThoseThatWereWritten) {
    ASSERT_TRUE(Save());
    const Bytes whole = test::ReadBytes(Model());
    for (std::size_t length = 0; length < whole.size(); length += 97) {
        Overwrite({whole.begin(), whole.begin() + static_cast<long>(length)});
        EXPECT_EQ(CodeOfRead(), ErrorCode::Damaged) << length;
    }
    for (std::size_t at = 0; at < whole.size(); at += 61) {
        Overwrite(whole);
        Spoil(at, static_cast<std::uint8_t>(whole[at] ^ 0x10U), false);
        EXPECT_EQ(CodeOfRead(), ErrorCode::Damaged) << at;
    }
    EXPECT_THAT(FirstFault(), HasSubstr("checksum"));
    EXPECT_TRUE(RequireSavable(project->Manager())) << "what is damaged may be replaced";
    ASSERT_TRUE(Save());
    EXPECT_TRUE(Read());
}

// A file may be whole and yet say what cannot be: as one that a faulty program wrote.
TEST_F(SavedBuildingTest, IsAFaultOfItsProjectWhereNoReaderTakesIt) {
    Building odd = test::SampleBuilding();
    odd.walls[2].storey = odd.storeys.size();
    ASSERT_TRUE(Save(odd));
    EXPECT_EQ(CodeOfRead(), ErrorCode::Damaged);
    EXPECT_THAT(FirstFault(), HasSubstr("wall 3 is of a storey that there is not"));
}

TEST_F(SavedBuildingTest, HoldsItsSizesAgainstTheFile) {
    ASSERT_TRUE(Save());
    const Bytes whole = test::ReadBytes(Model());
    const std::size_t end = whole.size() - sizeof(detail::ModelFileEnd);
    struct Case {
        std::size_t at;
        std::uint8_t value;
        ErrorCode code;
    };
    for (const Case& c :
         {Case{0, 'o', ErrorCode::Damaged}, Case{8, 0, ErrorCode::Damaged},
          Case{8, 2, ErrorCode::BadInput}, Case{12, 1, ErrorCode::Damaged},
          Case{end + 7, 0xFF, ErrorCode::Damaged}, Case{end + 8, 0xFF, ErrorCode::Damaged},
          Case{end + 15, 0xFF, ErrorCode::Damaged},
          Case{16, static_cast<std::uint8_t>(~whole[16]), ErrorCode::BadInput}}) {
        Overwrite(whole);
        Spoil(c.at, c.value, true);
        EXPECT_EQ(CodeOfRead(), c.code) << c.at;
    }
    Overwrite(whole);
    Spoil(8, 2, true);
    EXPECT_FALSE(RequireSavable(project->Manager())) << "a later version's is kept";
    EXPECT_FALSE(Save());
}

TEST_F(SavedBuildingTest, IsWrittenByOneProgramAtATime) {
    ASSERT_TRUE(Save());
    const Bytes whole = test::ReadBytes(Model());
    std::error_code error;
    const auto lock =
        platform::PathLock::TryAcquire(detail::ModelLockPath(project->Manager()), error);
    ASSERT_TRUE(lock);
    const auto refused = Save({});
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("another program"));
    EXPECT_TRUE(test::ReadBytes(Model()) == whole);
}

/// The building that docs/FORMAT.md shows.
Building ExampleBuilding() {
    Building building;
    building.storeys.push_back({"Storey 1", 43.125, 45.625});
    Wall wall;
    wall.axis = {PlanPoint{-1.5, 43.5}, PlanPoint{2.5, 43.5}};
    wall.thickness = Measure{0.25, 0.24, 0.26};
    wall.base = 43.125;
    wall.top = 45.625;
    wall.profile = {{0, 43.125}, {4, 43.125}, {4, 45.625}, {0, 45.625}};
    wall.leftSeen = wall.rightSeen = true;
    wall.deviation = 0.0078125;
    wall.evidence = {.seen = 0.75,
                     .hidden = 0.125,
                     .points = 3,
                     .rms = 0.001953125,
                     .tolerance = 0.0125,
                     .stations = {0},
                     .planes = {7},
                     .inferred = kHiddenPart};
    building.walls.push_back(wall);
    building.stationsKnown = true;
    building.remarks = {"No room."};
    return building;
}

TEST(SavedBuildingFormat, IsTheBytesThatTheDocumentShows) {
    const test::ScratchFolder folder;
    ProjectManager paths;
    detail::BuildPaths(paths, folder / L"scan.prj");
    std::error_code error;
    platform::MakeFolder(paths.projectFilesFolder, error);
    const std::vector<SimplePointT<float>> points{{-1.5F, 43.5F, 43.125F},
                                                  {12.25F, 43.5F, 43.125F},
                                                  {12.28125F, 43.5F, 43.125F},
                                                  {12.375F, 43.5F, 43.125F}};
    const std::vector<std::uint64_t> hashes{detail::PlacesHash(points)};
    ASSERT_TRUE(detail::WriteModelFile(paths, points.size(), hashes, BytesOf(ExampleBuilding())));
    EXPECT_EQ(test::HexShown(ORVIX_FORMAT_DOCUMENT, "model"),
              test::ReadBytes(detail::SavedModelPath(paths)));
}

}  // namespace
}  // namespace orvix::building
