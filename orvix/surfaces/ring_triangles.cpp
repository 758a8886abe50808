// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/ring_triangles.h"

#include <cmath>
#include <unordered_map>

#include "orvix/surfaces/planar_triangulation.h"

namespace orvix::detail {

namespace {

using Face = PlanarTriangulation::Face_handle;
using Point = SimplePoint2DT<double>;

PlanarTriangulation Triangulated(const std::vector<std::vector<Point>>& rings,
                                 std::vector<Point>& points) {
    PlanarTriangulation triangulation;
    for (const std::vector<Point>& ring : rings) {
        std::vector<PlanarTriangulation::Vertex_handle> corners;
        for (const Point& p : ring) {
            corners.push_back(triangulation.insert({p.x, p.y}));
            if (corners.back()->index < 0)
                corners.back()->index = static_cast<std::int32_t>(points.size());
            points.push_back(p);
        }
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const auto& next = corners[(i + 1) % corners.size()];
            if (corners[i] != next) triangulation.insert_constraint(corners[i], next);
        }
    }
    for (auto v = triangulation.finite_vertices_begin(); v != triangulation.finite_vertices_end();
         ++v) {
        if (v->index >= 0) continue;
        v->index = static_cast<std::int32_t>(points.size());
        points.push_back({v->point().x(), v->point().y()});
    }
    return triangulation;
}

// Which faces hang together without a ring's side between them.
class Pieces {
public:
    explicit Pieces(const PlanarTriangulation& triangulation) {
        Flood(triangulation.infinite_face());
        for (const Face face : triangulation.finite_face_handles()) Flood(face);
    }
    // 0 is what no ring encloses.
    [[nodiscard]] std::size_t Of(Face face) const { return pieces_.at(face); }
    [[nodiscard]] std::size_t Count() const { return count_; }

private:
    void Flood(Face start) {
        if (pieces_.contains(start)) return;
        std::vector<Face> open{start};
        pieces_[start] = count_;
        while (!open.empty()) {
            const Face face = open.back();
            open.pop_back();
            for (int side = 0; side < 3; ++side) {
                const Face next = face->neighbor(side);
                if (face->is_constrained(side) || pieces_.contains(next)) continue;
                pieces_[next] = count_;
                open.push_back(next);
            }
        }
        ++count_;
    }

    std::unordered_map<Face, std::size_t, CGAL::Handle_hash_function> pieces_;
    std::size_t count_ = 0;
};

// A place well within each piece: the middle of its largest triangle.
struct Witness {
    double doubleArea = -1;
    Point place;
};

std::vector<Witness> WitnessesOf(const PlanarTriangulation& triangulation, const Pieces& pieces) {
    std::vector<Witness> witnesses(pieces.Count());
    for (const Face face : triangulation.finite_face_handles()) {
        const auto &a = face->vertex(0)->point(), &b = face->vertex(1)->point(),
                   &c = face->vertex(2)->point();
        const double area = (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
        Witness& witness = witnesses[pieces.Of(face)];
        if (area <= witness.doubleArea) continue;
        witness = {area, {(a.x() + b.x() + c.x()) / 3, (a.y() + b.y() + c.y()) / 3}};
    }
    return witnesses;
}

}  // namespace

RingTriangles TrianglesOf(const std::vector<std::vector<Point>>& rings,
                          const std::function<bool(const Point&)>& inside) {
    RingTriangles result;
    const PlanarTriangulation triangulation = Triangulated(rings, result.points);
    if (triangulation.dimension() < 2) return result;
    const Pieces pieces(triangulation);
    std::vector<char> kept;
    for (const Witness& witness : WitnessesOf(triangulation, pieces))
        kept.push_back(witness.doubleArea > 0 && inside(witness.place) ? 1 : 0);
    kept[0] = 0;
    for (const Face face : triangulation.finite_face_handles()) {
        if (kept[pieces.Of(face)] == 0) continue;
        std::array<std::uint32_t, 3> triangle{};
        for (int k = 0; k < 3; ++k)
            triangle[static_cast<std::size_t>(k)] =
                static_cast<std::uint32_t>(face->vertex(k)->index);
        result.triangles.push_back(triangle);
    }
    return result;
}

}  // namespace orvix::detail
