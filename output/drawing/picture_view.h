// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// A bound on a picture's plane, in metres; empty until something is added.
struct ViewBounds {
    double left = 1e300;
    double right = -1e300;
    double bottom = 1e300;
    double top = -1e300;

    void Add(double x, double y);
    [[nodiscard]] double Width() const { return right - left; }
    [[nodiscard]] double Height() const { return top - bottom; }
    [[nodiscard]] bool Empty() const { return right < left; }
    /// The same, `share` of its larger side wider all around, and at least `min` metres per side.
    [[nodiscard]] ViewBounds Widened(double share, double min) const;
};

/// A parallel projection onto a panel of a picture: which way is right, up and toward the viewer,
/// and which part of the world fills the panel.
class PictureView {
public:
    using Vector = detail::Vector;

    /// From above: x to the right, y up.
    static PictureView Plan();
    /// Looking at a plane from the side that its unit normal points to; the steepest direction of
    /// the plane is up. A plane within 8 degrees of level is seen as on a plan.
    static PictureView Facing(Vector normal);
    /// These directions right and up, of length 1 and at right angles.
    static PictureView Along(const Vector& right, const Vector& up);

    [[nodiscard]] double X(const Vector& p) const { return detail::Dot(p, right_); }
    [[nodiscard]] double Y(const Vector& p) const { return detail::Dot(p, up_); }
    [[nodiscard]] double Depth(const Vector& p) const { return -detail::Dot(p, toward_); }
    [[nodiscard]] const Vector& Toward() const { return toward_; }

    /// Fits `bounds` into the panel, at one scale for both directions.
    void Fit(const ViewBounds& bounds, const PixelRect& panel);
    [[nodiscard]] Pixel2 Place(const Vector& p) const { return PlaceAt(X(p), Y(p)); }
    /// A place by its coordinates along right and up, as those of the bounds fitted.
    [[nodiscard]] Pixel2 PlaceAt(double x, double y) const;
    [[nodiscard]] double PixelsPerMetre() const { return scale_; }
    /// What the panel shows, which is more than the bounds along one direction.
    [[nodiscard]] ViewBounds Shown() const;

    /// A name for the direction that goes right, or up, on the picture: "x", "-y", "z", or a
    /// compass bearing where y is north.
    [[nodiscard]] std::string RightName() const { return NameOf(right_); }
    [[nodiscard]] std::string UpName() const { return NameOf(up_); }

private:
    static std::string NameOf(const Vector& direction);

    Vector right_{1, 0, 0};
    Vector up_{0, 1, 0};
    Vector toward_{0, 0, 1};
    PixelRect panel_;
    double scale_ = 1;
    double centreX_ = 0;
    double centreY_ = 0;
};

/// The largest of 1, 2, 5 times a power of ten that is not above `max` (above 0).
double RoundLength(double max);

/// "2 km", "5 m", "20 cm", "5 mm".
std::string LengthText(double metres);

}  // namespace orvix::output
