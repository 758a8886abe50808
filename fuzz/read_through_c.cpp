// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/small_project.h"
#include "orvix/c/orvix.h"
#include "orvix/platform/text.h"

namespace orvix::fuzz {
namespace {

constexpr std::uint64_t kMemory = std::uint64_t{64} << 20;
constexpr std::uint64_t kFew = 200;  // of any list that could be long

template <class Struct>
Struct Sized() {
    Struct made{};
    made.size = sizeof made;
    return made;
}

class CHost {
public:
    explicit CHost(const CString& file) : name_(platform::ToUtf8(file)) {}
    ~CHost() { orvix_project_close(project_); }
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

    void Read(Searches searches) {
        auto check = Sized<orvix_check_options>();
        std::uint64_t faults = 0;
        Ok(orvix_project_check(name_.c_str(), &check, &faults, &error_));
        if (!Ok(orvix_project_open(name_.c_str(), nullptr, &project_, &error_))) return;
        if (!Ok(orvix_project_get_info(project_, &info_, &error_))) return;
        ReadStations();
        for (const std::int32_t level : {1000, 100, 10}) ReadLevel(level);
        ReadPoints();
        ReadHistograms();
        CutAndPick();
        if (searches == Searches::Made) GrowPlane();
    }

private:
    bool Ok(orvix_status status) {
        if (status == ORVIX_OK) return true;
        Require(error_.status == status && error_.text[0] != '\0', "an error has a sentence");
        Require(std::memchr(error_.text, 0, sizeof error_.text) != nullptr, "a text ends");
        return false;
    }

    void ReadStations() {
        auto station = Sized<orvix_station_info>();
        for (const std::uint32_t number : {0U, 1U, 70'000U})
            Ok(orvix_project_get_station(project_, number, &station, &error_));
    }

    void ReadLevel(std::int32_t level) {
        const void* records = nullptr;
        std::uint64_t count = 0;
        if (!Ok(orvix_cells_borrow(project_, level, &records, &count, &error_))) return;
        auto cell = Sized<orvix_cell>();
        for (std::uint64_t i = 0; i < std::min(count, kFew); ++i)
            Ok(orvix_cell_get(project_, level, i, &cell, &error_));
        for (const double* world : {info_.origin, info_.min, info_.max})
            Ok(orvix_cell_at(project_, level, world, &cell, &error_));
        if (level == ORVIX_LEVEL_100CM)
            ReadRuns(static_cast<const orvix_grid_cell*>(records), count);
        const orvix_run* runs = nullptr;
        Ok(orvix_fine_runs_borrow(project_, &runs, &count, &error_));
    }

    // The runs as the index has them, true or not.
    void ReadRuns(const orvix_grid_cell* cells, std::uint64_t count) {
        std::vector<orvix_run> runs;
        for (std::uint64_t i = 0; i < std::min(count, kFew); ++i)
            runs.push_back({cells[i].offset, cells[i].count, 0});
        points_.resize(4096);
        Ok(orvix_points_read_runs(project_, runs.data(), runs.size(), points_.data(),
                                  points_.size(), &count, &error_));
    }

    void ReadPoints() {
        const std::uint64_t count = std::min<std::uint64_t>(info_.points, 4096);
        points_.assign(count, {});
        std::vector<double> xyz(3 * count);
        if (!Ok(orvix_points_read(project_, 0, count, points_.data(), &error_))) return;
        Ok(orvix_points_read_world(project_, 0, count, xyz.data(), &error_));
        orvix_neighbours* near = nullptr;
        if (!Ok(orvix_neighbours_open(points_.data(), count, sizeof(orvix_point), &near, &error_)))
            return;
        std::array<std::int32_t, kFew> indices{};
        std::uint64_t found = 0;
        const std::array<double, 3> place{0.1, 0.1, 0};
        Ok(orvix_neighbours_within(near, place.data(), 0.2, indices.data(), indices.size(), &found,
                                   &error_));
        Ok(orvix_neighbours_nearest(near, place.data(), indices.data(), &error_));
        orvix_neighbours_close(near);
    }

    void ReadHistograms() {
        std::array<double, 64> samples{};
        std::uint64_t count = 0;
        for (const std::int32_t which : {ORVIX_HISTOGRAM_INTENSITY, ORVIX_HISTOGRAM_HEIGHT}) {
            Ok(orvix_histogram_sample(project_, which, 0, samples.size(), samples.data(),
                                      samples.size(), &count, &error_));
        }
    }

    static std::int32_t ORVIX_C_CALL Pass(void* user, std::uint64_t, std::uint64_t count,
                                          const orvix_point*, const std::uint8_t*) {
        *static_cast<std::uint64_t*>(user) += count;
        return 1;
    }

    void CutAndPick() {
        auto how = Sized<orvix_section_options>();
        how.device = ORVIX_DEVICE_CPU;
        orvix_section* section = nullptr;
        Require(Ok(orvix_section_open(&how, &section, &error_)), "a section opens");
        const std::array<double, 3> normal{1, 2, 0.5};
        Ok(orvix_section_set_plane(section, info_.origin, normal.data(), &error_));
        if (Ok(orvix_section_set_project(section, project_, &error_))) {
            std::uint64_t passed = 0;
            auto options = Sized<orvix_stream_options>();
            options.wanted = 1U << ORVIX_CLASS_IN;
            options.chunk = Pass;
            options.user = &passed;
            auto counts = Sized<orvix_section_counts>();
            if (Ok(orvix_section_stream(section, &options, &counts, &error_)))
                Require(passed >= counts.in_slab, "points of a wanted class are handed out");
            const std::array rays{
                orvix_picking_ray{
                    {info_.min[0], info_.min[1], info_.max[2]}, {1, 1, -1}, 0.1, 0.01},
                orvix_picking_ray{{0, 0, 0}, {0, 0, 1}, 1e9, 0}};
            std::array<orvix_snapped_point, rays.size()> found{};
            Ok(orvix_section_snap_rays_in_project(section, rays.data(), rays.size(), found.data(),
                                                  &error_));
        }
        orvix_section_close(section);
    }

    void GrowPlane() {
        if (points_.empty()) return;
        auto options = Sized<orvix_plane_options>();
        options.seed_is_local = 1;
        options.memory_limit = kMemory;
        options.reach = 5;
        const orvix_point& first = points_.front();
        const std::array<double, 3> seed{first.x, first.y, first.z};
        orvix_plane* plane = nullptr;
        if (!Ok(orvix_plane_grow(project_, seed.data(), &options, &plane, &error_))) return;
        auto info = Sized<orvix_plane_info>();
        Ok(orvix_plane_get_info(plane, &info, &error_));
        Require(std::isfinite(info.area), "a plane has an area");
        orvix_mesh* mesh = nullptr;
        Ok(orvix_plane_mesh(plane, &mesh, &error_));
        orvix_mesh_close(mesh);
        orvix_plane_close(plane);
    }

    std::string name_;
    orvix_project* project_ = nullptr;
    orvix_project_info info_ = Sized<orvix_project_info>();
    orvix_error error_ = Sized<orvix_error>();
    std::vector<orvix_point> points_;
};

}  // namespace

void ReadThroughC(const CString& project, Searches searches) {
    CHost(project).Read(searches);
}

}  // namespace orvix::fuzz
