// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scans/ptx_writer.h"

#include <fmt/format.h>

#include <iterator>
#include <string>
#include <system_error>

#include "orvix/platform/file.h"

namespace orvix::test {

using detail::Vector, detail::operator+;

void WritePtx(const RayScene& scene, std::span<const RayOptions> stations, const CString& path) {
    std::error_code error;
    platform::File file = platform::File::Create(path, error);
    std::string text;
    for (const RayOptions& station : stations) {
        const RayGrid grid = RayGridOf(station);
        const Vector at = station.station + station.displacement;
        const std::string place = fmt::format("{:.5f} {:.5f} {:.5f}", at.x, at.y, at.z);
        text += fmt::format("{}\n{}\n{}\n", grid.columns, grid.rows, place);
        text += "1 0 0\n0 1 0\n0 0 1\n1 0 0 0\n0 1 0 0\n0 0 1 0\n" + place + " 1\n";
        RayScan(scene, station, [&](const RayReturn& r) {
            const auto colour = static_cast<unsigned>(r.point.plane + 1) & 0xFFFFFF;
            if (r.hit)
                fmt::format_to(std::back_inserter(text), "{:.5f} {:.5f} {:.5f} 0.5 {} {} {}\n",
                               r.local.x, r.local.y, r.local.z, colour >> 16, colour >> 8 & 0xFF,
                               colour & 0xFF);
            else
                text += "0 0 0 0.5 0 0 0\n";
            if (text.size() < (std::size_t{4} << 20)) return;
            file.Append(text.data(), text.size(), error);
            text.clear();
        });
    }
    file.Append(text.data(), text.size(), error);
    file.Close(error);
}

}  // namespace orvix::test
