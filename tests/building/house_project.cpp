// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/building/house_project.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <future>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "importer/import_scans.h"
#include "importer/memory_plan.h"
#include "orvix/geometry/sine_cosine.h"
#include "reports/station_list.h"
#include "tests/importer/memory_scan.h"

namespace orvix::building {
namespace {

using detail::operator-;

HouseStation ScanFrom(const test::HouseScene& house, const SimplePointT<double>& place,
                      std::size_t number, double step) {
    HouseStation station{place, {}};
    test::RayOptions options;
    options.seed = number + 1;
    options.step = step;
    options.station = place;
    test::RayScan(house.Scene(), options, [&](const test::RayReturn& back) {
        if (back.hit) station.points.push_back(back.local);
    });
    return station;
}

detail::SineCosine TurnOf(double degrees) {
    return detail::SineCosineOf(degrees * std::numbers::pi / 180);
}

importer::test::MemoryScan MemoryScanOf(const HouseStation& station, const HouseImport& how) {
    const auto [sine, cosine] = TurnOf(how.turn);
    const auto half = TurnOf(how.turn / 2);
    importer::ScanPose pose;
    pose.position = {cosine * station.place.x - sine * station.place.y + how.shift.x,
                     sine * station.place.x + cosine * station.place.y + how.shift.y,
                     station.place.z + how.shift.z};
    pose.rotation = {half.cosine, 0, 0, half.sine};
    importer::test::MemoryScan scan;
    scan.pointsPerPiece = 50'000;
    scan.info.scans = {{"station", pose, importer::MapOf(pose)}};
    if (!how.poses) scan.info.scans[0].pose.reset();
    for (std::size_t i = 0; i < station.points.size(); i += how.every) {
        const SimplePointT<double>& p = station.points[i];
        scan.points.push_back({p.x, p.y, p.z});
    }
    return scan;
}

}  // namespace

std::vector<HouseStation> ScanHouse(const test::HouseScene& house,
                                    const std::vector<SimplePointT<double>>& places, double step) {
    std::vector<std::future<HouseStation>> work;
    for (std::size_t i = 0; i < places.size(); ++i)
        work.push_back(std::async(std::launch::async, [&house, &places, step, i] {
            return ScanFrom(house, places[i], i, step);
        }));
    std::vector<HouseStation> stations;
    for (auto& one : work) stations.push_back(one.get());
    return stations;
}

HouseProject::HouseProject(const std::vector<HouseStation>& stations, const HouseImport& how)
    : how_(how) {
    std::vector<importer::test::MemoryScan> scans;
    for (const HouseStation& station : stations) scans.push_back(MemoryScanOf(station, how));
    const CString path = folder_ / L"house.prj";
    const auto report = importer::ImportScans(importer::test::Open(scans), path, {},
                                              importer::PlanMemory(std::uint64_t{1} << 28, 2));
    if (!report) throw std::runtime_error(report.error().message);
    origin_ = {report->origin[0], report->origin[1], report->origin[2]};
    for (const auto& scan : scans) points_ += scan.points.size();
    auto opened = detail::OpenProject::Open(path);
    if (!opened) throw std::runtime_error(opened.error().message);
    project_ = std::move(*opened);
    const auto scanners = reports::NumberedScanners(project_->Manager());
    if (!scanners) throw std::runtime_error(scanners.error().message);
    detection::PlaneSearchOptions options;
    for (std::size_t i = 0; i < scanners->size(); ++i) {
        if (!(*scanners)[i]) continue;
        stations_.push_back({static_cast<std::uint16_t>(i), *(*scanners)[i]});
        options.stations.push_back(*(*scanners)[i]);
    }
    auto search = detection::PlaneSearch::Run(project_->Core(), options);
    if (!search) throw std::runtime_error(search.error().message);
    search_ = std::move(*search);
    planes_ = std::make_unique<detection::SearchedPlanes>(project_->Core(), *search_);
}

Expected<Building> HouseProject::Search(BuildingOptions options) const {
    options.stations = stations_;
    return FindBuilding(project_->Core(), *planes_, options);
}

Building HouseProject::Find(BuildingOptions options) const {
    auto found = Search(std::move(options));
    EXPECT_TRUE(found) << found.error().message;
    return found ? std::move(*found) : Building{};
}

SimplePointT<double> HouseProject::Back(const SimplePointT<double>& p) const {
    const auto [sine, cosine] = TurnOf(how_.turn);
    const double x = p.x + origin_.x - how_.shift.x, y = p.y + origin_.y - how_.shift.y;
    return {cosine * x + sine * y, cosine * y - sine * x, p.z - Up()};
}

PlanPoint HouseProject::Back(const PlanPoint& p) const {
    const SimplePointT<double> place = Back({p.x, p.y, 0});
    return {place.x, place.y};
}

double HouseProject::Up() const {
    return how_.shift.z - origin_.z;
}

}  // namespace orvix::building
