// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "orvix/platform/path.h"
#include "support/scans/las_writer.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using namespace std::string_view_literals;
using testing::HasSubstr;

// BEHAVIOUR X1
TEST(OpenScan, TellsTheFormatByTheContentWhateverTheName) {
    const ScratchFolder folder;
    const auto las = MakeLas({}, {LasPoint{1000, 2000, 3000}});
    WriteBytes(folder / L"points.xyz", las.data(), las.size());
    WriteText(folder / L"r\u00e4ume \u4e2d.las", "1 2 3\n");
    EXPECT_THAT(ReadAll(folder / L"points.xyz").info.format, HasSubstr("LAS"));
    EXPECT_THAT(ReadAll(folder / L"r\u00e4ume \u4e2d.las").info.format, HasSubstr("text"));
}

TEST(OpenScan, SaysWhatIsWrongWithAPathThatIsNoFile) {
    const ScratchFolder folder;
    WriteText(folder / L"empty.las", "");
    platform::MakeFolder(folder / L"sub", *std::make_unique<std::error_code>());
    EXPECT_THAT(ReadAll(folder / L"gone.las").error, HasSubstr("gone.las: there is no such file"));
    EXPECT_THAT(ReadAll(folder / L"empty.las").error, HasSubstr("empty (0 bytes)"));
    EXPECT_THAT(ReadAll(folder / L"sub").error, HasSubstr("a folder"));
}

// BEHAVIOUR X1
TEST(OpenScan, NamesTheFormatsThatAreNotRead) {
    EXPECT_THAT(ReadAll("PK\3\4\0\0"sv).error, HasSubstr("Unpack it"));
    EXPECT_THAT(ReadAll("%PDF-1.7"sv).error, HasSubstr("a PDF document"));
    EXPECT_THAT(ReadAll("\x89PNG\r\n"sv).error, HasSubstr("a PNG picture"));
}

struct RealScan {
    const wchar_t* name;
    std::uint64_t points;
    double minimum[3];
    double maximum[3];
};

constexpr RealScan kRealScans[] = {
    {L"indoor_lobby.las", 808'042, {-22.99, -1.97, -7.9}, {5.63, 7.55, 12.36}},
    {L"delft_ahn3.las", 848'942, {84808.3, 447412.8, -0.606}, {85072.299, 447641.299, 26.329}},
    {L"ign_herault.las", 405'937, {770500, 6277500, 20.21}, {770650, 6277600, 43.49}},
    {L"pumproom_station.e57", 155'201, {-2.904, -5.301, -1.9}, {1.722, -0.793, 1.843}},
    {L"office_room1_objects.pcd", 237'907, {-2.16, -6.469, -0.096}, {2.294, -0.71, 2.196}},
    {L"room_scan1.pcd", 112'586, {-13.8, -6.493, -1.352}, {15.447, 7.98, 1.709}},
    {L"room_scan2.pcd", 112'624, {-12.552, -10.919, -1.718}, {12.299, 10.05, 1.882}},
    {L"room_scan1.ply", 112'586, {-13.8, -6.493, -1.352}, {15.447, 7.98, 1.709}},
    {L"room_scan2.ply", 112'624, {-12.552, -10.919, -1.718}, {12.299, 10.05, 1.882}},
    {L"courtyard_source.ply", 69'792, {-23.759, -52.001, -3.021}, {18.48, 6.508, 9.173}},
    {L"courtyard_target.ply", 69'088, {-23.337, -74.682, -2.957}, {19.025, 8.92, 10.796}},
    {L"building_tls_100k.ply", 100'000, {-7.466, -32.645, -3.151}, {8.331, 22.193, 14.761}},
};

TEST(OpenScan, ReadsRealScansWholeWithTheirBounds) {
    const CString folder = platform::FromUtf8(ORVIX_SHARED_DATA);
    if (folder.empty()) GTEST_SKIP() << "no folder of real scans beside this checkout";
    for (const RealScan& real : kRealScans) {
        const WholeScan scan = ReadAll(platform::JoinPath(folder, real.name));
        ASSERT_EQ(scan.error, "");
        EXPECT_EQ(scan.points.size(), real.points) << platform::ToUtf8(real.name);
        EXPECT_EQ(scan.malformed, 0u);
        for (int axis = 0; axis < 3; ++axis) {
            const auto of = [axis](const importer::ScanPoint& p) {
                return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
            };
            const auto [low, high] =
                std::minmax_element(scan.points.begin(), scan.points.end(),
                                    [&](const auto& a, const auto& b) { return of(a) < of(b); });
            EXPECT_NEAR(of(*low), real.minimum[axis], 0.00051) << platform::ToUtf8(real.name);
            EXPECT_NEAR(of(*high), real.maximum[axis], 0.00051) << platform::ToUtf8(real.name);
        }
    }
}

}  // namespace
}  // namespace orvix::test
