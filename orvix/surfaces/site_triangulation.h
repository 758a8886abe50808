// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/surfaces/delaunay_edges.h"
#include "orvix/surfaces/planar_sites.h"
#include "orvix/surfaces/planar_triangulation.h"

namespace orvix::detail {

/// A triangulation that takes constraints, and has no hierarchy: a vertex is found by walking to it from
/// a face that the caller names. For polylines, each of whose corners is near the one before.
using SiteVertex = CustomVertexBase<CGAL::Epick>;
using SiteTriangulation = CGAL::Constrained_Delaunay_triangulation_2<
    CGAL::Epick, CGAL::Triangulation_data_structure_2<SiteVertex, PlanarFace>,
    CGAL::Exact_predicates_tag>;

/// Fills an empty triangulation with sites and what is between them; a vertex has its site's place in
/// the caller's list as index. Both are used up, so that memory holds most of it once.
///
///     SiteTriangulation triangulation;
///     FillTriangulation(std::move(sites), std::move(edges), triangulation);
///     triangulation.insert_constraint(from, to);
///
/// A third of the time of inserting the sites one by one, in whichever order.
/// Boundaries sites on one line are inserted one by one, from end to end.
void FillTriangulation(PlanarSites&& sites, DelaunayEdges&& edges,
                       SiteTriangulation& triangulation);

}  // namespace orvix::detail
