// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/geometry/vector.h"

namespace orvix::reports {

/// A triangle made ready for the question how far points lie before it.
///
/// Units  metres, project frame.
/// Shape  normal . p + offset is a place's height over the front; rims[i] . p + rimOffsets[i] how far
///        its foot lies inside the i-th rim.
struct Face {
    std::array<detail::Vector, 3> corners;
    detail::Vector normal;
    double offset = 0;
    std::array<detail::Vector, 3> rims;
    std::array<double, 3> rimOffsets{};
    std::uint32_t element = 0;
    bool bothSides = false;  ///< it is seen from behind as well

    /// Without area there is no front: `normal` is zero then.
    static Face Of(const std::array<detail::Vector, 3>& corners, std::uint32_t element);

    [[nodiscard]] double HeightOf(const detail::Vector& p) const {
        return detail::Dot(normal, p) + offset;
    }
    /// How far the foot of a place lies outside, at most `most`; more than `most` where it lies
    /// further outside.
    [[nodiscard]] double OverhangOf(const detail::Vector& p, double most) const;
};

/// A cube.
struct Cube {
    detail::Vector middle;
    double half = 0;
};

/// Whether some place in a cube may lie within `reach` of a face and its foot within `overhang` of it:
/// no for certain, or yes perhaps.
bool MayBeNear(const Face& face, const Cube& cube, double reach, double overhang);

/// Faces by the boxes around them.
///
/// Order    what it finds is a function of faces and cube, whatever the tree looks like.
/// Lifetime borrows the faces.
/// Threads  const calls may run side by side.
/// Cost     64 bytes for each four faces; n log n to build, some 100 ns a call and what it finds.
class TriangleTree {
public:
    explicit TriangleTree(const std::vector<Face>& faces);

    /// The faces that MayBeNear of a cube, ascending.
    void FindNear(const Cube& cube, double reach, double overhang,
                  std::vector<std::uint32_t>& found) const;
    /// Whether some face crosses the way between two places. `hint`, the number of a face, is tried
    /// first, and becomes that of one that does: ways beside each other are mostly crossed by one face.
    [[nodiscard]] bool IsCrossed(const detail::Vector& from, const detail::Vector& to,
                                 std::uint32_t& hint) const;

private:
    struct Node {
        std::array<float, 3> low{}, high{};
        std::uint32_t first = 0;  // of its faces in order_; of a branch its second child
        std::uint32_t count = 0;  // 0: a branch, whose first child follows it
    };

    void Build(std::uint32_t first, std::uint32_t count);

    const std::vector<Face>& faces_;
    std::vector<std::uint32_t> order_;
    std::vector<Node> nodes_;
};

}  // namespace orvix::reports
