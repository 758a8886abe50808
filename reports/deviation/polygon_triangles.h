// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::reports {

/// Cuts a flat polygon in space into triangles that run the same way around, and appends them.
///
/// Shape      a simple polygon; one that is not comes out in some triangles over the same corners.
///            One less than its corners, less one, triangles; none of a polygon without area.
/// Order      a function of the corners alone.
/// Cost       the square of the corners; a triangle costs nothing.
/// Source     G. H. Meisters: Polygons have ears. American Mathematical Monthly 82 (1975), 648-651.
void AddTriangles(const std::vector<SimplePointT<double>>& ring,
                  std::vector<std::array<SimplePointT<double>, 3>>& triangles);

}  // namespace orvix::reports
