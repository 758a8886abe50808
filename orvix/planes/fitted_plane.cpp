// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/fitted_plane.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>

#include "orvix/geometry/bounds.h"
#include "orvix/geometry/symmetric_matrix.h"
#include "orvix/geometry/vector.h"
#include "orvix/planes/contour_box.h"
#include "orvix/planes/growing_extents.h"
#include "orvix/planes/plane_shape.h"
#include "orvix/planes/point_sums.h"
#include "orvix/surfaces/outline_builder.h"

namespace orvix {
namespace {

using detail::Cross, detail::Dot, detail::Length;
using detail::operator+, detail::operator-, detail::operator*, detail::operator/;
using Point = detail::Vector;
using Position = SimplePoint2DT<double>;

// Relative to 1 m or the largest coordinate: a nanometre near the origin, 10 micrometres at 10 km.
constexpr double kBoundSlack = 1e-9;  // BEHAVIOUR F5

Point Widen(const SimplePointT<float>& p) {
    return detail::Widened(p);
}
Point Widen(const SimplePointT<float>* p) {
    return detail::Widened(*p);
}

/// What a plane collects: its points, their extents and their number.
struct Collected {
    std::vector<Point>& points;
    ExtendsT<double>& extents;
    std::int32_t& count;
};

constexpr unsigned kMaxIndex = 0x7fff'ffff;

/// The first of `indices` that lies outside a list of `size`; their number where none does.
std::size_t FirstOutside(std::span<const int> indices, std::size_t size) {
    // Without a search, and by signs alone: an index above the last one, or below 0, sets the highest bit.
    const auto last = static_cast<unsigned>(std::min<std::size_t>(size, kMaxIndex + 1U)) - 1;
    unsigned signs = 0;
    for (const int index : indices)
        signs |= static_cast<unsigned>(index) | (last - static_cast<unsigned>(index));
    if (signs <= kMaxIndex) return indices.size();
    const auto outside = std::find_if(indices.begin(), indices.end(), [&](int index) {
        return static_cast<std::size_t>(index) >= size;
    });
    return static_cast<std::size_t>(outside - indices.begin());
}

/// Appends the points that `indices` name, each of which lies in `source`.
template <class Source>
void Append(const Source& source, std::span<const int> indices, Collected& into) {
    const std::size_t held = into.points.size();
    into.points.resize(held + indices.size());
    Point* added = into.points.data() + held;
    std::size_t i = 0;
    for (; i < indices.size() && !detail::IsBox(into.extents); ++i) {
        added[i] = Widen(source[static_cast<std::size_t>(indices[i])]);
        detail::Grow(added[i], into.extents);
    }
    detail::GrowingBox box(into.extents);
    for (; i < indices.size(); ++i) {
        added[i] = Widen(source[static_cast<std::size_t>(indices[i])]);
        box.Add(added[i]);
    }
    into.extents = box.Extents();
    into.count += static_cast<std::int32_t>(indices.size());
}

/// Adds points block by block, each of which is looked at and written while the innermost cache holds
/// it: a fifth of the time that AddPoint takes by the point.
template <class Source>
void AddAll(Collected into, const Source& source, const int* indices, std::size_t count) {
    constexpr std::size_t kBlock = 256;
    const std::size_t needed = into.points.size() + count;
    if (needed > into.points.capacity())
        into.points.reserve(std::max(needed, 2 * into.points.capacity()));
    for (std::size_t first = 0; first < count; first += kBlock) {
        const std::span<const int> block(indices + first, std::min(kBlock, count - first));
        const std::size_t known = FirstOutside(block, source.size());
        Append(source, block.first(known), into);
        if (known < block.size()) {
            static_cast<void>(source.at(static_cast<std::size_t>(block[known])));  // throws
        }
    }
}

std::size_t CountOf(int count) {
    return count < 1 ? 0 : static_cast<std::size_t>(count);
}

}  // namespace

void FittedPlane::AddPoint(const SimplePointT<double>& p) {
    const Point& added = points_.emplace_back(p);  // `p` may lie in the list that just moved
    detail::Grow(added, extents_);
    ++count_;
}

void FittedPlane::AddPoints(const std::vector<const SimplePointT<float>*>* source, int* indices,
                            const int& count, bool clear) {
    if (clear) Clear();
    AddAll({points_, extents_, count_}, *source, indices, CountOf(count));
}

void FittedPlane::AddPoints(const std::vector<const SimplePointT<float>*>* source,
                            std::vector<int> indices, bool clear) {
    if (clear) Clear();
    AddAll({points_, extents_, count_}, *source, indices.data(), indices.size());
}

void FittedPlane::AddPoints(const std::vector<SimplePointT<float>>* source, int* indices,
                            const int& count, bool clear) {
    if (clear) Clear();
    AddAll({points_, extents_, count_}, *source, indices, CountOf(count));
}

void FittedPlane::AddPoints(const std::vector<SimplePointT<float>>* source,
                            std::vector<int> indices, bool clear) {
    if (clear) Clear();
    AddAll({points_, extents_, count_}, *source, indices.data(), indices.size());
}

void FittedPlane::Clear() {
    points_.clear();
    count_ = 0;
    extents_ = {{kHighest, kHighest, kHighest}, {-kHighest, -kHighest, -kHighest}};
    shape_.reset();
}

void FittedPlane::Generate(const bool& dropPoints) {
    getBestFitPlane();
    if (dropPoints) points_.clear();
}

bool FittedPlane::getBestFitPlane() {
    const double count = static_cast<double>(points_.size());
    const double share = 1.0 / count;
    centroid_ = detail::SumOf(points_) * share;
    detail::SymmetricMatrix covariance = detail::ProductsAbout(centroid_, points_);
    for (double* entry : {&covariance.xx, &covariance.xy, &covariance.xz, &covariance.yy,
                          &covariance.yz, &covariance.zz}) {
        *entry /= count;
    }
    const detail::EigenSystem eigen = detail::DecomposeSymmetric(covariance);
    const auto& [a, b, c] = eigen.vectors[2];
    set(a, b, c, -(a * centroid_.x + b * centroid_.y + c * centroid_.z), centroid_.x, centroid_.y,
        centroid_.z);
    shape_.reset();
    return eigen.converged;
}

void FittedPlane::set(const double& a, const double& b, const double& c, const double& d,
                      const double& x, const double& y, const double& z) {
    fit_ = {a, b, c, d};
    equation_ = fit_;  // BEHAVIOUR F4
    centroid_ = {x, y, z};
}

PlaneFrame FittedPlane::Frame() const {
    return PlaneFrame(equation_.a, equation_.b, equation_.c, equation_.d);
}

// The in-plane direction is horizontal, so turning upright and staying upright are one step: the
// vertical and that direction span the new plane however steep the plane is now.
void FittedPlane::MakeVertical(const SimplePointT<double>& p) {
    const auto [a, b, c, d] = equation_;
    const double t = (a * p.x + b * p.y + c * p.z + d) / (a * a + b * b + c * c);
    const Point onPlane = p - Point{a, b, c} * t;
    const Point normal = Cross({0, 0, 1}, Frame().U());
    set(normal.x, normal.y, normal.z, -Dot(normal, onPlane), centroid_.x, centroid_.y, centroid_.z);
    shape_.reset();
}

void FittedPlane::Generate2DExt() {
    ReGenerate2DExt(&points_);
}

void FittedPlane::ReGenerate2DExt(const std::vector<SimplePointT<double>>* pts) {
    auto shape = shape_ ? std::make_shared<detail::PlaneShape>(*shape_)
                        : std::make_shared<detail::PlaneShape>();
    shape->frame = Frame();
    shape->extents = detail::NoBounds<Extends2DT<double>>();
    std::vector<Position> flat;
    if (pts != nullptr) flat.reserve(pts->size());
    for (std::size_t i = 0; pts != nullptr && i < pts->size(); ++i) {
        const Position p = shape->frame.To2D((*pts)[i]);
        flat.push_back(p);
        detail::Extend(shape->extents, p);
    }
    shape->outline = detail::BuildOutline(flat, {});
    shape->contour = detail::PolygonIndex(shape->outline);
    shape_ = std::move(shape);
}

void FittedPlane::SetBound(const std::vector<SimplePointT<double>>* poly) {
    std::vector<Position> ring;
    for (std::size_t i = 0; poly != nullptr && i < poly->size(); ++i) {
        ring.push_back({(*poly)[i].x, (*poly)[i].y});
    }
    SetBoundRing(ring);
}

void FittedPlane::SetBound3D(const std::vector<SimplePointT<double>>* poly) {
    const PlaneFrame frame = Frame();
    std::vector<Position> ring;
    for (std::size_t i = 0; poly != nullptr && i < poly->size(); ++i) {
        ring.push_back(frame.To2D((*poly)[i]));
    }
    SetBoundRing(ring);
}

void FittedPlane::SetBoundRing(const std::vector<SimplePoint2DT<double>>& ring) {
    auto shape = shape_ ? std::make_shared<detail::PlaneShape>(*shape_)
                        : std::make_shared<detail::PlaneShape>();
    shape->boundFrame = Frame();
    shape->bound = ring.size() < 3 ? detail::PolygonIndex() : detail::PolygonIndex(ring);
    shape_ = std::move(shape);
}

bool FittedPlane::IsPointIn3dBound(const SimplePointT<double>& p) const {
    const auto isWithin = [](double coordinate, double min, double max) {
        const double slack = kBoundSlack * (1 + std::max(std::abs(min), std::abs(max)));
        return min <= max && coordinate >= min - slack && coordinate <= max + slack;
    };
    return isWithin(p.x, extents_.min.x, extents_.max.x) &&
           isWithin(p.y, extents_.min.y, extents_.max.y) &&
           isWithin(p.z, extents_.min.z, extents_.max.z);
}

bool FittedPlane::IsPointInBound(const SimplePointT<double>& p) const {
    if (!shape_) return false;
    if (!shape_->bound.IsEmpty()) return shape_->bound.Contains(shape_->boundFrame.To2D(p));
    return detail::Contains(shape_->extents, shape_->frame.To2D(p));
}

bool FittedPlane::IsPointInContour(const SimplePointT<double>& p) const {
    return shape_ && shape_->contour.Contains(shape_->frame.To2D(p));
}

void FittedPlane::GetContourBox(const SimplePointT<double>& centre, const double& size,
                                SimplePointT<double>& c1, SimplePointT<double>& c2,
                                SimplePointT<double>& c3, SimplePointT<double>& c4) const {
    const PlaneFrame frame = Frame();
    GetContourBoxInner(frame, frame.To2D(centre), size, {&c1, &c2, &c3, &c4});
}

void FittedPlane::GetContourBoxInner(const PlaneFrame& frame,
                                     const SimplePoint2DT<double>& centre2D, const double& size,
                                     const std::array<SimplePointT<double>*, 4>& corners) {
    const auto around = detail::ContourBox(frame).AroundFlat(centre2D, size);
    for (std::size_t i = 0; i < corners.size(); ++i) *corners[i] = around[i];
}

const PlaneOutline& FittedPlane::Outline() const {
    static const PlaneOutline kNone;
    return shape_ ? shape_->outline : kNone;
}

Extends2DT<double> FittedPlane::Extends2D() const {
    return shape_ ? shape_->extents : detail::NoBounds<Extends2DT<double>>();
}

std::vector<SimplePointT<double>> FittedPlane::RingTo3D(const PlaneRing& ring) const {
    const PlaneFrame frame = shape_ ? shape_->frame : Frame();
    std::vector<Point> lifted;
    lifted.reserve(ring.points.size());
    for (const Position& p : ring.points) lifted.push_back(frame.To3D(p));
    return lifted;
}

PlaneResiduals FittedPlane::Residuals(const std::vector<SimplePointT<double>>& pts) const {
    if (pts.empty()) return {};
    const PlaneFrame frame = Frame();
    PlaneResiduals residuals;
    double sum = 0;
    for (const Point& p : pts) {
        const double distance = std::abs(frame.Distance(p));
        residuals.max = std::max(residuals.max, distance);
        sum += distance * distance;
    }
    residuals.rms = std::sqrt(sum / static_cast<double>(pts.size()));
    return residuals;
}

namespace {

[[maybe_unused]] ORVIX_EMITTED constexpr std::tuple kInlineMembers{
    &FittedPlane::a,
    &FittedPlane::b,
    &FittedPlane::c,
    &FittedPlane::d,
    &FittedPlane::x,
    &FittedPlane::y,
    &FittedPlane::z,
    static_cast<std::vector<SimplePointT<double>>& (FittedPlane::*)()>(&FittedPlane::data),
    static_cast<const std::vector<SimplePointT<double>>& (FittedPlane::*)() const>(
        &FittedPlane::data),
    &FittedPlane::Extends,
    &FittedPlane::Count,
    &FittedPlane::Area,
    static_cast<PlaneResiduals (FittedPlane::*)() const>(&FittedPlane::Residuals)};

}  // namespace

}  // namespace orvix
