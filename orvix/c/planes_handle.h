// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "detection/plane_search.h"
#include "orvix/c/boundary.h"
#include "orvix/project/open_project.h"
#include "orvix/project/transform_file.h"
#include "reports/planes_report.h"

/// What stands behind the C interface's handle of all planes: the search, the open project that it
/// reads, and its planes in the world.
struct orvix_planes {
    std::shared_ptr<orvix::detail::OpenProject> project;
    orvix::detail::LocalToWorld frame;
    orvix::detection::Detail detail = orvix::detection::Detail::Normal;
    std::unique_ptr<orvix::detection::PlaneSearch> search;
    std::vector<orvix::reports::WorldPlane> planes;
};

namespace orvix::detail {

/// Planes are numbered from 1.
Answer RequirePlane(const orvix_planes& planes, std::uint32_t number);

}  // namespace orvix::detail
