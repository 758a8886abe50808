// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "orvix/c/boundary.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/transform_file.h"
#include "reports/planes_report.h"

/// What stands behind the C interface's handle of all planes: what was searched or saved, the open
/// project that it reads, and its planes in the world.
struct orvix_planes {
    std::shared_ptr<orvix::detail::OpenProject> project;
    orvix::detail::LocalToWorld frame;
    std::unique_ptr<orvix::detection::PlaneSearch> search;  ///< none of saved planes
    std::unique_ptr<orvix::detection::PlaneSet> set;
    std::vector<orvix::reports::WorldPlane> planes;
};

namespace orvix::detail {

/// The place of the plane of a number.
tl::expected<std::size_t, Refusal> PlaceOf(const orvix_planes& planes, std::uint32_t number);

}  // namespace orvix::detail
