// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

/// The 2D coordinates of a plane a*x + b*y + c*z + d = 0: two unit axes, and the mapping of
/// positions to and from them.
///
/// Outlines, bounds and constrained surfaces all use these coordinates, so a ring of a
/// FittedPlane's outline can be laid over the 2D positions of any other points of that plane.
///
///     const PlaneFrame frame(0, 0, 1, -2);                   // the plane z = 2
///     const auto flat = frame.To2D({3, 4, 2});               // (-4, 3)
///     const auto back = frame.To3D(flat);                    // (3, 4, 2)
///
/// Shape      n = (a, b, c) / |(a, b, c)|. u = (b, -a, 0), a horizontal direction; where both |a|
///            and |b| are below the double epsilon the plane is level and u = (b, -c, 0). v = n x
///            u. Both axes are divided by their length where that is above 0. (u, v, n) is
///            right-handed: counter-clockwise rings look so from the side that n points to.
/// Boundaries a 2D position is (u.p, v.p): the reference point is not subtracted, so planes that
///            share a normal share their 2D coordinates.
/// Errors     none are reported; a zero normal gives coordinates that are not numbers.
/// Threads    a value; const calls may run side by side.
class ORVIX_API PlaneFrame {
public:
    /// A frame of nothing: every position maps to (0, 0).
    PlaneFrame() = default;

    /// A `reference` whose coordinates are all within the double epsilon of 0 is replaced by its
    /// projection onto the plane; any other one is kept as given.
    PlaneFrame(double a, double b, double c, double d, const SimplePointT<double>& reference = {});

    SimplePoint2DT<double> To2D(const SimplePointT<double>& p) const {  // BEHAVIOUR F2
        return {u_.x * p.x + u_.y * p.y + u_.z * p.z, v_.x * p.x + v_.y * p.y + v_.z * p.z};
    }

    /// The point of the plane at 2D position `p`; To2D gives `p` back up to rounding.
    SimplePointT<double> To3D(const SimplePoint2DT<double>& p) const {
        return {u_.x * p.x + v_.x * p.y + foot_.x, u_.y * p.x + v_.y * p.y + foot_.y,
                u_.z * p.x + v_.z * p.y + foot_.z};
    }

    /// Signed distance of `p` from the plane, positive on the normal's side.
    double Distance(const SimplePointT<double>& p) const {
        return normal_.x * p.x + normal_.y * p.y + normal_.z * p.z + offset_;
    }

    const SimplePointT<double>& U() const { return u_; }
    const SimplePointT<double>& V() const { return v_; }
    const SimplePointT<double>& Normal() const { return normal_; }  ///< of unit length
    const SimplePointT<double>& Reference() const { return reference_; }
    double NormalLength() const { return normalLength_; }  ///< of (a, b, c)
    double A() const { return a_; }
    double B() const { return b_; }
    double C() const { return c_; }
    double D() const { return d_; }

private:
    double a_ = 0;
    double b_ = 0;
    double c_ = 0;
    double d_ = 0;
    SimplePointT<double> reference_;
    double normalLength_ = 0;
    SimplePointT<double> normal_;
    SimplePointT<double> u_;
    SimplePointT<double> v_;
    double offset_ = 0;          // d for the unit normal
    SimplePointT<double> foot_;  // the plane's point nearest the origin
};

}  // namespace orvix
