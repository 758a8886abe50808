// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/consistency.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "importer/import.h"
#include "support/scenes/ray_scan.h"
#include "support/scratch_folder.h"

namespace orvix::test {
namespace {

using detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;
using reports::ConsistencyReport, reports::StationConsistency;

constexpr double kHundredth = std::numbers::pi / 18'000;  // of a degree

RaySurface Wall(const Vector& corner, const Vector& u, const Vector& v, double width,
                double height) {
    RaySurface surface;
    surface.corner = corner;
    surface.u = u;
    surface.v = v;
    surface.width = width;
    surface.height = height;
    return surface;
}

void AddBox(RayScene& scene, const Vector& low, const Vector& size) {
    const Vector x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    const Vector high = low + size;
    scene.surfaces.push_back(Wall(low, x, z, size.x, size.z));
    scene.surfaces.push_back(Wall(low, y, z, size.y, size.z));
    scene.surfaces.push_back(Wall({high.x, low.y, low.z}, y, z, size.y, size.z));
    scene.surfaces.push_back(Wall({low.x, high.y, low.z}, x, z, size.x, size.z));
    scene.surfaces.push_back(Wall({low.x, low.y, high.z}, x, y, size.x, size.y));
}

/// A flat of two rooms with a wide passage between them, a glass pane, and a cupboard that is pushed
/// 12 mm along and away from its wall after half of the scans.
RayScene Flat(bool later) {
    RayScene scene;
    const Vector x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    scene.surfaces.push_back(Wall({0, 0, 0}, x, y, 10, 5));
    scene.surfaces.push_back(Wall({0, 0, 2.6}, x, y, 10, 5));
    scene.surfaces.push_back(Wall({0, 0, 0}, x, z, 10, 2.6));
    scene.surfaces.push_back(Wall({0, 5, 0}, x, z, 10, 2.6));
    scene.surfaces.push_back(Wall({0, 0, 0}, y, z, 5, 2.6));
    scene.surfaces.push_back(Wall({10, 0, 0}, y, z, 5, 2.6));
    for (const double face : {4.9, 5.1}) {
        scene.surfaces.push_back(Wall({face, 0, 0}, y, z, 5, 2.6));
        scene.surfaces.back().holes.push_back({1.5, -1, 3.5, 2.2});
    }
    scene.surfaces.push_back(Wall({7, 0.3, 0}, x, z, 2, 2));
    scene.surfaces.back().passes = 0.7;
    AddBox(scene, later ? Vector{1.012, 4.388, 0} : Vector{1, 4.4, 0}, {1.5, 0.55, 1.9});
    return scene;
}

struct Registered {
    Vector station, displacement, turn;
};

/// Eight scans of the flat, as a project.
class Scanned {
public:
    explicit Scanned(const std::vector<Registered>& stations) {
        std::vector<CString> files;
        for (std::size_t i = 0; i < stations.size(); ++i) {
            files.push_back(folder_ / platform::FromUtf8(fmt::format("scan{}.pcd", i)));
            WriteScan(files.back(), stations[i], i);
        }
        const CString path = folder_ / L"flat.prj";
        EXPECT_TRUE(importer::Import(files, path, {}));
        project = std::move(*reports::WorldProject::Open(path));
    }
    Expected<ConsistencyReport> Check(unsigned threads = 0,
                                      const std::function<bool()>& proceed = {}) {
        detection::PlaneSearchOptions options;
        auto finding = reports::FindPlanes(project, options);
        if (!finding) return ErrorOf(finding);
        reports::ConsistencyOptions how;
        how.threads = threads;
        how.proceed = proceed;
        return reports::CheckConsistency(project, *finding->set, how);
    }
    reports::WorldProject project;

private:
    static void WriteScan(const CString& path, const Registered& at, std::size_t number) {
        RayOptions options;
        options.seed = number + 1;
        options.step = 0.8;
        options.station = at.station;
        options.displacement = at.displacement;
        options.turn = at.turn;
        const Vector stand = at.station + at.displacement;
        std::vector<float> places;
        RayScan(Flat(number >= 4), options, [&](const RayReturn& r) {
            if (!r.hit) return;
            const Vector local = r.point.position - stand;
            for (const double value : {local.x, local.y, local.z})
                places.push_back(static_cast<float>(value));
        });
        const std::string head = fmt::format(
            "VERSION 0.7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nWIDTH {0}\nVIEWPOINT {1} {2} {3} 1 "
            "0 "
            "0 0\nPOINTS {0}\nDATA binary\n",
            places.size() / 3, stand.x, stand.y, stand.z);
        std::vector<char> bytes(head.begin(), head.end());
        const char* first = reinterpret_cast<const char*>(places.data());
        bytes.insert(bytes.end(), first, first + places.size() * sizeof(float));
        WriteBytes(path, bytes.data(), bytes.size());
    }
    ScratchFolder folder_;
};

std::vector<Registered> Stations() {
    return {{{1.5, 1.2, 1.5}, {}, {}}, {{3.8, 2.5, 1.4}, {}, {}}, {{1.2, 3.4, 1.6}, {}, {}},
            {{4.4, 2.2, 1.5}, {}, {}}, {{5.6, 2.7, 1.5}, {}, {}}, {{8.5, 1.5, 1.6}, {}, {}},
            {{6.2, 4.2, 1.4}, {}, {}}, {{8.8, 3.9, 1.5}, {}, {}}};
}

TEST(Consistency, FindsStationsOfOneRegistrationInPlace) {
    Scanned scan(Stations());
    const auto report = scan.Check();
    ASSERT_TRUE(report) << report.error().message;
    ASSERT_EQ(report->stations.size(), 8u);
    EXPECT_LT(report->offset, 0.0005);
    EXPECT_EQ(report->moved, 0u);
    for (const StationConsistency& station : report->stations) {
        EXPECT_LT(Length(station.shift), 0.0004) << station.number;
        EXPECT_LT(Length(station.rotation), 0.3 * kHundredth) << station.number;
        EXPECT_LT(station.offset, 0.001);
        EXPECT_EQ(station.weak, 0u);
        EXPECT_EQ(station.name, fmt::format("scan{}", station.number));
    }
    EXPECT_GT(report->pairs.size(), 20u);
}

// BEHAVIOUR E3
TEST(Consistency, RecoversHowStationsWereMovedAndTurned) {
    std::vector<Registered> stations = Stations();
    stations[1].displacement = {0.003, 0, 0};
    stations[3].displacement = {0, 0, -0.005};
    stations[6].displacement = {0.006, -0.008, 0};
    stations[5].turn = {0, 0, 5 * kHundredth};
    Scanned scan(stations);
    const auto report = scan.Check(1);
    ASSERT_TRUE(report) << report.error().message;
    ASSERT_EQ(report->stations.size(), 8u);
    for (std::size_t i = 0; i < stations.size(); ++i) {
        const StationConsistency& station = report->stations[i];
        const bool moved = i == 1 || i == 3 || i == 5 || i == 6;
        // What brings it back is the opposite of what was done to it.
        EXPECT_LT(Length(station.shift + stations[i].displacement), 0.0005) << i;
        EXPECT_LT(Length(station.rotation + stations[i].turn), 0.5 * kHundredth) << i;
        EXPECT_EQ(station.moved, moved) << i;
    }
    EXPECT_EQ(report->moved, 4u);
    EXPECT_GT(report->stations[6].offset, 0.002);
    EXPECT_NEAR(report->stations[5].turn, 5 * kHundredth, 2 * kHundredth);
    const auto again = scan.Check(3);
    ASSERT_TRUE(again);
    for (std::size_t i = 0; i < stations.size(); ++i) {
        EXPECT_EQ(again->stations[i].shift.x, report->stations[i].shift.x);
        EXPECT_EQ(again->stations[i].rotationSigma.z, report->stations[i].rotationSigma.z);
    }
}

TEST(Consistency, IsCancelledWhileItAdjusts) {
    // Reading the points asks a few times; the hundreds after that are of the adjustments.
    const std::vector<Registered> all = Stations();
    Scanned scan({all[0], all[1], all[2]});
    int left = 150;
    const auto report = scan.Check(1, [&] { return --left > 0; });
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::Cancelled);
}

TEST(Consistency, NeedsTwoStationsThatSawOnePlane) {
    Scanned alone({Stations()[0]});
    const auto report = alone.Check();
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::BadInput);
    EXPECT_NE(report.error().message.find("one station"), std::string::npos);
}

}  // namespace
}  // namespace orvix::test
