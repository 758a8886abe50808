// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/geometry/plane_frame.h"
#include "reports/deviation/triangle_tree.h"

namespace orvix::reports {

/// What points showed of a square of a face.
struct FaceCell {
    std::int64_t sum = 0;  ///< micrometres: of the points' heights over the front
    std::uint32_t points = 0;
    float area = 0;  ///< square metres that the element's triangles have in it
};

/// The surface of elements in squares, face by face: triangles of an element that lie on one plane are
/// one face.
///
///     FaceCells cells(faces, 0.1, 5'000'000);
///     cells.Add(triangle, place, micrometres);       // on any thread
///     cells.ForEach([&](std::uint32_t element, const Vector& middle, const FaceCell& cell) { ... });
///
/// Boundaries squares are of `side` metres; twice that, and again, where there were more than `most`.
/// Order     faces in the order of their first triangles; sums are of integers: the same whatever
///           the order of the calls.
/// Lifetime  borrows the faces.
/// Threads   Add may run side by side; nothing else while it does.
/// Cost      24 bytes a square, 4 more for each place of the rectangle around a face.
class FaceCells {
public:
    FaceCells(const std::vector<Face>& faces, double side, std::uint64_t most);

    [[nodiscard]] double Side() const { return side_; }
    /// Adds a point that lies before or behind a triangle.
    void Add(std::uint32_t triangle, const detail::Vector& place, std::int64_t micrometres);

    /// Calls use(element, middle, normal, cell) for each square that has some surface in it.
    template <class Use>
    void ForEach(Use&& use) const {
        for (const Plane& plane : planes_) {
            for (std::int64_t row = 0; row < plane.rows; ++row) {
                for (std::int64_t column = 0; column < plane.columns; ++column) {
                    const std::uint32_t slot =
                        slots_[plane.first +
                               static_cast<std::uint64_t>(row * plane.columns + column)];
                    if (slot == 0) continue;
                    use(plane.element,
                        plane.frame.To3D({(static_cast<double>(plane.left + column) + 0.5) * side_,
                                          (static_cast<double>(plane.bottom + row) + 0.5) * side_}),
                        plane.frame.Normal(), cells_[slot - 1]);
                }
            }
        }
    }

private:
    struct Plane {
        std::uint32_t element = 0;
        PlaneFrame frame;
        std::int64_t left = 0, bottom = 0;  // squares
        std::int64_t columns = 0, rows = 0;
        std::uint64_t first = 0;  // of its places in slots_
    };

    void FindPlanes();
    [[nodiscard]] bool Fits(double side, std::uint64_t most) const;
    void LayOut();
    void Cover(std::uint32_t triangle);
    [[nodiscard]] std::int64_t SquareOf(double coordinate) const;

    const std::vector<Face>& faces_;
    double side_;
    std::vector<std::uint32_t> planeOf_;  // of each triangle
    std::vector<Plane> planes_;
    std::vector<std::array<double, 4>> bounds_;  // of each in its frame, until they are laid out
    std::vector<std::uint32_t> slots_;           // 0: no surface; else the place in cells_ plus 1
    std::vector<FaceCell> cells_;
};

}  // namespace orvix::reports
