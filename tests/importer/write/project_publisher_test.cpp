// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/scratch_folder.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ReadBytes;
using orvix::test::ScratchFolder;
using orvix::test::WriteText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Existing = ProjectPublisher::Existing;

std::string TextOf(const CString& path) {
    const auto bytes = ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

void Fill(ProjectManager& project, const std::string& content) {
    for (const CString* file :
         {&project.headFile, &project.transformFile, &project.projectFile, &project.gridPts}) {
        WriteText(*file, content);
    }
}

void MakeFolders(const CString& outer, const CString& inner) {
    std::error_code error;
    platform::MakeFolder(outer, error);
    platform::MakeFolder(platform::JoinPath(outer, inner), error);
}

TEST(ProjectPublisher, MakesTheProjectAppearWithNothingBesideIt) {
    const ScratchFolder folder;
    auto publisher = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_TRUE(publisher) << publisher.error().message;
    Fill(publisher->Working(), "new");
    ASSERT_TRUE(publisher->TasksFolder());
    EXPECT_FALSE(platform::PathExists(folder / L"p.prj"));
    ASSERT_TRUE(publisher->Publish());
    { const ProjectPublisher done = std::move(*publisher); }
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
    EXPECT_EQ(TextOf(folder / L"p.prj"), "new");
    EXPECT_FALSE(platform::PathExists(folder / L"p_Project_Files/importing"));
    EXPECT_FALSE(platform::PathExists(folder / L"p_Project_Files/runs"));
}

TEST(ProjectPublisher, RemovesWhatWasNotPublished) {
    const ScratchFolder folder;
    {
        auto publisher = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
        ASSERT_TRUE(publisher);
        Fill(publisher->Working(), "new");
    }
    EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(ProjectPublisher, LetsOneImportAtATimeWorkOnATarget) {
    const ScratchFolder folder;
    auto first = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_TRUE(first);
    const auto second = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_FALSE(second);
    EXPECT_THAT(second.error().message, HasSubstr("under way"));
    EXPECT_TRUE(platform::PathExists(first->Working().projectFile));
}

TEST(ProjectPublisher, ClearsAwayUnfinishedRecordsOfTheProjectThatItReplacesAlone) {
    const ScratchFolder folder;
    const auto import = [&](const CString& target, Existing existing) {
        auto publisher = ProjectPublisher::Begin(target, existing);
        ASSERT_TRUE(publisher) << publisher.error().message;
        Fill(publisher->Working(), "");
        ASSERT_TRUE(publisher->Publish());
        EXPECT_THAT(publisher->Clear(), IsEmpty());
    };
    WriteText(folder / L"p.prj.orvix-part", "unfinished");
    WriteText(folder / L"p.prj.settings-part", "unfinished");
    import(folder / L"p.prj", Existing::Keep);
    EXPECT_EQ(folder.Names().size(), 4u) << "before the first import they are somebody else's";
    import(folder / L"p.prj", Existing::Replace);
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

// BEHAVIOUR I17
TEST(ProjectPublisher, TakesTheFoldersThatADestroyedProjectLeavesButNoFiles) {
    const ScratchFolder folder;
    MakeFolders(folder / L"p_Project_Files", L"Data");
    {
        auto publisher = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
        ASSERT_TRUE(publisher) << publisher.error().message;
        Fill(publisher->Working(), "new");
        ASSERT_TRUE(publisher->Publish());
    }
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
    std::error_code error;
    platform::RemoveFile(folder / L"p.prj", error);
    const auto refused = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("p_Project_Files exists"));
}

TEST(ProjectPublisher, LeavesFilesThatCarryItsNamesAndStemFromNoImport) {
    const ScratchFolder folder;
    WriteText(folder / L"p.importing.prj", "mine");
    const auto refused = ProjectPublisher::Begin(folder / L"p.prj", Existing::Replace);
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("in the way"));
    EXPECT_EQ(TextOf(folder / L"p.importing.prj"), "mine");
}

// BEHAVIOUR I15
TEST(ProjectPublisher, ReplacesOnlyWhatIsAProject) {
    const ScratchFolder folder;
    const CString target = folder / L"map.prj";
    WriteText(target, "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\"]]");
    const auto refused = ProjectPublisher::Begin(target, Existing::Replace);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::BadInput);
    EXPECT_THAT(refused.error().message, HasSubstr("another program"));
    EXPECT_THAT(folder.Names(), ElementsAre(L"map.prj"));
    // One that was just created, and one that a power cut left short.
    for (const std::string& start : {std::string(), std::string("\x0d\0\0\0\0", 5)}) {
        WriteText(target, start);
        EXPECT_TRUE(ProjectPublisher::Begin(target, Existing::Replace));
    }
}

TEST(ProjectPublisher, KeepsFromAFolderThatBelongsToAProjectOfOtherCase) {
    const ScratchFolder folder;
    MakeFolders(folder / L"up_Project_Files", L"Index");
    WriteText(folder / L"up.PRJ", "");
    if (platform::PathExists(folder / L"up.prj")) return;  // here the two names are one file
    const auto refused = ProjectPublisher::Begin(folder / L"up.prj", Existing::Replace);
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("up.PRJ"));
}

/// What an import that was killed while it published may leave; its note shows it.
struct Leftover {
    const char* name;
    bool oldAside;        // the old folder has stepped aside
    bool oldExchanged;    // the old folder carries the working name
    bool newInPlace;      // the target's folder is the new one
    bool projectRenamed;  // and so is the project file
    const char* survivor;
};

class ProjectPublisherAfterAKill : public testing::TestWithParam<Leftover> {};

TEST_P(ProjectPublisherAfterAKill, FindsOneWholeProject) {
    const Leftover& left = GetParam();
    const ScratchFolder folder;
    const std::string note = orvix::detail::NewImportText();
    const auto place = [&](const CString& name, const char* content, bool marked) {
        MakeFolders(folder / name, L"Index");
        WriteText(folder / (name + L"/head"), content);
        if (marked) WriteText(folder / (name + L"/importing"), note);
    };
    WriteText(folder / L"p.importing.lock", "");
    WriteText(folder / L"p.importing.note", note);
    WriteText(folder / L"p.prj", left.projectRenamed ? "new" : "old");
    if (!left.projectRenamed) WriteText(folder / L"p.importing.prj", "new");
    if (left.oldAside) place(L"p.importing_Replaced_Files", "old", false);
    if (left.oldExchanged) place(L"p.importing_Project_Files", "old", false);
    if (left.newInPlace) place(L"p_Project_Files", "new", true);
    if (!left.newInPlace) place(L"p.importing_Project_Files", "new", true);
    if (!left.newInPlace && !left.oldAside) place(L"p_Project_Files", "old", false);
    const auto next = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_FALSE(next) << "the project is there";
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
    EXPECT_EQ(TextOf(folder / L"p.prj"), left.survivor);
    EXPECT_EQ(TextOf(folder / L"p_Project_Files/head"), left.survivor);
    EXPECT_FALSE(platform::PathExists(folder / L"p_Project_Files/importing"));
}

INSTANTIATE_TEST_SUITE_P(
    Publishing, ProjectPublisherAfterAKill,
    testing::Values(Leftover{"BeforeTheFolders", false, false, false, false, "old"},
                    Leftover{"OldStoodAside", true, false, false, false, "old"},
                    Leftover{"NewInPlaceOldAside", true, false, true, false, "old"},
                    Leftover{"Exchanged", false, true, true, false, "old"},
                    Leftover{"ProjectFileRenamed", false, true, true, true, "new"},
                    Leftover{"ProjectFileRenamedOldAside", true, false, true, true, "new"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ProjectPublisher, UndoesAFirstImportThatWasKilledHalfPublished) {
    const ScratchFolder folder;
    const std::string note = orvix::detail::NewImportText();
    WriteText(folder / L"p.importing.note", note);
    WriteText(folder / L"p.importing.prj", "new");
    MakeFolders(folder / L"p_Project_Files", L"Index");
    WriteText(folder / L"p_Project_Files/importing", note);
    { ASSERT_TRUE(ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep)); }
    EXPECT_THAT(folder.Names(), IsEmpty());
}

/// A project's only folder that holds some marker, beside what a killed import left of itself.
struct MarkedFolder {
    const char* name;
    std::string marker;  // in the target's folder
    bool sameNote;       // the note beside it has the same text
    bool workingFiles;   // the killed import had made its own folder
};

class ProjectPublisherBesideAMarker : public testing::TestWithParam<MarkedFolder> {};

// BEHAVIOUR I23
TEST_P(ProjectPublisherBesideAMarker, KeepsTheOnlyFolderOfAProject) {
    const MarkedFolder& left = GetParam();
    const ScratchFolder folder;
    const std::string note = left.sameNote ? left.marker : orvix::detail::NewImportText();
    WriteText(folder / L"p.prj", "old");
    MakeFolders(folder / L"p_Project_Files", L"Index");
    WriteText(folder / L"p_Project_Files/head", "old");
    WriteText(folder / L"p_Project_Files/importing", left.marker);
    WriteText(folder / L"p.importing.note", note);
    WriteText(folder / L"p.importing.prj", "half");
    if (left.workingFiles) {
        MakeFolders(folder / L"p.importing_Project_Files", L"Index");
        WriteText(folder / L"p.importing_Project_Files/importing", note);
    }
    for (int again = 0; again < 2; ++again) {
        const auto next = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
        ASSERT_FALSE(next);
        EXPECT_EQ(next.error().code, ErrorCode::BadInput) << next.error().message;
        EXPECT_EQ(TextOf(folder / L"p_Project_Files/head"), "old");
    }
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

INSTANTIATE_TEST_SUITE_P(Markers, ProjectPublisherBesideAMarker,
                         testing::Values(MarkedFolder{"OfAnotherImport",
                                                      orvix::detail::NewImportText(), false, true},
                                         MarkedFolder{"OfAnotherImportAlone",
                                                      orvix::detail::NewImportText(), false, false},
                                         MarkedFolder{"Empty", "", false, true},
                                         MarkedFolder{"OfTheSameImportWithoutAFormerFolder",
                                                      orvix::detail::NewImportText(), true, false}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ProjectPublisher, BringsTheFormerFolderBackWhereTheTargetsIsGone) {
    const ScratchFolder folder;
    WriteText(folder / L"p.importing.note", orvix::detail::NewImportText());
    MakeFolders(folder / L"p.importing_Project_Files", L"Index");
    WriteText(folder / L"p.importing_Project_Files/head", "old");
    EXPECT_FALSE(ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep));
    EXPECT_EQ(TextOf(folder / L"p_Project_Files/head"), "old");
}

TEST(ProjectPublisher, ClearsAwayWhatAnImportThatHadHardlyBegunLeft) {
    const std::string note = orvix::detail::NewImportText();
    for (const std::string& start : {std::string(), note.substr(0, 7), note.substr(0, 40)}) {
        const ScratchFolder folder;
        WriteText(folder / L"p.importing.note", start);
        { ASSERT_TRUE(ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep)) << start; }
        EXPECT_THAT(folder.Names(), IsEmpty());
        WriteText(folder / L"p.importing.note", note);
        MakeFolders(folder / L"p.importing_Project_Files", L"Index");
        WriteText(folder / L"p.importing_Project_Files/importing", start);
        { ASSERT_TRUE(ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep)) << start; }
        EXPECT_THAT(folder.Names(), IsEmpty());
    }
}

TEST(ProjectPublisher, LeavesANoteThatNoImportWrote) {
    const ScratchFolder folder;
    WriteText(folder / L"p.importing.note", "call the office");
    const auto refused = ProjectPublisher::Begin(folder / L"p.prj", Existing::Keep);
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("in the way"));
    EXPECT_EQ(TextOf(folder / L"p.importing.note"), "call the office");
}

// BEHAVIOUR I22
TEST(ProjectPublisher, LetsAHalfReplacedProjectBeToldFromAWholeOne) {
    const ScratchFolder folder;
    const std::string note = orvix::detail::NewImportText();
    const CString project = folder / L"p.prj";
    WriteText(project, "old");
    MakeFolders(folder / L"p_Project_Files", L"Index");
    WriteText(folder / L"p_Project_Files/importing", note);
    EXPECT_FALSE(orvix::detail::IsHalfReplaced(project)) << "a marker alone says nothing";
    WriteText(folder / L"p.importing.note", note);
    EXPECT_FALSE(orvix::detail::IsHalfReplaced(project)) << "the project file has its name";
    WriteText(folder / L"p.importing.prj", "new");
    EXPECT_TRUE(orvix::detail::IsHalfReplaced(project));
    WriteText(folder / L"p.importing.note", orvix::detail::NewImportText());
    EXPECT_FALSE(orvix::detail::IsHalfReplaced(project)) << "the marker is another import's";
}

}  // namespace
}  // namespace orvix::importer::test
