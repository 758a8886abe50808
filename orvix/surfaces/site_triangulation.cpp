// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/site_triangulation.h"

#include <algorithm>
#include <numeric>

#include "orvix/platform/asker.h"

namespace orvix::detail {
namespace {

using Edge = DelaunayEdges::Edge;
using Face = SiteTriangulation::Face_handle;
using Vertex = SiteTriangulation::Vertex_handle;

CGAL::Epick::Point_2 ToKernel(const SimplePoint2DT<double>& p) {
    return {p.x, p.y};
}

// A triangulation of one dimension finds its two ends at once and all else by searching.
void InsertLine(const PlanarSites& sites, SiteTriangulation& triangulation) {
    std::vector<std::uint32_t> order(sites.positions.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&](std::uint32_t p, std::uint32_t q) {
        return IsBefore(sites.positions[p], sites.positions[q]);
    });
    for (const std::uint32_t site : order)
        triangulation.insert(ToKernel(sites.positions[site]))->index =
            static_cast<std::int32_t>(sites.sources[site]);
}

/// Copies the triangles face by face, those of the outside with the infinite vertex. The note of an
/// edge is the number of the face to its left.
class Filling {
public:
    Filling(DelaunayEdges& edges, const std::function<bool()>& proceed,
            SiteTriangulation& triangulation)
        : edges_(edges), asker_(proceed, kStepsPerQuestion), structure_(triangulation.tds()) {
        structure_.clear();
        structure_.set_dimension(2);
        infinite_ = structure_.create_vertex();
        triangulation.set_infinite_vertex(infinite_);
    }

    void MakeVertices(const PlanarSites& sites) {
        vertices_.reserve(sites.positions.size());
        for (std::size_t site = 0; site < sites.positions.size(); ++site) {
            const Vertex vertex = structure_.create_vertex();
            vertex->set_point(ToKernel(sites.positions[site]));
            vertex->index = static_cast<std::int32_t>(sites.sources[site]);
            vertices_.push_back(vertex);
        }
    }

    [[nodiscard]] bool MakeFaces() {
        faces_.reserve(2 * vertices_.size());
        bool goesOn = true;
        edges_.ForEachTriangle([&](Edge edge) {
            goesOn = goesOn && asker_.GoesOn();
            if (goesOn) MakeFace(edge);
        });
        edges_.ForEachOutside([&](Edge rim) { MakeOutside(rim); });
        return goesOn;
    }

    [[nodiscard]] bool LinkFaces() {
        bool goesOn = true;
        edges_.ForEachEdge([&](Edge edge) {
            goesOn = goesOn && asker_.GoesOn();
            if (!goesOn) return;
            const Face left = FaceLeftOf(edge), right = FaceLeftOf(edge ^ 1);
            left->set_neighbor(CornerAcross(left, edge), right);
            right->set_neighbor(CornerAcross(right, edge ^ 1), left);
            if (IsOutside(left)) LinkOutside(left, edge);
            if (IsOutside(right)) LinkOutside(right, edge ^ 1);
        });
        return goesOn;
    }

private:
    void MakeFace(Edge first) {
        const auto [a, b, c] = edges_.CornersOf(first);
        const Face face = structure_.create_face(vertices_[a], vertices_[b], vertices_[c]);
        for (const Edge edge : {first, edges_.Next(first), edges_.Next(edges_.Next(first))})
            edges_.SetNote(edge, static_cast<std::uint32_t>(faces_.size()));
        for (int k = 0; k < 3; ++k) face->vertex(k)->set_face(face);
        faces_.push_back(face);
    }

    void MakeOutside(Edge rim) {
        const Face face = structure_.create_face(vertices_[edges_.Origin(rim)],
                                                 vertices_[edges_.Destination(rim)], infinite_);
        edges_.SetNote(rim, static_cast<std::uint32_t>(faces_.size()));
        infinite_->set_face(face);
        faces_.push_back(face);
    }

    bool IsOutside(Face face) const { return face->vertex(2) == infinite_; }
    Face FaceLeftOf(Edge edge) const { return faces_[edges_.Note(edge)]; }

    int CornerAcross(Face left, Edge edge) const {
        return SiteTriangulation::cw(left->index(vertices_[edges_.Origin(edge)]));
    }

    void LinkOutside(Face face, Edge rim) {
        const Face next = FaceLeftOf(edges_.Next(rim));  // shares the rim edge's end
        face->set_neighbor(0, next);
        next->set_neighbor(1, face);
    }

    static constexpr std::uint32_t kStepsPerQuestion = 16384;  // some milliseconds

    DelaunayEdges& edges_;
    Asker asker_;
    SiteTriangulation::Triangulation_data_structure& structure_;
    Vertex infinite_;
    std::vector<Vertex> vertices_;
    std::vector<Face> faces_;
};

}  // namespace

bool FillTriangulation(PlanarSites&& sites, DelaunayEdges&& edges,
                       const std::function<bool()>& proceed, SiteTriangulation& triangulation) {
    if (!edges.HasTriangles()) {
        InsertLine(sites, triangulation);
        return true;
    }
    Filling filling(edges, proceed, triangulation);
    filling.MakeVertices(sites);
    sites = {};
    const bool isWhole = filling.MakeFaces() && filling.LinkFaces();
    edges = {};
    return isWhole;
}

}  // namespace orvix::detail
