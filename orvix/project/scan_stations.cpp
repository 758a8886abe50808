// SPDX-License-Identifier: GPL-3.0-or-later
// The station files of a project: values without a header, read as far as they are there.
#include <Eigen/Geometry>

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "orvix/project/project_manager.h"
#include "orvix/project/station_files.h"

namespace orvix {
namespace {

static_assert(std::is_same_v<ScanRotation, Eigen::Transform<double, 3, Eigen::Affine>>);

/// Reads whole values of a station's file into `values`, as many as there are; false when the file
/// cannot be opened.
template <class Value, std::size_t kCount>
bool ReadStation(const CString& path, std::array<Value, kCount>& values) {
    const detail::StationBytes read = detail::ReadStationBytes(path, sizeof values);
    if (read.openError) return false;
    const std::size_t whole = read.bytes.size() / sizeof(Value);
    std::memcpy(values.data(), read.bytes.data(), whole * sizeof(Value));  // BEHAVIOUR H1
    return true;
}

}  // namespace

bool ProjectManager::GetScanPosition(const int& station, double& x, double& y, double& z) {
    std::array<double, 3> values{x, y, z};
    if (!ReadStation(detail::StationPathsOf(*this, station).position, values)) return false;
    x = values[0];
    y = values[1];
    z = values[2];
    return true;
}

bool ProjectManager::GetScanIntensityRanges(const int& station, std::int16_t& lowest,
                                            std::int16_t& highest) {
    std::array<std::int16_t, 2> values{lowest, highest};
    if (!ReadStation(detail::StationPathsOf(*this, station).intensities, values)) return false;
    lowest = values[0];
    highest = values[1];
    return true;
}

void ProjectManager::GetScanRotation(const int& station, ScanRotation& rotation) {
    rotation.setIdentity();
    std::array<double, 4> values{};
    if (!ReadStation(detail::StationPathsOf(*this, station).orientation, values)) return;
    const Eigen::Vector3d axis(values[0], values[1], values[2]);
    rotation.linear() = Eigen::AngleAxisd(values[3], axis).toRotationMatrix();  // BEHAVIOUR H2
}

}  // namespace orvix
