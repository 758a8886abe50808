// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <filesystem>
#include <future>
#include <string>
#include <thread>

#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"
#include "tests/view/page_client.h"
#include "view/serve_project.h"

namespace orvix::test {

/// A project that is served for the length of a case, with a page of two files beside it.
class ServedProject : public testing::Test {
protected:
    ~ServedProject() override { Stop(); }

    static std::vector<CCloudPoint<float>> FloorAndWall() {
        std::vector<CCloudPoint<float>> points;
        for (int i = 0; i < 120; ++i) {
            for (int k = 0; k < 80; ++k) {
                CCloudPoint<float> p;
                const float s = 0.03f * float(i) + 0.001f * float(k % 7);
                const float t = 0.03f * float(k) + 0.001f * float(i % 5);
                p.x = s;
                p.y = t;
                p.z = 0.001f * float((i * 7 + k * 3) % 3);
                p.attributes = {std::uint8_t(i), 0, std::uint8_t(k), 10, 20, 2, 0, 0};
                points.push_back(p);
                p.y = 2.6f + 0.001f * float((i * 5 + k) % 3);
                p.z = t + 0.05f;
                p.attributes[5] = 6;
                points.push_back(p);
            }
        }
        return points;
    }

    [[nodiscard]] CString Project() const { return folder_ / L"hall.prj"; }
    [[nodiscard]] CString File(std::wstring_view name) const {
        return folder_ / (L"hall_Project_Files/" + CString(name));
    }

    void Write(const std::vector<CCloudPoint<float>>& points) {
        made_ = MakeTinyProject(points, 0.1, {700'000, 6'000'000, 100});
        WriteTinyProject(made_, Project());
    }

    void Serve() {
        std::filesystem::create_directories(std::filesystem::path(folder_ / L"page/assets"));
        WriteText(folder_ / L"page/index.html", "<!doctype html>");
        WriteText(folder_ / L"page/assets/page.js", "let a = 1;");
        WriteText(folder_ / L"secret.txt", "not for pages");
        std::promise<std::string> started;
        auto address = started.get_future();
        view::ServeOptions options;
        options.pageFolder = folder_ / L"page";
        options.started = [&started](const std::string& at) { started.set_value(at); };
        options.proceed = [this] { return !stop_.load(); };
        thread_ = std::thread([this, options, &started] {
            auto end = view::ServeProject(Project(), options);
            if (end) return;
            failure_ = end.error().message;
            started.set_value("");
        });
        const std::string at = address.get();
        ASSERT_FALSE(at.empty()) << failure_;
        // http://127.0.0.1:PORT/TOKEN/
        const std::size_t colon = at.rfind(':');
        port_ = static_cast<std::uint16_t>(std::stoi(at.substr(colon + 1)));
        base_ = at.substr(at.find('/', colon));
    }
    void Stop() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
    }

    [[nodiscard]] std::string Head(const std::string& method, const std::string& path,
                                   const std::string& more = "") const {
        return method + " " + base_ + path +
               " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) + "\r\n" + more + "\r\n";
    }
    [[nodiscard]] Reply Get(const std::string& path) const {
        PageClient client(port_);
        client.Send(Head("GET", path));
        return client.Read();
    }
    [[nodiscard]] Reply Post(const std::string& path, const std::string& body) const {
        PageClient client(port_);
        client.Send(PostText(path, body));
        return client.Read();
    }
    [[nodiscard]] std::string PostText(const std::string& path, const std::string& body) const {
        return Head("POST", path, "Content-Length: " + std::to_string(body.size()) + "\r\n") + body;
    }
    /// A reply that says why in a sentence.
    static void ExpectRefused(const Reply& reply, int status, const std::string& what) {
        EXPECT_EQ(reply.status, status) << what << ": " << reply.body;
        const auto json = nlohmann::json::parse(reply.body, nullptr, false);
        EXPECT_TRUE(json.is_object() && json["error"].is_string()) << what << ": " << reply.body;
    }
    /// The objects of an answer in lines.
    static std::vector<nlohmann::json> LinesOf(const Reply& reply) {
        std::vector<nlohmann::json> lines;
        std::size_t at = 0;
        for (std::size_t end; (end = reply.body.find('\n', at)) != std::string::npos; at = end + 1)
            lines.push_back(nlohmann::json::parse(reply.body.substr(at, end - at)));
        return lines;
    }

    ScratchFolder folder_;
    TinyProject made_;
    std::uint16_t port_ = 0;
    std::string base_;

private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
    std::string failure_;
};

}  // namespace orvix::test
