// SPDX-License-Identifier: GPL-3.0-or-later
// The station files of a project: values without a header, read as far as they are there.
#include <Eigen/Geometry>

#include <array>
#include <cstddef>
#include <string>
#include <system_error>
#include <type_traits>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"

namespace orvix {
namespace {

static_assert(std::is_same_v<ScanRotation, Eigen::Transform<double, 3, Eigen::Affine>>);

/// Reads whole values of a station's file into `values`, as many as there are; false when the file
/// cannot be opened.
template <class Value, std::size_t kCount>
bool ReadStation(const ProjectManager& project, int station, const wchar_t* ending,
                 std::array<Value, kCount>& values) {
    const CString name = L"station_" + std::to_wstring(station) + ending;
    std::error_code error;
    const platform::File file =
        platform::File::OpenRead(platform::JoinPath(project.scanposFolder, name), error);
    if (error) return false;
    std::array<Value, kCount> stored;
    const std::size_t bytes = file.ReadAt(0, stored.data(), sizeof stored, error);
    std::copy_n(stored.begin(), bytes / sizeof(Value), values.begin());  // BEHAVIOUR H1
    return true;
}

}  // namespace

bool ProjectManager::GetScanPosition(const int& station, double& x, double& y, double& z) {
    std::array<double, 3> values{x, y, z};
    if (!ReadStation(*this, station, L".pos", values)) return false;
    x = values[0];
    y = values[1];
    z = values[2];
    return true;
}

bool ProjectManager::GetScanIntensityRanges(const int& station, std::int16_t& lowest,
                                            std::int16_t& highest) {
    std::array<std::int16_t, 2> values{lowest, highest};
    if (!ReadStation(*this, station, L".intens", values)) return false;
    lowest = values[0];
    highest = values[1];
    return true;
}

void ProjectManager::GetScanRotation(const int& station, ScanRotation& rotation) {
    rotation.setIdentity();
    std::array<double, 4> values{};
    if (!ReadStation(*this, station, L".orientation", values)) return;
    const Eigen::Vector3d axis(values[0], values[1], values[2]);
    rotation.linear() = Eigen::AngleAxisd(values[3], axis).toRotationMatrix();  // BEHAVIOUR H2
}

}  // namespace orvix
