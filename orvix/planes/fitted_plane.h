// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

namespace detail {
struct PlaneShape;
}

/// How far points lie from a plane, in metres.
struct PlaneResiduals {
    double rms = 0;
    double max = 0;  ///< the largest distance, unsigned
};

/// Collects points, fits their least-squares plane, and answers whether a position lies within the
/// extent of those points.
///
///     FittedPlane plane;
///     plane.AddPoints(&cloud, neighbours, true);          // neighbours: std::vector<int>
///     plane.Generate(false);                              // a, b, c, d and the centroid
///     plane.Generate2DExt();                              // outline and 2D extents
///     if (plane.IsPointInContour(p)) Use(plane.Area());
///
/// Units      metres, in the frame of the points.
/// Shape      a*x + b*y + c*z + d = 0; after a fit (a, b, c) is of unit length and its sign is
///            the one that the decomposition yields. 2D positions are those of Frame().
/// Boundaries a position on the edge of a bound or outline counts as inside.
/// Errors     none are reported. Fewer than three points, or points on one line, leave the normal
///            one of many; no points at all give coefficients that are not numbers.
/// Lifetime   a copy shares the outline and the bound until either plane gets new ones.
/// Threads    const calls may run side by side on one object, other calls may not.
/// Cost       AddPoints and Generate some 2.5 ns a point, in two passes over the points;
///            Generate2DExt n log n, a million points in 0.4 s; a containment test a few edges, for an
///            outline of any size.
class ORVIX_API FittedPlane {
public:
    /// Appends `p` and grows the extents. On each axis a coordinate below the minimum becomes the
    /// minimum, and only otherwise one above the maximum becomes the maximum: the first point after
    /// Clear sets the minima alone, and the maxima stay at the lowest double until a later point
    /// does not lower the minimum.
    void AddPoint(const SimplePointT<double>& p);

    /// Adds the points of `source` that `indices` name, in that order, each widened to double.
    /// `clear` empties the plane first; a `count` below 1 adds nothing.
    /// Errors: an index outside `source` throws std::out_of_range; points before it stay added.
    void AddPoints(const std::vector<const SimplePointT<float>*>* source, int* indices,
                   const int& count, bool clear);
    void AddPoints(const std::vector<const SimplePointT<float>*>* source, std::vector<int> indices,
                   bool clear);
    void AddPoints(const std::vector<SimplePointT<float>>* source, int* indices, const int& count,
                   bool clear);
    void AddPoints(const std::vector<SimplePointT<float>>* source, std::vector<int> indices,
                   bool clear);

    /// Forgets points, extents, outline and bound; the coefficients stay.
    void Clear();

    /// Fits the plane to the points and forgets outline and bound, which belong to the plane that
    /// was. `dropPoints` then empties the point list, while extents and Count() stay.
    void Generate(const bool& dropPoints);

    /// Takes over a plane known from elsewhere. An outline or bound that is present stays, in the
    /// frame in which it was made.
    void set(const double& a, const double& b, const double& c, const double& d, const double& x,
             const double& y, const double& z);

    ORVIX_INLINE_API double a() const { return fit_.a; }
    ORVIX_INLINE_API double b() const { return fit_.b; }
    ORVIX_INLINE_API double c() const { return fit_.c; }
    ORVIX_INLINE_API double d() const { return fit_.d; }
    /// The centroid: the mean of the points.
    ORVIX_INLINE_API double x() const { return centroid_.x; }
    ORVIX_INLINE_API double y() const { return centroid_.y; }
    ORVIX_INLINE_API double z() const { return centroid_.z; }

    ORVIX_INLINE_API std::vector<SimplePointT<double>>& data() { return points_; }
    ORVIX_INLINE_API const std::vector<SimplePointT<double>>& data() const { return points_; }
    ORVIX_INLINE_API const ExtendsT<double>& Extends() const { return extents_; }
    /// Points added since the last Clear, dropped ones included.
    ORVIX_INLINE_API std::int32_t Count() const { return count_; }

    /// Turns the plane upright about the horizontal direction that lies in it, through the
    /// projection of `p` onto it: the new normal is (0, 0, 1) x (that direction). An upright plane
    /// keeps its normal; a level one, in which every direction is horizontal, turns about the u
    /// axis of its frame. Forgets outline and bound; points, extents and centroid stay.
    void MakeVertical(const SimplePointT<double>& p);

    /// Builds the 2D extents and the outline of the points (of `pts`, in the second form). A
    /// bound that is present stays. The outline is their alpha shape: a
    /// gap that takes in a circle of Outline().radius is outside, and that radius is about three
    /// typical point spacings: a doorway of seven spacings is a gap, a missing point is not.
    /// Boundaries: fewer than three points, or points on one line, have extents and no outline.
    void Generate2DExt();
    void ReGenerate2DExt(const std::vector<SimplePointT<double>>* pts);

    /// Gives the plane a boundary polygon: in 2D positions of Frame() (z is not read), or in 3D,
    /// where each point stands for its projection along the normal. The polygon closes itself.
    /// A null list or one of fewer than three points removes the bound.
    void SetBound(const std::vector<SimplePointT<double>>* poly);
    void SetBound3D(const std::vector<SimplePointT<double>>* poly);

    /// Inside the axis-aligned extents of the added points, which are taken a billionth wider
    /// (1e-9 times 1 + their largest coordinate) so that a position computed on a perfectly flat
    /// axis-parallel plane is not lost to rounding.
    bool IsPointIn3dBound(const SimplePointT<double>& p) const;

    /// The projection of `p` is inside the boundary polygon; without one, inside the 2D extents
    /// box; without that, false.
    bool IsPointInBound(const SimplePointT<double>& p) const;

    /// The projection of `p` is inside the outline: in a region's outer ring and in none of its
    /// holes. Without an outline, false.
    bool IsPointInContour(const SimplePointT<double>& p) const;

    /// The corners of the square with sides of `size` around the projection of `centre` onto the
    /// plane. With h = size / 2 and the box axes e (x) and f (y):
    ///
    ///     c1 = -h e - h f    c4 = +h e - h f       c3 --- c2
    ///     c3 = -h e + h f    c2 = +h e + h f       |      |      f
    ///                                              c1 --- c4     +-> e
    ///
    /// so +y has the side c3-c2 and the corner c2, -y the side c1-c4 and c1, -x the side c1-c3 and
    /// c3, +x the side c4-c2 and c4. The axes turn neither with the normal's sign nor with noise
    /// around level: take m = the unit normal or its opposite, so that 2a + b + 4c > 0, or, where
    /// that is 0, so that the first component of m that is not 0 is positive. Where m is within
    /// acos 0.99 (8 degrees) of straight up, e is the x axis laid into the plane; elsewhere e is
    /// horizontal, (0, 0, 1) x m. Then f = m x e: on a floor (e, f) is (x, y), on a wall f goes up.
    void GetContourBox(const SimplePointT<double>& centre, const double& size,
                       SimplePointT<double>& c1, SimplePointT<double>& c2, SimplePointT<double>& c3,
                       SimplePointT<double>& c4) const;

    /// The 2D frame of the plane as it is now.
    PlaneFrame Frame() const;

    /// The outline that Generate2DExt built; empty before that.
    const PlaneOutline& Outline() const;

    /// The outline's area; 0 without an outline.
    ORVIX_INLINE_API double Area() const { return Outline().area; }

    /// The 2D extents that Generate2DExt built, in the frame of that time; the minimum is above the
    /// maximum where there are none.
    Extends2DT<double> Extends2D() const;

    /// The ring's vertices laid on the plane.
    std::vector<SimplePointT<double>> RingTo3D(const PlaneRing& ring) const;

    /// Distances of `pts` from the plane; both zero for no points. Order does not matter beyond
    /// the rounding of the sum.
    PlaneResiduals Residuals(const std::vector<SimplePointT<double>>& pts) const;
    ORVIX_INLINE_API PlaneResiduals Residuals() const { return Residuals(points_); }

private:
    struct Coefficients {
        double a = 0;
        double b = 0;
        double c = 0;
        double d = 0;
    };

    bool getBestFitPlane();
    /// `corners` are c1 to c4.
    static void GetContourBoxInner(const PlaneFrame& frame, const SimplePoint2DT<double>& centre2D,
                                   const double& size,
                                   const std::array<SimplePointT<double>*, 4>& corners);
    void SetBoundRing(const std::vector<SimplePoint2DT<double>>& ring);

    static constexpr double kHighest = std::numeric_limits<double>::max();

    std::shared_ptr<const detail::PlaneShape> shape_;
    Coefficients equation_;
    Coefficients fit_;
    SimplePointT<double> centroid_;
    std::vector<SimplePointT<double>> points_;
    ExtendsT<double> extents_{{kHighest, kHighest, kHighest}, {-kHighest, -kHighest, -kHighest}};
    std::int32_t count_ = 0;
};

}  // namespace orvix
