// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>

#include "orvix/platform/file.h"
#include "tests/view/served_project.h"
#include "view/data/cell_rows.h"
#include "view/serve_project.h"

namespace orvix::test {
namespace {

class Serve : public ServedProject {
protected:
    void Begin() {
        Write(RoomPoints(7));
        ServedProject::Serve();
    }
    [[nodiscard]] std::vector<view::CellRow> Rows(const std::string& query) const {
        const Reply reply = Get("cells?" + query);
        EXPECT_EQ(reply.status, 200) << query << ": " << reply.body;
        std::vector<view::CellRow> rows(reply.body.size() / sizeof(view::CellRow));
        std::memcpy(rows.data(), reply.body.data(), rows.size() * sizeof(view::CellRow));
        return rows;
    }
    // What a row counts lies in its box, as far as single precision says.
    void ExpectPointsWithin(const view::CellRow& row, float side) const {
        for (std::uint64_t i = row.first; i < row.first + row.count; ++i) {
            const CCloudPoint<float>& p = made_.points[i];
            const float at[] = {p.x, p.y, p.z};
            for (int axis = 0; axis < 3; ++axis) {
                EXPECT_GE(at[axis], row.min[axis] - 1e-5f);
                EXPECT_LE(at[axis], row.min[axis] + side + 1e-5f);
            }
        }
    }
    void ExpectPartition(const std::vector<view::CellRow>& rows, std::uint64_t first,
                         std::uint64_t count, float side) const {
        std::uint64_t next = first;
        for (const view::CellRow& row : rows) {
            EXPECT_EQ(row.first, next);
            next += row.count;
            ExpectPointsWithin(row, side);
        }
        EXPECT_EQ(next, first + count);
    }
};

// BEHAVIOUR L1
TEST_F(Serve, AnswersOnlyWhoKnowsTheAddressAndComesFromNoOtherPage) {
    Begin();
    const std::string port = std::to_string(port_);
    const std::string token = base_.substr(1, base_.size() - 2);
    EXPECT_EQ(token.size(), 32u);
    struct Case {
        const char* what;
        std::string target;
        std::string headers;
        int status;
    };
    const std::string host = "Host: 127.0.0.1:" + port + "\r\n";
    std::string other = token;
    other.back() = other.back() == '0' ? '1' : '0';
    for (const Case& c :
         {Case{"as it should be", "/" + token + "/project", host, 200},
          Case{"by name", "/" + token + "/project", "Host: localhost:" + port + "\r\n", 200},
          Case{"its own page", "/" + token + "/project",
               host + "Origin: http://127.0.0.1:" + port + "\r\n", 200},
          Case{"another token", "/" + other + "/project", host, 403},
          Case{"half a token", "/" + token.substr(0, 16) + "/project", host, 403},
          Case{"more than the token", "/" + token + "0/project", host, 403},
          Case{"no token", "/project", host, 403}, Case{"nothing", "/", host, 403},
          Case{"no slash", "/" + token, host, 403}, Case{"no path", "*", host, 403},
          Case{"no host", "/" + token + "/project", "", 403},
          Case{"two hosts", "/" + token + "/project", host + host, 403},
          Case{"another host", "/" + token + "/project", "Host: evil.example:" + port + "\r\n",
               403},
          Case{"another port", "/" + token + "/project", "Host: 127.0.0.1:1\r\n", 403},
          Case{"another page", "/" + token + "/project", host + "Origin: http://evil.example\r\n",
               403},
          Case{"a page of no place", "/" + token + "/project", host + "Origin: null\r\n", 403},
          Case{"two pages", "/" + token + "/project",
               host + "Origin: http://127.0.0.1:" + port + "\r\nOrigin: http://evil.example\r\n",
               403}}) {
        PageClient client(port_);
        client.Send("GET " + c.target + " HTTP/1.1\r\n" + c.headers + "\r\n");
        const Reply reply = client.Read();
        EXPECT_EQ(reply.status, c.status) << c.what;
        EXPECT_EQ(reply.body.empty(), c.status == 403) << c.what;
    }
}

TEST_F(Serve, SendsThePageAndNothingElseOfTheDisk) {
    Begin();
    const Reply page = Get("");
    EXPECT_EQ(page.body, "<!doctype html>");
    EXPECT_NE(page.head.find("Content-Security-Policy: default-src 'none'"), std::string::npos);
    EXPECT_NE(page.head.find("nosniff"), std::string::npos);
    EXPECT_EQ(Get("assets/page.js").body, "let a = 1;");
    for (const char* path :
         {"../secret.txt", "assets/../../secret.txt", "..%2fsecret.txt", "%2e%2e/secret.txt",
          "assets\\..\\..\\secret.txt", "/etc/passwd", "assets", "assets/", "page.js",
          "./index.html", "index.html%00", "\xff\xfe", "C:/secret.txt", "hall_Project_Files/head"})
        ExpectRefused(Get(path), 404, path);
}

TEST_F(Serve, SendsPointsAsTheyLie) {
    Begin();
    const auto file = ReadBytes(File(L"Index/Grid.pts"));
    const std::uint64_t points = file.size() / 24;
    std::mt19937 draw(5);
    std::vector<std::array<std::uint64_t, 3>> ranges{
        {0, points, 1}, {points, 0, 1}, {0, points, 999}, {points - 1, 1, 1}, {3, 100, 200}};
    for (int i = 0; i < 40; ++i) {
        const std::uint64_t first = draw() % points;
        ranges.push_back({first, draw() % (points - first + 1), 1 + draw() % 9});
    }
    for (const auto& [first, count, every] : ranges) {
        std::string expected;
        for (std::uint64_t k = first; k < first + count; k += every)
            expected.append(reinterpret_cast<const char*>(file.data()) + k * 24, 24);
        const Reply reply =
            Get("points?first=" + std::to_string(first) + "&count=" + std::to_string(count) +
                "&every=" + std::to_string(every));
        EXPECT_EQ(reply.status, 200);
        EXPECT_EQ(reply.body, expected) << first << " " << count << " " << every;
    }
    const auto skeleton = ReadBytes(File(L"Index/GridSkelet.coordpts"));
    EXPECT_EQ(Get("skeleton").body, std::string(skeleton.begin(), skeleton.end()));
    const auto data = ReadBytes(File(L"Index/GridSkelet.datapts"));
    EXPECT_EQ(Get("skeleton-data").body, std::string(data.begin(), data.end()));
}

TEST_F(Serve, RefusesWhatLeadsOutside) {
    Begin();
    const std::string points = std::to_string(made_.points.size());
    for (const std::string& query :
         {"points?first=" + points + "&count=1",
          "points?first=0&count=" + points + "0",
          std::string("points?first=18446744073709551615&count=2"),
          std::string("points?first=1&count=18446744073709551615"),
          std::string("points?first=18446744073709551616"),
          std::string("points?first=-1"),
          std::string("points?every=0"),
          std::string("points?first=1&first=2"),
          std::string("points?first="),
          std::string("points?first=0x10"),
          std::string("points?last=3"),
          std::string("points?first=1.5"),
          std::string("points?=&&="),
          std::string("cells"),
          std::string("cells?level=7"),
          std::string("cells?level=100"),
          std::string("cells?level=1000&of=0"),
          std::string("cells?level=100&of=99999"),
          std::string("cells?level=10&of=99999"),
          std::string("cells?level=100&of=0&parents=99999"),
          std::string("cells?level=100&of=18446744073709551615&parents=2"),
          std::string("cells?level=100&of=0&parents=0"),
          std::string("cells?level=1000&first=0&count=99999"),
          std::string("histograms?classes=1"),
          std::string("histograms?classes=21")})
        ExpectRefused(Get(query), 400, query);
    ExpectRefused(Get("plane-numbers"), 404, "numbers of no planes");
    for (const char* body :
         {"", "{", "[]", "{}", R"({"seed":[1,2]})", R"({"seed":[1,2,"3"]})",
          R"({"seed":[1,2,1e300]})", R"({"seed":[1,2,3],"settings":7})",
          R"({"seed":[1,2,3],"settings":{"splt":1}})", R"({"seed":[1,2,3],"settings":{"split":0}})",
          R"({"seed":[1,2,3],"settings":{"split":"1"}})", R"({"seed":[1,2,3],"where":1})"})
        ExpectRefused(Post("plane", body), 400, body);
    for (const char* body : {R"({"saved":1})", R"({"options":{"detail":"most"}})",
                             R"({"options":{"min_area":-1}})", R"({"options":[]})"})
        ExpectRefused(Post("planes", body), 400, body);
    for (const char* body : {R"({"format":"exe","planes":[1]})", R"({"format":"dxf","planes":[]})",
                             R"({"format":"dxf","planes":[-1]})",
                             R"({"format":"dxf","planes":[1,1]})", R"({"format":"dxf"})"})
        ExpectRefused(Post("export", body), 400, body);
    ExpectRefused(Post("export", R"({"format":"dxf","planes":[1]})"), 404, "no such plane");
}

TEST_F(Serve, CellsOfEachLevelPartitionThePoints) {
    Begin();
    const auto coarse = Rows("level=1000");
    EXPECT_EQ(coarse.size(), made_.cells1000.size());
    ExpectPartition(coarse, 0, made_.points.size(), 10);
    for (const view::CellRow& parent : coarse) {
        const auto children = Rows("level=100&of=" + std::to_string(parent.number));
        ExpectPartition(children, parent.first, parent.count, 1);
        for (const view::CellRow& child : children)
            ExpectPartition(Rows("level=10&of=" + std::to_string(child.number)), child.first,
                            child.count, 0.1f);
    }
    const auto all = Rows("level=100&of=0&parents=" + std::to_string(made_.cells1000.size()));
    EXPECT_EQ(all.size(), made_.cells100.size());
    ExpectPartition(all, 0, made_.points.size(), 1);
    const auto part = Rows("level=1000&first=1&count=2");
    ASSERT_EQ(part.size(), 2u);
    EXPECT_EQ(part[0].number, 1u);
    EXPECT_EQ(part[1].first, coarse[2].first);
}

TEST_F(Serve, KnowsEachPathsMethods) {
    Begin();
    for (const char* path : {"", "project", "points", "cells?level=1000", "histograms"}) {
        PageClient client(port_);
        client.Send(Head("HEAD", path) + Head("GET", path));
        const Reply head = client.Read(true);
        const Reply whole = client.Read();
        EXPECT_EQ(head.status, 200) << path;
        EXPECT_EQ(head.head, whole.head) << path;
        EXPECT_TRUE(whole.whole && !whole.body.empty()) << path;
    }
    for (const auto& [method, path] : {std::pair{"POST", "points"},
                                       {"PUT", "points"},
                                       {"DELETE", "project"},
                                       {"GET", "plane"},
                                       {"HEAD", "alive"},
                                       {"OPTIONS", "project"},
                                       {"POST", ""},
                                       {"GET", "export"}}) {
        PageClient client(port_);
        client.Send(Head(method, path, "Content-Length: 0\r\n"));
        const Reply reply = client.Read(std::string(method) == "HEAD");
        EXPECT_EQ(reply.status, 405) << method << " " << path;
        EXPECT_NE(reply.head.find("Allow: "), std::string::npos);
    }
}

TEST_F(Serve, RequestsThatAreNoneEndTheirConnectionAlone) {
    Begin();
    struct Case {
        std::string bytes;
        int status;
    };
    const std::string start = "GET " + base_ + "project HTTP/1.1\r\n";
    for (const Case& c :
         {Case{"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 a handshake\r\n\r\n", 400},
          Case{"GET\r\n\r\n", 400}, Case{"GET / HTTP/9.9\r\n\r\n", 400},
          Case{start + "Host 127.0.0.1\r\n\r\n", 400},
          Case{start + "A: " + std::string(9000, 'a'), 431},
          Case{"GET /" + std::string(9000, 'a'), 431},
          Case{Head("POST", "plane", "Content-Length: 65537\r\n"), 413},
          Case{Head("POST", "plane", "Content-Length: 99999999999999999999999\r\n"), 400},
          Case{Head("POST", "plane", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n"), 400},
          Case{Head("POST", "plane", "Transfer-Encoding: chunked\r\n") + "fffffffffffffffff\r\n",
               400},
          Case{Head("POST", "plane", "Transfer-Encoding: chunked\r\n") + "20000\r\n", 413}}) {
        PageClient client(port_);
        client.Send(c.bytes);
        EXPECT_EQ(client.Read().status, c.status) << c.bytes.substr(0, 80);
    }
    EXPECT_EQ(Get("project").status, 200);
}

TEST_F(Serve, SlowClientsAndThoseThatHangUpHoldNobodyElseUp) {
    Begin();
    PageClient slow(port_);
    const std::string request = Head("GET", "points");
    slow.Send(request.substr(0, 10));
    for (int i = 0; i < 40; ++i) {
        PageClient gone(port_);
        gone.Send(i % 2 == 0 ? request.substr(0, request.size() - 2) : request);
        gone.HangUp();
    }
    EXPECT_EQ(Get("points").body.size(), made_.points.size() * 24);
    for (const char byte : request.substr(10)) slow.Send(std::string(1, byte));
    EXPECT_EQ(slow.Read().body.size(), made_.points.size() * 24);
}

TEST_F(Serve, AHundredClientsAtOnceGetTheSamePoints) {
    Begin();
    const std::string expected = Get("points").body;
    std::vector<std::unique_ptr<PageClient>> clients;
    for (int i = 0; i < 100; ++i) clients.push_back(std::make_unique<PageClient>(port_));
    for (int round = 0; round < 3; ++round) {
        for (const auto& client : clients) client->Send(Head("GET", "points"));
        for (const auto& client : clients) EXPECT_EQ(client->Read().body, expected);
    }
}

TEST_F(Serve, TellsWhatTheProjectHolds) {
    Write(FloorAndWall());
    ServedProject::Serve();
    const auto json = nlohmann::json::parse(Get("project").body);
    EXPECT_EQ(json["name"], "hall");
    EXPECT_EQ(json["points"], made_.points.size());
    EXPECT_EQ(json["origin"], nlohmann::json({700'000.0, 6'000'000.0, 100.0}));
    EXPECT_EQ(json["record"]["bytes"], 24);
    EXPECT_EQ(json["varies"]["colour"], true);
    EXPECT_EQ(json["varies"]["class"], true);
    EXPECT_EQ(json["varies"]["station"], false);
    EXPECT_EQ(json["classes"][0]["name"], "ground");
    EXPECT_EQ(json["classes"][1]["number"], 6);
    EXPECT_EQ(json["cells"]["100"], made_.cells100.size());
    EXPECT_EQ(json["saved_planes"], false);
    EXPECT_EQ(json["settings"]["plane"][0]["name"], "split");
    EXPECT_EQ(json["warnings"], nlohmann::json::array());
}

TEST_F(Serve, AnEmptyProjectIsShownEmpty) {
    Write({});
    ServedProject::Serve();
    const auto json = nlohmann::json::parse(Get("project").body);
    EXPECT_EQ(json["points"], 0);
    EXPECT_EQ(json["intensity"], nullptr);
    for (const char* path : {"points", "skeleton", "skeleton-data", "cells?level=1000"}) {
        const Reply reply = Get(path);
        EXPECT_EQ(reply.status, 200) << path;
        EXPECT_EQ(reply.body, "") << path;
    }
    const auto lines = LinesOf(Post("plane", R"({"seed":[0,0,0]})"));
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines.back().contains("error"));
    const auto planes = LinesOf(Post("planes", "{}"));
    EXPECT_EQ(planes.back()["done"]["planes"], 0);
    EXPECT_EQ(Get("plane-numbers").body, "");
}

// BEHAVIOUR L2
TEST_F(Serve, FilesThatContradictEachOtherAreSaidToWhereTheyAreAskedFor) {
    Write(RoomPoints(7));
    auto cells = made_.cells100;
    cells[1].offset += 1;
    WriteRecords(File(L"Index/Grid.idx"), cells);
    auto fine = made_.cells10;
    fine[0].count = 0xFFFFFFFF;
    WriteRecords(File(L"Index/Grid10cm.idx"), fine);
    ServedProject::Serve();
    ExpectRefused(Get("cells?level=100&of=0&parents=" + std::to_string(made_.cells1000.size())),
                  409, "a cell of other points");
    ExpectRefused(Get("cells?level=10&of=0"), 409, "a cell beyond the points");
    EXPECT_EQ(Get("points").body.size(), made_.points.size() * 24);
    auto coarse = made_.cells1000;
    coarse[0].offset = ~std::uint64_t{0};
    WriteRecords(File(L"Index/Grid1000cm.idx"), coarse);
    ExpectRefused(Get("cells?level=1000"), 409, "a cell beyond the cells");
}

TEST_F(Serve, PointsBeyondFourGiBAreReachedByTheirCells) {
    constexpr std::uint64_t kMany = 179'000'000;  // of 24 bytes
    Write({CCloudPoint<float>{1.5f, 1.5f, 1.5f}, CCloudPoint<float>{2.5f, 1.5f, 1.5f}});
    std::error_code error;
    {
        auto file = platform::File::OpenReadWrite(File(L"Index/Grid.pts"), error);
        file.Resize((kMany + 10) * 24, error);
        if (error) GTEST_SKIP() << "skipped: no room for a sparse file";
        file.WriteAt((kMany + 9) * 24, "the record at the end..!", 24, error);
    }
    auto cells = made_.cells100;
    ASSERT_EQ(cells.size(), 2u);
    cells[0].count = static_cast<std::uint32_t>(kMany);
    cells[1].offset = kMany;
    cells[1].count = 10;
    WriteRecords(File(L"Index/Grid.idx"), cells);
    ServedProject::Serve();
    const auto rows = Rows("level=100&of=0");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].first, kMany);
    EXPECT_EQ(Rows("level=1000").front().count, kMany + 10);
    EXPECT_EQ(Get("points?first=179000009&count=1").body, "the record at the end..!");
    EXPECT_EQ(Get("points?every=17900001").body.size(), 10u * 24);
    EXPECT_EQ(nlohmann::json::parse(Get("project").body)["points"], kMany + 10);
}

TEST_F(Serve, AFileThatIsCutWhileItIsServedEndsAnswersAndNotTheServer) {
    Begin();
    std::error_code error;
    auto file = platform::File::OpenReadWrite(File(L"Index/Grid.pts"), error);
    file.Resize(24 * 10, error);
    if (error) GTEST_SKIP() << "skipped: the system cuts no file that is mapped";
    ExpectRefused(Get("points"), 409, "more than there is");
    EXPECT_EQ(Get("points?first=0&count=10").body.size(), 240u);
    EXPECT_EQ(Get("").status, 200);
}

}  // namespace
}  // namespace orvix::test
