// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/cli/command_runner.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "orvix/platform/text.h"
#include "support/scratch_folder.h"

namespace orvix::test {

ProcessResult Orvix(std::vector<std::string> arguments, const InterruptWhen& interruptWhen) {
    arguments.insert(arguments.begin(), ORVIX_COMMAND);
    ProcessResult result = RunProcess(arguments, interruptWhen);
    // A sanitizer ends the command with a code that would pass for a plain failure.
    for (const char* report :
         {"ERROR: AddressSanitizer", "detected memory leaks", "runtime error:"})
        EXPECT_EQ(result.errors.find(report), std::string::npos) << result.errors;
    return result;
}

Json OrvixJson(std::vector<std::string> arguments) {
    arguments.push_back("--json");
    const ProcessResult result = Orvix(std::move(arguments));
    EXPECT_EQ(result.exitCode, 0) << result.errors << result.output;
    return Json::parse(result.output, nullptr, false);
}

Json OrvixError(std::vector<std::string> arguments) {
    arguments.push_back("--json");
    const ProcessResult result = Orvix(std::move(arguments));
    Json error = Json::parse(result.output, nullptr, false).value("error", Json::object());
    const std::string message = error.value("message", "");
    EXPECT_FALSE(message.empty()) << result.output;
    EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
    error["exit"] = result.exitCode;
    return error;
}

std::string Utf8(const CString& path) {
    return platform::ToUtf8(path);
}

void WriteCloud(const CString& path, const Cloud& cloud) {
    std::string text;
    for (const auto& p : cloud) text += fmt::format("{} {} {}\n", p.x, p.y, p.z);
    WriteText(path, text);
}

Cloud Sheet(std::size_t count, const SimplePointT<double>& origin, const SimplePointT<double>& u,
            const SimplePointT<double>& v) {
    Cloud cloud;
    for (std::size_t i = 0; i < count; ++i) {
        // Multiples of two irrational numbers fill a square evenly.
        const double at = static_cast<double>(i) + 1;
        const double s = at * 0.7548776662466927 - std::floor(at * 0.7548776662466927);
        const double t = at * 0.5698402909980532 - std::floor(at * 0.5698402909980532);
        cloud.push_back({origin.x + s * u.x + t * v.x, origin.y + s * u.y + t * v.y,
                         origin.z + s * u.z + t * v.z});
    }
    return cloud;
}

Cloud Room(const SimplePointT<double>& o) {
    Cloud room = Sheet(30'000, o, {8, 0, 0}, {0, 6, 0});
    const auto add = [&room](const Cloud& more) {
        room.insert(room.end(), more.begin(), more.end());
    };
    for (const auto& p : Sheet(20'000, o, {8, 0, 0}, {0, 0, 3})) {
        const double x = p.x - o.x, z = p.z - o.z;
        if (!(x > 3 && x < 5 && z > 1 && z < 2)) room.push_back(p);
    }
    add(Sheet(12'000, {o.x, o.y + 6, o.z}, {8, 0, 0}, {0, 0, 3}));
    add(Sheet(10'000, o, {0, 6, 0}, {0, 0, 3}));
    add(Sheet(10'000, {o.x + 8, o.y, o.z}, {0, 6, 0}, {0, 0, 3}));
    return room;
}

}  // namespace orvix::test
