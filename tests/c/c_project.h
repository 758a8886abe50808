// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvix/c/orvix.h"
#include "orvix/platform/text.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix::test {

/// A versioned struct of the C interface, all zero but its size.
template <class Struct>
Struct Sized() {
    Struct made{};
    made.size = sizeof made;
    return made;
}

/// A tiny project under a name that no code page holds, reached through the C interface alone.
class CProject : public testing::Test {
protected:
    explicit CProject(std::vector<CCloudPoint<float>> points = RoomPoints(7),
                      const SimplePointT<double>& origin = {})
        : tiny(MakeTinyProject(std::move(points), 0.1, origin)) {
        WriteTinyProject(tiny, path);
    }
    ~CProject() override { orvix_project_close(project); }

    orvix_status Open(std::int32_t access = ORVIX_READ) {
        auto options = Sized<orvix_open_options>();
        options.access = access;
        return orvix_project_open(name.c_str(), &options, &project, &error);
    }
    /// The points as the file holds them.
    std::vector<orvix_point> Points(std::uint64_t first, std::uint64_t count) {
        std::vector<orvix_point> points(static_cast<std::size_t>(count));
        EXPECT_EQ(orvix_points_read(project, first, count, points.data(), &error), ORVIX_OK)
            << error.text;
        return points;
    }

    ScratchFolder folder;
    TinyProject tiny;
    CString path = folder / L"Gr\u00F6\u00DFe \u70B9\u4E91.prj";
    std::string name = platform::ToUtf8(path);
    orvix_project* project = nullptr;
    orvix_error error = Sized<orvix_error>();
};

}  // namespace orvix::test
