// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/c/orvix.h"
#include "orvix/planes/seed/plane_mesh.h"

/// What stands behind the C interface's mesh handle.
struct orvix_mesh {
    orvix::detail::TriangleMesh mesh;
};
