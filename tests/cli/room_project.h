// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {

/// A room far from the world's zero, as room.prj in a scratch folder, imported once for all cases.
class RoomProject : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        WriteCloud(*folder_ / L"room.xyz", Room({700'000, 6'000'000, 100}));
        OrvixJson({"import", File(L"room.xyz"), File(L"room.prj")});
    }
    static void TearDownTestSuite() {
        delete folder_;
        folder_ = nullptr;
    }
    static std::string File(std::wstring_view name) { return Utf8(*folder_ / name); }
    static std::string TextOf(std::wstring_view name) {
        const auto bytes = ReadBytes(*folder_ / name);
        return {bytes.begin(), bytes.end()};
    }

    static inline ScratchFolder* folder_ = nullptr;
};

}  // namespace orvix::test
