// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <thread>

#include "orvix/platform/file.h"
#include "support/scratch_folder.h"
#include "view/data/record_file.h"
#include "view/http/gate.h"
#include "view/http/lines.h"
#include "view/http/presence.h"
#include "view/planes/searches.h"

namespace orvix::view {
namespace {

using namespace std::chrono_literals;

std::string Whole(Pieces& pieces) {
    std::string all;
    while (true) {
        const auto piece = pieces.Next();
        if (!piece) return "failed: " + piece.error().message;
        if (piece->empty()) return all;
        all.append(reinterpret_cast<const char*>(piece->data()), piece->size());
    }
}

TEST(RecordFile, ReachesRecordsBeyondFourGiB) {
    const test::ScratchFolder folder;
    const CString path = folder / L"sparse";
    constexpr std::uint64_t kLast = (std::uint64_t{1} << 32) / 24 + 1000;
    std::error_code error;
    {
        auto file = platform::File::Create(path, error);
        file.Resize((kLast + 1) * 24 + 5, error);
        if (error) GTEST_SKIP() << "skipped: no room for a sparse file";
        file.WriteAt(kLast * 24, "the record at the end..!", 24, error);
        file.WriteAt((kLast - 170) * 24, "170 records before that.", 24, error);
    }
    const auto file = RecordFile::Open(path, 24);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Records(), kLast + 1);
    EXPECT_EQ(Whole(*file->PiecesOf({kLast, 1, 1})), "the record at the end..!");
    EXPECT_EQ(Whole(*file->PiecesOf({kLast - 170, 171, 170})),
              "170 records before that.the record at the end..!");
    // Far apart they are read one by one.
    const std::string far = Whole(*file->PiecesOf({0, kLast + 1, kLast}));
    EXPECT_EQ(far.substr(24), "the record at the end..!");
    EXPECT_FALSE((RecordRange{kLast, 2, 1}.RequireWithin(file->Records())));
    EXPECT_FALSE((RecordRange{~std::uint64_t{0}, 2, 1}.RequireWithin(file->Records())));
}

TEST(Gate, TokensAreNeverTheSame) {
    const auto a = Gate::NewToken();
    const auto b = Gate::NewToken();
    ASSERT_TRUE(a && b);
    EXPECT_EQ(a->size(), 32u);
    EXPECT_EQ(a->find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(*a, *b);
}

TEST(Lines, WhoSpeaksFastWaitsForWhoReads) {
    Lines lines;
    std::atomic<int> said{0};
    std::thread speaker([&] {
        for (int i = 0; i < 12; ++i) {
            lines.Say(std::string(1 << 20, 'x'));
            ++said;
        }
        lines.End();
    });
    std::this_thread::sleep_for(200ms);
    EXPECT_LT(said.load(), 8);
    std::size_t taken = 0;
    for (std::string text; lines.Take(text) || !text.empty();) taken += text.size();
    speaker.join();
    EXPECT_EQ(taken, std::size_t{12} << 20);
}

TEST(Lines, WhoSpeaksToNobodyGoesOn) {
    Lines lines;
    std::thread speaker([&] {
        for (int i = 0; i < 12; ++i) lines.Say(std::string(1 << 20, 'x'));
    });
    lines.Leave();
    speaker.join();
    EXPECT_TRUE(lines.Gone());
}

// BEHAVIOUR L4
TEST(Presence, PagesHaveLeftOnceTheLastWasClosedForAWhile) {
    Presence pages;
    const auto start = Presence::Clock::now();
    pages.Look(start);
    EXPECT_FALSE(pages.LeftFor(15s, start + 1h));  // nobody came yet
    const Answer first = pages.Open();
    const Answer second = pages.Open();
    first.lines->Leave();
    pages.Look(start + 1min);
    EXPECT_FALSE(pages.LeftFor(15s, start + 1h));
    second.lines->Leave();
    pages.Look(start + 2min);
    EXPECT_FALSE(pages.LeftFor(15s, start + 2min + 14s));
    EXPECT_TRUE(pages.LeftFor(15s, start + 2min + 15s));
    const Answer again = pages.Open();
    pages.Look(start + 2min + 10s);
    EXPECT_FALSE(pages.LeftFor(15s, start + 1h));
}

Expected<void> UntilStopped(Lines&, const Searches::Proceed& proceed) {
    while (proceed()) std::this_thread::sleep_for(1ms);
    return {};
}

// BEHAVIOUR L3
TEST(Searches, WorkOneAtATimeAndEndWithTheirPages) {
    Searches searches;
    std::promise<void> begun;
    const Answer first = searches.Ask([&begun](Lines& lines, const Searches::Proceed& proceed) {
        begun.set_value();
        return UntilStopped(lines, proceed);
    });
    begun.get_future().wait();
    const Answer second = searches.Ask([](Lines& lines, const Searches::Proceed&) {
        lines.Say("second\n");
        return Expected<void>();
    });
    std::string text;
    EXPECT_TRUE(second.lines->Take(text));
    EXPECT_EQ(text, "{\"waiting\":true}\n");
    std::vector<Answer> more;
    for (int i = 0; i < 7; ++i) more.push_back(searches.Ask(UntilStopped));
    EXPECT_EQ(searches.Ask(UntilStopped).status, 409u);
    for (const Answer& answer : more) answer.lines->Leave();
    first.lines->Leave();
    std::string all;
    for (; second.lines->Take(text); std::this_thread::sleep_for(1ms)) all += text;
    EXPECT_EQ(all + text, "second\n");
}

TEST(Searches, EndThoughNobodyTakesWhatTheySay) {
    Searches searches;
    std::promise<void> begun;
    const Answer answer = searches.Ask([&](Lines& lines, const Searches::Proceed& proceed) {
        begun.set_value();
        while (proceed()) lines.Say(std::string(1 << 20, 'x'));
        return Expected<void>();
    });
    begun.get_future().wait();
    searches.End();
    EXPECT_TRUE(answer.lines->Gone());
    EXPECT_EQ(searches.Ask(UntilStopped).status, 409u);
}

TEST(Searches, SayWhyTheyFailed) {
    Searches searches;
    const Answer answer = searches.Ask(
        [](Lines&, const Searches::Proceed&) -> Expected<void> { throw std::bad_alloc(); });
    std::string text;
    std::string all;
    for (; answer.lines->Take(text); std::this_thread::sleep_for(1ms)) all += text;
    EXPECT_NE((all + text).find("memory ran out"), std::string::npos);
}

}  // namespace
}  // namespace orvix::view
