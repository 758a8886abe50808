// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/outlines/planes_id.h"

#include "output/ifc/global_id.h"

namespace orvix::output {

std::string GlobalIdOf(const std::string& role, const std::vector<reports::WorldPlane>& planes) {
    std::string bytes = role;
    AppendBytes(bytes, std::uint64_t{planes.size()});
    for (const reports::WorldPlane& plane : planes) {
        AppendBytes(bytes, plane.points);
        for (const double value : plane.equation) AppendBytes(bytes, value);
        for (const double value : {plane.centroid.x, plane.centroid.y, plane.centroid.z})
            AppendBytes(bytes, value);
        bytes += plane.kind;
    }
    return GlobalIdOf(bytes);
}

}  // namespace orvix::output
