// SPDX-License-Identifier: GPL-3.0-or-later
// However an import ends: the target is the old project, the new one, or nothing; never a part.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "importer/files/disk_space.h"
#include "importer/import_scans.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

MemoryScan Room(std::size_t points) {
    MemoryScan scan;
    for (std::size_t i = 0; i < points; ++i) {
        ScanPoint p;
        p.x = static_cast<double>(i % 977) * 0.01;
        p.y = static_cast<double>(i % 491) * 0.02;
        p.z = static_cast<double>(i % 7) * 0.4;
        scan.points.push_back(p);
    }
    return scan;
}

class ImportCancelledIn : public testing::TestWithParam<ImportPhase> {};

TEST_P(ImportCancelledIn, LeavesNothingAndEndsWithinHalfASecond) {
    const ScratchFolder folder;
    Clock::time_point asked;
    const auto report = ImportScans(Open(std::vector{Room(20'000)}), folder / L"p.prj", {},
                                    SmallPlan(), [&](const ImportProgress& progress) {
                                        if (progress.phase != GetParam()) return true;
                                        asked = Clock::now();
                                        return false;
                                    });
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::Cancelled);
    EXPECT_LT(Clock::now() - asked, std::chrono::milliseconds(500));
    EXPECT_THAT(folder.Names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Phases, ImportCancelledIn,
                         testing::Values(ImportPhase::Scan, ImportPhase::Sort, ImportPhase::Write,
                                         ImportPhase::Index, ImportPhase::Skeleton,
                                         ImportPhase::Finish));

TEST(ImportEndings, ReportAtLeastTenTimesASecondWhileAReaderIsSlow) {
    MemoryScan scan = Room(3000);
    scan.before = [](int, std::size_t) -> Expected<void> {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        return {};
    };
    const ScratchFolder folder;
    const Clock::time_point start = Clock::now();
    int calls = 0;
    ASSERT_TRUE(ImportScans(Open(std::vector{scan}), folder / L"p.prj", {}, SmallPlan(),
                            [&](const ImportProgress&) { return ++calls > 0; }));
    EXPECT_GE(calls, 10 * std::chrono::duration<double>(Clock::now() - start).count());
}

// BEHAVIOUR I14
TEST(ImportEndings, KeepAnExistingProjectUnlessToldToReplaceIt) {
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    ASSERT_TRUE(ImportScans(Open(std::vector{Room(10)}), project, {}, SmallPlan()));
    const ProjectBytes before = ReadProject(project);
    const auto refused = ImportScans(Open(std::vector{Room(20)}), project, {}, SmallPlan());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::BadInput);
    EXPECT_THAT(refused.error().message, HasSubstr("--overwrite"));
    EXPECT_TRUE(ReadProject(project) == before);
    ImportOptions options;
    options.overwrite = true;
    const auto replaced = ImportScans(Open(std::vector{Room(20)}), project, options, SmallPlan());
    ASSERT_TRUE(replaced) << replaced.error().message;
    EXPECT_EQ(ReadProject(project).at("Index/Grid.pts").size(), 20u * 24);
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

TEST(ImportEndings, KeepAnExistingProjectWholeWhenItsReplacementFails) {
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    ASSERT_TRUE(ImportScans(Open(std::vector{Room(10)}), project, {}, SmallPlan()));
    const ProjectBytes before = ReadProject(project);
    MemoryScan broken = Room(5000);
    broken.before = [](int pass, std::size_t piece) -> Expected<void> {
        if (pass == 1 && piece == 3) return Fail(ErrorCode::BadInput, "scan 0: byte 7 is wrong");
        return {};
    };
    ImportOptions options;
    options.overwrite = true;
    const auto report = ImportScans(Open(std::vector{broken}), project, options, SmallPlan());
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message, "scan 0: byte 7 is wrong");
    EXPECT_TRUE(ReadProject(project) == before);
    EXPECT_TRUE(ProjectManager().Set(project, false));
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

// BEHAVIOUR I20
TEST(ImportEndings, NameAnInputThatChangesBetweenThePasses) {
    for (const double moved : {1e6, 0.0}) {
        MemoryScan scan = Room(5000);
        // The second pass hands out other points than the first, or fewer.
        class ChangingReader : public ScanReader {
        public:
            ChangingReader(MemoryScan first, MemoryScan second)
                : first_(Open(std::vector{std::move(first)})),
                  second_(Open(std::vector{std::move(second)})) {}
            [[nodiscard]] const ScanInfo& Info() const override { return Now().Info(); }
            [[nodiscard]] std::uint64_t FileBytes() const override { return Now().FileBytes(); }
            Expected<bool> Next(RawPiece& piece) override { return Now().Next(piece); }
            Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
                return Now().Decode(piece, decoded);
            }
            Expected<void> Rewind() override {
                rewound_ = passed_;
                passed_ = true;
                return {};
            }
            [[nodiscard]] ReadPlace Place() const override { return Now().Place(); }
            Expected<void> GoTo(const ReadPlace& place) override { return Now().GoTo(place); }

        private:
            [[nodiscard]] ScanReader& Now() const {
                return *(rewound_ ? second_ : first_)[0].reader;
            }
            std::vector<ScanInput> first_;
            std::vector<ScanInput> second_;
            bool passed_ = false;
            bool rewound_ = false;
        };
        MemoryScan second = scan;
        second.points.back().x += moved;
        if (moved == 0) second.points.pop_back();
        std::vector<ScanInput> inputs;
        inputs.push_back({L"scan 0", std::make_unique<ChangingReader>(scan, second)});
        const ScratchFolder folder;
        const auto report = ImportScans(inputs, folder / L"p.prj", {}, SmallPlan());
        ASSERT_FALSE(report);
        EXPECT_EQ(report.error().code, ErrorCode::BadInput);
        EXPECT_THAT(report.error().message, HasSubstr("scan 0 changed"));
        EXPECT_THAT(folder.Names(), IsEmpty());
    }
}

TEST(ImportEndings, SayWhatIsWrongWithTheTarget) {
    const ScratchFolder folder;
    const auto messageFor = [&](const CString& project) {
        const auto report = ImportScans(Open(std::vector{Room(5)}), project, {}, SmallPlan());
        return report ? std::string("it worked") : report.error().message;
    };
    EXPECT_THAT(messageFor(folder.Path()), HasSubstr("is a folder"));
    EXPECT_THAT(messageFor(folder / L"missing/p.prj"), HasSubstr("there is no folder"));
    EXPECT_THAT(messageFor(folder / L".prj"), HasSubstr("has no name"));
    EXPECT_THAT(messageFor(folder / std::wstring(250, L'x') + L".prj"), HasSubstr("cannot"));
    EXPECT_THAT(messageFor(L""), HasSubstr("no name"));
    EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(ImportEndings, RefuseADiskThatIsTooSmallBeforeWritingToIt) {
    const ScratchFolder folder;
    const auto refused = RequireSpace(folder.Path(), std::uint64_t{1} << 60);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::NoSpace);
    EXPECT_THAT(refused.error().message, HasSubstr("1152921504607 MB"));
    EXPECT_TRUE(RequireSpace(folder.Path(), 1));
}

TEST(ImportEndings, RefuseInputsThatCannotBeStations) {
    const ScratchFolder folder;
    orvix::test::WriteText(folder / L"p.prj", "1 2 3\n");
    EXPECT_EQ(Import({}, folder / L"q.prj", {}).error().code, ErrorCode::BadInput);
    const auto both = Import({folder / L"p.prj"}, folder / L"p.prj", {});
    ASSERT_FALSE(both);
    EXPECT_THAT(both.error().message, HasSubstr("both a scan and the project"));
    ASSERT_TRUE(ImportScans(Open(std::vector{Room(10)}), folder / L"r.prj", {}, SmallPlan()));
    orvix::test::WriteText(folder / L"r_Project_Files/scan.xyz", "1 2 3\n");
    const auto inside = Import({folder / L"r_Project_Files/scan.xyz"}, folder / L"r.prj", {});
    ASSERT_FALSE(inside);
    EXPECT_EQ(inside.error().code, ErrorCode::BadInput);
    EXPECT_THAT(inside.error().message, HasSubstr("would replace"));
    const std::vector<CString> many(65'537, folder / L"p.prj");
    EXPECT_THAT(Import(many, folder / L"q.prj", {}).error().message, HasSubstr("65537 inputs"));
}

}  // namespace
}  // namespace orvix::importer::test
