// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

#include "orvix/geometry/vector.h"

namespace orvix::reports {

/// A section plane in the world, and the directions in which a viewer sees it.
///
///     const auto frame = SectionFrame::OfPlane({0, -1, 0, 6'277'500});   // looking north
///     const Vector seen = frame->ToSection(world);                       // x right, y away, z up
///
/// Units      metres, world coordinates, double precision.
/// Shape      right, away and up are of length 1 and at right angles, `right` x `away` = `up`. The
///            viewer stands on the side that `away` leads from.
/// Boundaries nothing where there is no such plane: a normal of 0, two places that are one, a
///            number that is not finite or a plane further than 1e9 m from zero.
/// Threads    a plain value.
struct SectionFrame {
    using Vector = detail::Vector;

    Vector origin{0, 0, 0};  ///< of x and z, on the plane
    Vector right{1, 0, 0};
    Vector away{0, 0, -1};
    Vector up{0, 1, 0};

    /// a x + b y + c z + d = 0, seen from the side that (a, b, c) points to. `origin` is the place
    /// of the plane that is nearest to the world's zero; `up` is as near to the world's z as the
    /// plane allows. On a level plane `right` is the world's x.
    static std::optional<SectionFrame> OfPlane(const std::array<double, 4>& equation);
    /// A plan: level, seen from above; x and z are the world's x and y.
    static std::optional<SectionFrame> AtLevel(double height);
    /// Upright through two places in plan, the first to the left of the second; x counts from the
    /// first, z is the world's z.
    static std::optional<SectionFrame> Through(const std::array<double, 4>& places);

    /// a, b, c, d of the plane, the normal of length 1 and towards the viewer.
    [[nodiscard]] std::array<double, 4> Equation() const;
    [[nodiscard]] Vector ToSection(const Vector& world) const;
};

}  // namespace orvix::reports
