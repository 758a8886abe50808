// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/planes_points.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "output/colour.h"
#include "output/text_file.h"

namespace orvix::output {

namespace {

using detection::PlaneSet;

constexpr std::size_t kPointBytes = 31;
constexpr Colour kNoPlane{160, 160, 160};

std::array<std::uint8_t, kPointBytes> RecordOf(const SimplePointT<double>& at,
                                               std::uint32_t number) {
    std::array<std::uint8_t, kPointBytes> record;
    const Colour colour = number == 0 ? kNoPlane : PlaneColour(number);
    std::memcpy(record.data(), &at.x, 8);
    std::memcpy(record.data() + 8, &at.y, 8);
    std::memcpy(record.data() + 16, &at.z, 8);
    record[24] = colour.r;
    record[25] = colour.g;
    record[26] = colour.b;
    std::memcpy(record.data() + 27, &number, 4);
    return record;
}

template <class Use>
Expected<void> ForEachPlanePoint(CAlivePointReader& reader, const PlaneSet& planes, Use&& use) {
    const auto useAll = [&use](const detection::PlanePoints& block) {
        for (std::size_t i = 0; i < block.points.size(); ++i)
            use(block.points[i], block.firstRecord + i, block.planes[i]);
    };
    for (std::size_t chunk = 0; chunk < planes.Chunks(); ++chunk)
        if (auto done = planes.ReadChunk(reader, chunk, useAll); !done) return done;
    return {};
}

}  // namespace

Expected<void> WritePlanePoints(const CString& path, detail::OpenProject& project,
                                const PlaneSet& planes, const detail::LocalToWorld& frame) {
    TextFile file(path);
    file.Print(
        "ply\nformat binary_little_endian 1.0\nelement vertex {}\nproperty double x\n"
        "property double y\nproperty double z\nproperty uchar red\nproperty uchar green\n"
        "property uchar blue\nproperty int plane\nend_header\n",
        planes.Points());
    if (planes.Points() > 0) {
        const auto reader = project.Core().CreateAlivePointReader();
        auto done = ForEachPlanePoint(
            *reader, planes, [&](const auto& p, std::uint64_t, std::int32_t plane) {
                const auto record = RecordOf(frame.ToWorld(SimplePointT<double>{p.x, p.y, p.z}),
                                             planes.NumberOf(plane));
                file.Append(record.data(), record.size());
            });
        if (!done) return done;
    }
    return file.Commit();
}

}  // namespace orvix::output
