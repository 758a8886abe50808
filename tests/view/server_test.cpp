// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/scratch_folder.h"
#include "tests/view/page_client.h"
#include "view/data/record_file.h"
#include "view/http/presence.h"
#include "view/planes/searches.h"

namespace orvix::view {
namespace {

/// Says as much as anybody takes.
Expected<void> Talk(Lines& lines, const Searches::Proceed& proceed) {
    while (proceed()) lines.Say("{\"progress\":0.5}\n");
    return {};
}

std::string Asking(const std::string& target) {
    return "GET " + target + " HTTP/1.1\r\nHost: x\r\n\r\n";
}

TEST(Server, EndsWhileClientsAreBeingServed) {
    const test::ScratchFolder folder;
    const std::vector<std::uint8_t> bytes(4'800'000, 7);
    test::WriteBytes(folder / L"points", bytes.data(), bytes.size());
    const auto file = RecordFile::Open(folder / L"points", 24);
    ASSERT_TRUE(file);
    for (int round = 0; round < 3; ++round) {
        Presence pages;
        Searches searches;
        auto server = Server::Open(0);
        ASSERT_TRUE(server);
        std::atomic<bool> stop{false};
        const auto answerTo = [&](const Request& request) {
            if (request.target == "/planes") return searches.Ask(Talk);
            if (request.target == "/alive") return pages.Open();
            return AnswerOf(file->PiecesOf({0, file->Records(), 1}), bytes.size());
        };
        std::thread serving([&] {
            (*server)->Run(answerTo, [&] {
                pages.Look(Presence::Clock::now());
                return !stop.load();
            });
        });
        std::vector<std::thread> clients;
        for (int i = 0; i < 6; ++i) {
            clients.emplace_back([&, i] {
                test::PageClient client((*server)->Port());
                client.Send(Asking(i % 3 == 0 ? "/alive" : "/points"));
                const bool came = i % 3 == 0 ? client.ReadUntil("tick") : client.Read().whole;
                EXPECT_TRUE(came);
            });
        }
        for (std::thread& client : clients) client.join();
        // These are still being served: one speaks on, one takes nothing, one asks for nothing.
        test::PageClient listening((*server)->Port());
        listening.Send(Asking("/planes"));
        EXPECT_TRUE(listening.ReadUntil("progress"));
        test::PageClient idle((*server)->Port());
        test::PageClient deaf((*server)->Port());
        deaf.Send(Asking("/points"));
        stop = true;
        serving.join();
        searches.End();
    }
}

TEST(Server, APortThatIsTakenIsSaidSo) {
    const auto first = Server::Open(0);
    ASSERT_TRUE(first);
    const auto second = Server::Open((*first)->Port());
    ASSERT_FALSE(second);
    EXPECT_NE(second.error().message.find("--port"), std::string::npos);
}

}  // namespace
}  // namespace orvix::view
