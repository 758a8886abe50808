// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Constrained_triangulation_face_base_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_data_structure_2.h>
#include <CGAL/Triangulation_hierarchy_2.h>
#include <CGAL/Triangulation_vertex_base_2.h>

#include <cstdint>

namespace orvix {

/// A triangulation vertex that knows which point of the caller's list it stands for.
///
/// A fresh vertex has the index -1: no point of the list is assigned to it.
template <class Traits, class Base = CGAL::Triangulation_vertex_base_2<Traits>>
class CustomVertexBase : public Base {
public:
    template <class Structure>
    struct Rebind_TDS {
        using Other =
            CustomVertexBase<Traits, typename Base::template Rebind_TDS<Structure>::Other>;
    };

    using Base::Base;

    std::int32_t index = -1;
};

namespace detail {
using PlanarVertex = CGAL::Triangulation_hierarchy_vertex_base_2<CustomVertexBase<CGAL::Epick>>;
using PlanarFace = CGAL::Constrained_triangulation_face_base_2<CGAL::Epick>;
using PlanarStructure = CGAL::Triangulation_data_structure_2<PlanarVertex, PlanarFace>;
using PlanarHierarchy = CGAL::Triangulation_hierarchy_2<CGAL::Constrained_Delaunay_triangulation_2<
    CGAL::Epick, PlanarStructure, CGAL::Exact_predicates_tag>>;
}  // namespace detail

/// The triangulation that PointCloudGeometrics builds: constrained Delaunay, by exact predicates.
///
/// Constraints that cross meet in a new vertex. A hierarchy finds a point's place in logarithmic
/// time, in whichever order points are inserted.
///
/// Include this header only where a triangulation is made or walked: it is costly to compile.
///
///     PlanarTriangulation triangulation;
///     triangulation.insert(CGAL::Epick::Point_2(0, 0))->index = 0;
///     PointCloudGeometrics::ExtractSurfaceFaces(triangulation, faces);
///
/// Threads one thread at a time per triangulation.
class PlanarTriangulation : public detail::PlanarHierarchy {
public:
    using detail::PlanarHierarchy::PlanarHierarchy;
};

}  // namespace orvix
