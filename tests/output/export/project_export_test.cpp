// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/project_export.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>

#include "importer/import.h"
#include "orvix/platform/path.h"
#include "orvix/project/transform_file.h"
#include "output/export/cloud_writer.h"
#include "support/scans/las_writer.h"
#include "support/scratch_folder.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using namespace output;
using testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

/// A cloud with every attribute, far from the world's zero and over many cells, and projects made
/// of it.
class ProjectExport : public testing::Test {
protected:
    ProjectExport() { MakeProject({.offset = {770'500, 6'277'500, 0}}, L"scan.prj"); }

    void MakeProject(LasLayout layout, const wchar_t* name) {
        layout.minorVersion = 4;
        layout.pointFormat = 7;
        std::mt19937_64 random(5);
        std::vector<LasPoint> points;
        for (int i = 0; i < 5000; ++i) {
            const std::uint64_t draw = random();
            const auto at = [&](int shift) {
                return static_cast<std::int32_t>(draw >> shift & 0xFFFF) - 30'000;
            };
            points.push_back({at(0), at(16), at(32) / 8, static_cast<std::uint16_t>(random()),
                              static_cast<std::uint8_t>(draw >> 56),
                              static_cast<std::uint16_t>((draw & 0xFF) * 257),
                              static_cast<std::uint16_t>((draw >> 8 & 0xFF) * 257),
                              static_cast<std::uint16_t>((draw >> 16 & 0xFF) * 257)});
        }
        points.push_back({0, 0, 0, 1, 2, 0, 0, 0});
        const Bytes las = MakeLas(layout, points);
        WriteBytes(folder_ / L"scan.las", las.data(), las.size());
        Import({folder_ / L"scan.las"}, name);
    }

    void Import(const std::vector<CString>& inputs, const wchar_t* name) const {
        const auto report = importer::Import(inputs, folder_ / name, {});
        ASSERT_TRUE(report) << report.error().message;
    }

    [[nodiscard]] CString Points(const wchar_t* project) const {
        return folder_ / (std::wstring(project) + L"_Project_Files/Index/Grid.pts");
    }

    output::ExportReport Export(const wchar_t* name,
                                const output::ExportOptions& options = {}) const {
        const auto report = output::ExportProject(folder_ / L"scan.prj", folder_ / name, options);
        EXPECT_TRUE(report) << report.error().message;
        return report.value_or(output::ExportReport{});
    }

    /// Every file of a project by its name within it.
    [[nodiscard]] std::map<std::string, Bytes> FilesOf(const wchar_t* project) const {
        std::map<std::string, Bytes> files;
        const std::filesystem::path root(folder_ / (std::wstring(project) + L"_Project_Files"));
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            if (!entry.is_regular_file()) continue;
            files[entry.path().lexically_relative(root).generic_string()] =
                ReadBytes(entry.path().wstring());
        }
        files["settings"] = ReadBytes(folder_ / (std::wstring(project) + L".prj"));
        return files;
    }

    [[nodiscard]] SimplePointT<double> World(const Bytes& records, std::size_t i) const {
        std::array<float, 3> local;
        std::memcpy(local.data(), records.data() + i * 24, sizeof(local));
        return {770'500.0 + static_cast<double>(local[0]),
                6'277'500.0 + static_cast<double>(local[1]), static_cast<double>(local[2])};
    }

    ScratchFolder folder_;
};

// BEHAVIOUR C9
TEST_F(ProjectExport, AnImportOfAnExportedPlyGivesTheSameProject) {
    const output::ExportReport report = Export(L"out.ply");
    EXPECT_EQ(report.points, 5001u);
    EXPECT_EQ(report.bytes, ReadBytes(folder_ / L"out.ply").size());
    Import({folder_ / L"out.ply"}, L"again.prj");
    const auto before = FilesOf(L"scan");
    const auto after = FilesOf(L"again");
    ASSERT_EQ(before.size(), after.size());
    for (const auto& [name, bytes] : before) {
        ASSERT_TRUE(after.contains(name)) << name;
        EXPECT_TRUE(after.at(name) == bytes) << name;
    }
}

// BEHAVIOUR C10
TEST_F(ProjectExport, APartKeepsItsProjectsOriginWhateverItsOwnMiddle) {
    const auto whole = detail::ReadTransform(folder_ / L"scan_Project_Files/transform");
    output::ExportOptions options;
    options.box = ExtendsT<double>{{770'470, 6'277'470, -100}, {770'474, 6'277'474, 100}};
    Export(L"corner.ply", options);
    Import({folder_ / L"corner.ply"}, L"corner.prj");
    const auto part = detail::ReadTransform(folder_ / L"corner_Project_Files/transform");
    EXPECT_EQ(part->m, whole->m);
}

// BEHAVIOUR C10
TEST_F(ProjectExport, AnOriginThatLiesFarFromThePointsOrBetweenStepsIsNotTaken) {
    for (const char* origin : {"5000000 6277500 0", "770512 6277500 0", "nan 0 0", "1e999 0 0"}) {
        const std::string text =
            std::string("ply\nformat ascii 1.0\ncomment orvix_origin ") + origin +
            "\nelement vertex 1\nproperty double x\nproperty double y\nproperty double z\n"
            "end_header\n770512.5 6277543.25 3\n";
        WriteText(folder_ / L"told.ply", text);
        Import({folder_ / L"told.ply"}, L"told.prj");
        const auto frame = detail::ReadTransform(folder_ / L"told_Project_Files/transform");
        EXPECT_EQ(frame->Origin().x, 770'500) << origin;
        std::error_code error;
        platform::RemoveTree(folder_ / L"told_Project_Files", error);
        platform::RemoveFile(folder_ / L"told.prj", error);
    }
}

TEST_F(ProjectExport, EveryFormatHoldsEveryPointWithItsAttributesInTheProjectsOrder) {
    const Bytes records = ReadBytes(Points(L"scan"));
    for (const wchar_t* name : {L"out.ply", L"out.las", L"out.xyz"}) {
        Export(name);
        const WholeScan scan = ReadAll(folder_ / name);
        ASSERT_EQ(scan.error, "");
        ASSERT_EQ(scan.points.size(), 5001u);
        const bool isLas = std::wstring(name) == L"out.las";
        const double slack = isLas ? 0.5e-4 + 1e-9 : 0;
        for (std::size_t i = 0; i < scan.points.size(); ++i) {
            const importer::ScanPoint& p = scan.points[i];
            const std::uint8_t* record = records.data() + i * 24;
            const SimplePointT<double> world = World(records, i);
            ASSERT_LE(std::fabs(p.x - world.x), slack);
            ASSERT_LE(std::fabs(p.y - world.y), slack);
            ASSERT_LE(std::fabs(p.z - world.z), slack);
            EXPECT_EQ(static_cast<int>(p.intensity), record[12] | record[13] << 8);
            const int scale = isLas ? 257 : 1;
            EXPECT_EQ(p.red, record[14] * scale);
            EXPECT_EQ(p.green, record[15] * scale);
            EXPECT_EQ(p.blue, record[16] * scale);
            EXPECT_EQ(p.classification, record[17]);
        }
    }
}

TEST_F(ProjectExport, AnImportOfAnExportedLasHoldsThePointsWithinHalfItsScale) {
    Export(L"out.las");
    Import({folder_ / L"out.las"}, L"again.prj");
    const Bytes before = ReadBytes(Points(L"scan"));
    const Bytes after = ReadBytes(Points(L"again"));
    ASSERT_EQ(before.size(), after.size());
    // The intensities tell the points apart where rounding moved one to another cell.
    std::multimap<std::uint32_t, std::size_t> byAttributes;
    const auto key = [](const Bytes& records, std::size_t i) {
        std::uint32_t value = 0;
        std::memcpy(&value, records.data() + i * 24 + 12, sizeof(value));
        return value;
    };
    for (std::size_t i = 0; i < after.size() / 24; ++i) byAttributes.emplace(key(after, i), i);
    for (std::size_t i = 0; i < before.size() / 24; ++i) {
        const SimplePointT<double> p = World(before, i);
        const auto [first, last] = byAttributes.equal_range(key(before, i));
        EXPECT_TRUE(std::any_of(first, last, [&](const auto& entry) {
            const SimplePointT<double> q = World(after, entry.second);
            const double slack = 0.5e-4 + 4e-6;  // and a float's step at 64 m
            return std::fabs(p.x - q.x) <= slack && std::fabs(p.y - q.y) <= slack &&
                   std::fabs(p.z - q.z) <= slack;
        })) << i;
    }
}

TEST_F(ProjectExport, TheDclcPairAndTheStationGoWithThePoint) {
    Bytes records = ReadBytes(Points(L"scan"));
    records[18] = 3;
    records[20] = 0x34;
    records[21] = 0x12;
    records[22] = 0x56;
    WriteBytes(Points(L"scan"), records.data(), records.size());
    Export(L"out.las");
    const Bytes las = ReadBytes(folder_ / L"out.las");
    const std::uint8_t* record = las.data() + 375 + 54 + 384;
    EXPECT_EQ(record[20], 3);
    EXPECT_EQ(Bytes(record + 36, record + 39), (Bytes{0x34, 0x12, 0x56}));
    Export(L"out.ply");
    const Bytes ply = ReadBytes(folder_ / L"out.ply");
    const std::uint8_t* last = ply.data() + ply.size() - 35 * 5001 + 30;
    EXPECT_EQ(Bytes(last, last + 5), (Bytes{3, 0, 0x34, 0x12, 0x56}));
}

TEST_F(ProjectExport, AStationAndABoxChoosePoints) {
    Import({folder_ / L"scan.las", folder_ / L"scan.las"}, L"two.prj");
    output::ExportOptions options;
    options.station = 1;
    auto report = output::ExportProject(folder_ / L"two.prj", folder_ / L"one.ply", options);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->points, 5001u);

    const Bytes records = ReadBytes(Points(L"scan"));
    options.station.reset();
    const SimplePointT<double> low = World(records, 100);
    options.box = ExtendsT<double>{low, {low.x + 20, low.y + 20, 1e9}};
    std::uint64_t inside = 0;
    for (std::size_t i = 0; i < records.size() / 24; ++i) {
        const SimplePointT<double> p = World(records, i);
        inside +=
            p.x >= low.x && p.y >= low.y && p.z >= low.z && p.x <= low.x + 20 && p.y <= low.y + 20
                ? 1
                : 0;
    }
    ASSERT_GE(inside, 1u);
    report = output::ExportProject(folder_ / L"scan.prj", folder_ / L"box.xyz", options);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->points, inside);
    EXPECT_EQ(ReadAll(folder_ / L"box.xyz").points.size(), inside);
    EXPECT_EQ(report->bounds.min.x, low.x);
}

TEST_F(ProjectExport, AStationsExportsImportedTogetherGiveTheSameProject) {
    Import({folder_ / L"scan.las", folder_ / L"scan.las"}, L"scan2.prj");
    for (const std::uint16_t station : {std::uint16_t{0}, std::uint16_t{1}}) {
        output::ExportOptions options;
        options.station = station;
        ASSERT_TRUE(output::ExportProject(folder_ / L"scan2.prj",
                                          folder_ / (std::to_wstring(station) + L".ply"), options));
    }
    Import({folder_ / L"0.ply", folder_ / L"1.ply"}, L"again2.prj");
    EXPECT_TRUE(FilesOf(L"again2") == FilesOf(L"scan2"));
}

TEST_F(ProjectExport, ANegativeZeroStaysOne) {
    WriteText(folder_ / L"zero.xyz", "-0.0 0.0 -0.0\n1 2 3\n");
    Import({folder_ / L"zero.xyz"}, L"zero.prj");
    ASSERT_TRUE(output::ExportProject(folder_ / L"zero.prj", folder_ / L"zero.ply", {}));
    Import({folder_ / L"zero.ply"}, L"zero2.prj");
    EXPECT_EQ(ReadBytes(Points(L"zero2")), ReadBytes(Points(L"zero")));
}

// BEHAVIOUR C11
TEST_F(ProjectExport, NothingAppearsUnlessItIsComplete) {
    const auto target = folder_ / L"out.ply";
    const auto refusal = [&](const output::ExportOptions& options,
                             const output::ExportCallback& callback = {}) {
        const auto report = output::ExportProject(folder_ / L"scan.prj", target, options, callback);
        EXPECT_FALSE(report);
        EXPECT_FALSE(platform::PathExists(target + L".orvix-part"));
        return report ? Error{} : report.error();
    };
    output::ExportOptions nobody;
    nobody.station = 9;
    EXPECT_EQ(refusal(nobody).code, ErrorCode::BadInput);
    EXPECT_FALSE(platform::PathExists(target));
    double last = 0;
    const auto watch = [&](double fraction, std::uint64_t points, std::uint64_t bytes) {
        EXPECT_GE(fraction, last);
        EXPECT_LE(fraction, 1);
        EXPECT_LE(bytes, points * 35 + 1000);
        last = fraction;
        return true;
    };
    const auto never = [](double, std::uint64_t, std::uint64_t) { return false; };
    EXPECT_EQ(refusal({}, never).code, ErrorCode::Cancelled);
    EXPECT_FALSE(platform::PathExists(target));

    WriteText(target, "mine");
    EXPECT_THAT(refusal({}).message, HasSubstr("exists already"));
    output::ExportOptions replace;
    replace.existing = output::ExistingFile::Replace;
    EXPECT_EQ(refusal(replace, never).code, ErrorCode::Cancelled);
    EXPECT_EQ(ReadBytes(target), (Bytes{'m', 'i', 'n', 'e'}));
    EXPECT_TRUE(output::ExportProject(folder_ / L"scan.prj", target, replace, watch));
    EXPECT_EQ(ReadAll(target).points.size(), 5001u);
}

// Three jobs and the last of them short, with all points and with those of a box.
TEST_F(ProjectExport, TheBytesAreTheSameOnAnyNumberOfThreads) {
    std::string text = "x y z i\n";
    for (int i = 0; i < 150'000; ++i)
        text +=
            fmt::format("{} {} {} {}\n", i % 331 * 0.037, i % 1'009 * 0.011, i % 17 * 0.3, i % 99);
    WriteText(folder_ / L"many.xyz", text);
    Import({folder_ / L"many.xyz"}, L"many.prj");
    for (const bool boxed : {false, true}) {
        for (const wchar_t* ending : {L".ply", L".las", L".xyz"}) {
            std::vector<Bytes> files;
            for (const unsigned threads : {1U, 2U, 5U}) {
                output::ExportOptions options;
                options.threads = threads;
                options.existing = output::ExistingFile::Replace;
                if (boxed) options.box = ExtendsT<double>{{2, 2, 0}, {9, 9, 3}};
                const CString target = folder_ / (CString(L"many2") + ending);
                const auto report = output::ExportProject(folder_ / L"many.prj", target, options);
                ASSERT_TRUE(report) << report.error().message;
                EXPECT_EQ(report->points == 150'000, !boxed);
                files.push_back(ReadBytes(target));
                EXPECT_EQ(report->bytes, files.back().size());
            }
            EXPECT_EQ(files[0], files[1]);
            EXPECT_EQ(files[0], files[2]);
        }
    }
}

TEST(LasCloudWriter, StoresTheNearestStep) {
    output::ExportedCloud cloud;
    cloud.points = 1;
    cloud.bounds = {{-1000, -1000, -1000}, {1000, 1000, 1000}};
    const auto writer = output::MakeLasCloudWriter(cloud);
    std::mt19937_64 random(9);
    std::vector<ExportedPoint> points(6'000);
    for (std::size_t i = 0; i < points.size(); ++i) {
        // On the middle between two steps, and as near to it as doubles are.
        const double middle =
            (static_cast<double>(random() % 20'000'000) - 10'000'000 + 0.5) * 1e-4;
        points[i].world = {middle, std::nextafter(middle, 1e9), std::nextafter(middle, -1e9)};
        if (i == 0) points[i].world = {0.49999999999999994e-4, -0.49999999999999994e-4, -0.0};
    }
    Bytes bytes;
    writer->Add(points, bytes);
    ASSERT_EQ(bytes.size(), points.size() * 39);
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::array<std::int32_t, 3> stored;
        std::memcpy(stored.data(), bytes.data() + i * 39, sizeof stored);
        if (i == 0) {  // some systems' lround makes one of what lies next to a half
            EXPECT_EQ(stored, (std::array<std::int32_t, 3>{0, 0, 0}));
            continue;
        }
        const auto& p = points[i].world;
        EXPECT_EQ(stored[0], std::lround(p.x / 1e-4));
        EXPECT_EQ(stored[1], std::lround(p.y / 1e-4));
        EXPECT_EQ(stored[2], std::lround(p.z / 1e-4));
    }
}

TEST(LasCloudWriter, CountsPast32BitsAndCoarsensWhereACloudReachesFar) {
    output::ExportedCloud cloud;
    cloud.points = 5'000'000'000;
    cloud.bounds = {{-300'000, 0, 0}, {300'000, 1, 1}};
    const auto writer = output::MakeLasCloudWriter(cloud);
    EXPECT_THAT(writer->Format(), HasSubstr("scale 0.001"));
    Bytes bytes;
    writer->Begin(bytes);
    std::uint64_t count = 0;
    std::memcpy(&count, bytes.data() + 247, sizeof(count));
    EXPECT_EQ(count, cloud.points);
    EXPECT_EQ(Bytes(bytes.begin() + 107, bytes.begin() + 131), Bytes(24));
    output::ExportedPoint point;
    point.world = {-300'000, 0.0004, 1};
    writer->Add(std::span(&point, 1), bytes);
    EXPECT_EQ(bytes.size(), 375u + 54 + 384 + 39);
    std::array<std::int32_t, 3> stored;
    std::memcpy(stored.data(), bytes.data() + 375 + 54 + 384, sizeof(stored));
    EXPECT_EQ(stored, (std::array<std::int32_t, 3>{-300'000'000, 0, 1000}));
}

}  // namespace
}  // namespace orvix::test
