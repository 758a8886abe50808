// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "bench/gpu/scanned_hall.h"
#include "bench/verbs/plain_pass.h"
#include "importer/import.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_paths.h"
#include "support/scratch_folder.h"

namespace orvix::bench {

/// Imports a hall's points, with intensities and colours that vary, and removes the scan.
inline importer::ImportReport ImportHall(const CString& scan, const CString& project,
                                         std::uint64_t count) {
    constexpr std::size_t kBytes = 12 + 2 + 3;
    const std::string head = fmt::format(
        "ply\nformat binary_little_endian 1.0\nelement vertex {}\nproperty float x\n"
        "property float y\nproperty float z\nproperty ushort intensity\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nend_header\n",
        count);
    std::vector<std::uint8_t> bytes(head.begin(), head.end());
    bytes.resize(head.size() + count * kBytes);
    std::uint8_t* at = bytes.data() + head.size();
    std::uint32_t number = 0;
    for (const auto& point : ScannedHall(count)) {
        const auto shade = static_cast<std::uint16_t>(++number * 2654435761u >> 16);
        std::memcpy(at, &point, 12);
        std::memcpy(at + 12, &shade, 2);
        std::memset(at + 14, shade >> 8, 3);
        at += kBytes;
    }
    std::error_code error;
    platform::File::Create(scan, error).Append(bytes.data(), bytes.size(), error);
    Require(!error, "the scan cannot be written");
    bytes = {};
    const auto report = importer::Import({scan}, project, {});
    Require(report && report->written == count, "the import failed");
    platform::RemoveFile(scan, error);
    return *report;
}

/// A hall's project in a folder of its own.
struct HallProject {
    explicit HallProject(std::uint64_t points) {
        imported = ImportHall(folder / L"hall.ply", project, points);
        Require(detail::FindProject(paths, project).has_value(), "there is no project");
    }

    [[nodiscard]] std::uint64_t PointBytes() const { return imported.written * kAlivePointBytes; }
    void ReadPoints() const { Keep(ReadMapped(paths.gridPts)); }

    test::ScratchFolder folder;
    CString project = folder / L"hall.prj";
    importer::ImportReport imported;
    ProjectManager paths;
};

}  // namespace orvix::bench
