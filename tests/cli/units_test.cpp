// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "cli/progress_reporter.h"
#include "orvix/platform/amounts.h"
#include "output/mesh/mesh_writer.h"
#include "output/picture/picture_view.h"
#include "support/scratch_folder.h"

namespace orvix::cli {
namespace {

std::string TextOf(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

TEST(Amounts, ReadSizesInPowersOf1024And1000) {
    EXPECT_EQ(platform::ParseBytes("2000000"), 2'000'000u);
    EXPECT_EQ(platform::ParseBytes("512M"), 512u << 20);
    EXPECT_EQ(platform::ParseBytes("1GiB"), 1u << 30);
    EXPECT_EQ(platform::ParseBytes("1.5 gb"), 1'500'000'000u);
    EXPECT_EQ(platform::ParseBytes("2TB"), 2'000'000'000'000u);
    for (const char* text : {"", "GiB", "1X", "-1M", "1e30", "inf", "12 34", "1MBs"})
        EXPECT_FALSE(platform::ParseBytes(text)) << text;
}

TEST(Amounts, ReadPositionsOfThreeFiniteNumbers) {
    EXPECT_EQ(platform::ParsePosition("-2.5, 1e3,+0.25"),
              (std::array<double, 3>{-2.5, 1000, 0.25}));
    for (const char* text : {"", "1,2", "1,2,3,4", "1,2,x", "1,,3", "1,2,nan", "1 2 3"})
        EXPECT_FALSE(platform::ParsePosition(text)) << text;
}

TEST(Amounts, AreWrittenForPeople) {
    EXPECT_EQ(platform::CountText(0), "0");
    EXPECT_EQ(platform::CountText(999), "999");
    EXPECT_EQ(platform::CountText(1'000'000), "1,000,000");
    EXPECT_EQ(platform::BytesText(1023), "1023 bytes");
    EXPECT_EQ(platform::BytesText(3u << 30), "3.0 GiB");
    EXPECT_EQ(platform::HexText(0xABC), "0000000000000abc");
    EXPECT_EQ(DurationText(59.6), "1 min 0 s");
    EXPECT_EQ(DurationText(4800), "1 h 20 min");
}

TEST(ProgressBar, FitsItsLine) {
    const ProgressState state{"sorting", 0.5, 10, 1'234'567, 65};
    EXPECT_EQ(BarLine(state, 200), "[" + std::string(20, '#') + std::string(20, ' ') +
                                       "]  50 % sorting, 1,234,567 points, 1 min 5 s left");
    for (int columns = 1; columns < 120; ++columns)
        EXPECT_LE(static_cast<int>(BarLine(state, columns).size()), columns);
}

TEST(ScaleBar, HasARoundLength) {
    EXPECT_DOUBLE_EQ(output::RoundLength(7.3), 5);
    EXPECT_DOUBLE_EQ(output::RoundLength(4.99), 2);
    EXPECT_DOUBLE_EQ(output::RoundLength(0.19), 0.1);
    EXPECT_DOUBLE_EQ(output::RoundLength(1000), 1000);
    EXPECT_EQ(output::LengthText(2000), "2 km");
    EXPECT_EQ(output::LengthText(5), "5 m");
    EXPECT_EQ(output::LengthText(0.2), "20 cm");
    EXPECT_EQ(output::LengthText(0.005), "5 mm");
}

TEST(PictureView, ShowsAWallUprightAndUnmirrored) {
    output::PictureView view =
        output::PictureView::Facing({0, -1, 0});  // the viewer stands south, looks north
    view.Fit({-2, 2, -1, 1}, {0, 0, 400, 200});
    EXPECT_EQ(view.RightName(), "x");
    EXPECT_EQ(view.UpName(), "z");
    const output::Pixel2 east = view.Place({1, 0, 0}), high = view.Place({0, 0, 0.5});
    EXPECT_DOUBLE_EQ(east.x, 300);
    EXPECT_DOUBLE_EQ(east.y, 100);
    EXPECT_DOUBLE_EQ(high.y, 50);
    EXPECT_LT(view.Depth({0, -1, 0}), view.Depth({0, 1, 0}));
}

const detail::TriangleMesh kMesh{{{84808.1, 447412.25, -0.1}, {1, 0, 0}, {0, 1.0 / 3, 0}},
                                 {{0, 1, 2}}};

TEST(MeshWriter, WritesPlyWhoseDoublesReadBackUnchanged) {
    const test::ScratchFolder folder;
    ASSERT_TRUE(output::WriteMesh(folder / L"a.PLY", kMesh));
    EXPECT_EQ(TextOf(folder / L"a.PLY"),
              "ply\nformat ascii 1.0\nelement vertex 3\nproperty double x\nproperty double y\n"
              "property double z\nelement face 1\nproperty list uchar int vertex_indices\n"
              "end_header\n84808.1 447412.25 -0.1\n1 0 0\n0 0.3333333333333333 0\n3 0 1 2\n");
}

TEST(MeshWriter, WritesObjWhoseFacesCountFromOne) {
    const test::ScratchFolder folder;
    ASSERT_TRUE(output::WriteMesh(folder / L"a.obj", kMesh));
    EXPECT_EQ(TextOf(folder / L"a.obj"),
              "v 84808.1 447412.25 -0.1\nv 1 0 0\nv 0 0.3333333333333333 0\nf 1 2 3\n");
}

TEST(MeshWriter, NamesThePathThatCannotBeWritten) {
    const test::ScratchFolder folder;
    const auto written = output::WriteMesh(folder / L"missing/a.obj", kMesh);
    ASSERT_FALSE(written);
    EXPECT_NE(written.error().message.find("missing/a.obj"), std::string::npos);
}

}  // namespace
}  // namespace orvix::cli
