// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/plane_worm.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

#include "orvix/planes/contour_box.h"
#include "orvix/planes/plane_vectors.h"

namespace orvix {
namespace {

using detail::Cross, detail::Dot, detail::IsBesideLine, detail::Length, detail::Middle,
    detail::Vector;
using detail::operator-, detail::operator*;

enum Direction : std::int32_t {
    kAlongX = 1,
    kAlongY = 2,
    kUp = 3,
    kDown = 4,
    kLeft = 5,
    kRight = 6
};

constexpr std::int32_t kCornerKind = 3;
constexpr std::int32_t kMaxKey = 1 << 30;

bool IsSeed(const PlaneWorm::CellSniff& cell) {
    return cell.direction < kUp;
}

PlaneCell Step(const PlaneCell& key, std::int32_t direction) {
    switch (direction) {
        case kUp:
            return {key.x, key.y + 1};
        case kDown:
            return {key.x, key.y - 1};
        case kLeft:
            return {key.x - 1, key.y};
        default:
            return {key.x + 1, key.y};
    }
}

/// From the first point to the one farthest from it, the first of those that are equally far.
Vector LongestFromFirst(const std::vector<Vector>& points) {
    const Vector& first = points.front();
    double square = 0;
    for (const Vector& p : points) {
        const double its = Dot(p - first, p - first);
        square = its > square ? its : square;  // without a branch: points come farther and farther
    }
    if (!(square > 0)) return {};
    // Roots of squares that are all but equal may be the same, and lengths are what decides.
    const double length = std::sqrt(square);
    const double nearly = square * (1 - 1e-15);
    for (const Vector& p : points) {
        const Vector offset = p - first;
        if (Dot(offset, offset) >= nearly && Length(offset) == length) return offset;
    }
    return {};
}

/// Whether points leave the normal of their plane open: none is further than a thousandth of
/// their extent from the line between the first point and the one farthest from it.
bool OnOneLine(const std::vector<Vector>& points) {
    const Vector& first = points.front();
    const Vector axis = LongestFromFirst(points);
    return std::none_of(points.begin(), points.end(),
                        [&](const Vector& p) { return IsBesideLine(p - first, axis); });
}

/// Whether the last points surely leave no line to all: no two of those are that far apart as `diameter`.
/// Were the first point and two others within a thousandth of it from a line, the square that those span
/// about the first would be 0.002 of the diameter's at most. Spares most cells the search for their
/// farthest point.
bool SurelySpread(const std::vector<Vector>& points, double diameter) {
    if (points.size() < 4) return false;
    const auto offset = [&](std::size_t fromEnd) {
        return points[points.size() - fromEnd] - points.front();
    };
    const Vector last = offset(1);
    const double least = 0.0021 * diameter * diameter;
    return Length(Cross(last, offset(2))) > least || Length(Cross(last, offset(3))) > least;
}

}  // namespace

PlaneWorm::PlaneWorm(std::shared_ptr<PlaneWormSettings> settings)
    : settings_(std::move(settings)) {}

void PlaneWorm::CollectCallback(void* fn) {
    collect_ = reinterpret_cast<CollectFunction>(fn);
}

std::shared_ptr<PlaneWormSettings> PlaneWorm::Settings() {
    return settings_;
}

void PlaneWorm::SetBase(const FittedPlane& base) {
    base_ = base;
}

void PlaneWorm::SetCloud(std::shared_ptr<CNearestNeighbour> index,
                         std::shared_ptr<const std::vector<SimplePointT<float>>> points) {
    index_ = std::move(index);
    points_ = std::move(points);
}

void PlaneWorm::SetSeed(const SimplePointT<double>& seed) {
    seed_ = seed;
}

void PlaneWorm::SetSeedDirection(std::int32_t direction) {
    seedDirection_ = direction;
}

void PlaneWorm::SetReach(double metres) {
    reach_ = metres;
}

void PlaneWorm::SetStepBudget(std::int64_t cells) {
    stepBudget_ = cells;
}

void PlaneWorm::SetOutlineTest(bool fixedOutline, bool bound3d, bool bound) {
    fixedOutline_ = fixedOutline;
    bound3d_ = bound3d;
    bound_ = bound;
}

void PlaneWorm::SetBasePoints(std::vector<SimplePointT<double>> points) {
    basePoints_ = std::move(points);
}

void PlaneWorm::KeepBorderCells(bool keep, std::int32_t kind) {
    keepBorder_ = keep;
    borderKind_ = kind;
}

void PlaneWorm::SetWatch(std::function<bool()> proceed) {
    watch_ = std::move(proceed);
}

void PlaneWorm::Clear() {
    visited_.clear();
    rejected_.clear();
    cells_.clear();
    largestDistance_ = 0;
    steps_ = 0;
    differences_ = {};
    ended_ = Ended::NotLaunched;
}

void PlaneWorm::Launch(RelationToBase relation) {
    assert(settings_ && index_ && points_);
    ended_ = Ended::Exhausted;
    steps_ = 0;
    beyondReach_ = beyondOutline_ = false;
    if (!LayGrid(relation)) return;
    CellSniff seed;
    const bool chosen = seedDirection_ >= 0 && seedDirection_ <= kAlongY;
    seed.direction = chosen ? seedDirection_ : static_cast<std::int32_t>(relation);  // BEHAVIOUR W9
    GrowInWaves(RecursiveNeighbourPlaneSearch(seed));  // BEHAVIOUR W11
    if (relation == RelationToBase::Free && base_.data().size() > fittedPoints_) FitBase();
}

void PlaneWorm::GrowInWaves(std::vector<CellSniff> wave) {
    while (!wave.empty()) {
        std::vector<CellSniff> next;
        for (CellSniff& cell : wave) {
            if (!MayGoOn()) return;
            const std::vector<CellSniff> spawned = RecursiveNeighbourPlaneSearch(cell);
            next.insert(next.end(), spawned.begin(), spawned.end());
        }
        wave = std::move(next);
    }
    if (beyondOutline_) ended_ = Ended::Outline;
    if (beyondReach_) ended_ = Ended::Reach;
}

bool PlaneWorm::MayGoOn() {
    if (StopFlag() != 0 || (watch_ && !watch_())) {
        ended_ = Ended::Stopped;
        return false;
    }
    if (steps_ >= stepBudget_) {
        ended_ = Ended::Budget;
        return false;
    }
    return true;
}

bool PlaneWorm::LayGrid(RelationToBase relation) {
    relation_ = relation;
    grid_ = PlaneGrid(base_, seed_, settings_->SplitSizeScaled());
    box_ = std::make_shared<const detail::ContourBox>(base_.Frame());
    fittedPoints_ = base_.data().size();
    basePointAt_.clear();
    const Vector centre = grid_.Centre({});
    if (!std::isfinite(Dot(centre, centre)) || !std::isfinite(grid_.Pitch())) return false;
    if (relation == RelationToBase::Outline && grid_.Pitch() > 0) {
        for (std::size_t i = 0; i < basePoints_.size(); ++i) {
            basePointAt_.try_emplace(grid_.KeyOf(basePoints_[i]), static_cast<std::int64_t>(i));
        }
    }
    return true;
}

std::vector<PlaneWorm::CellSniff> PlaneWorm::RecursiveNeighbourPlaneSearch(CellSniff& cell) {
    ++steps_;
    const Vector centre = grid_.Centre(cell.key);
    if (!Enter(cell, centre)) return {};

    // The index takes a squared radius.
    const double radius = std::pow(settings_->SplitSizeScaled() * 0.5, 2.0);
    index_->FindWithin(centre, radius, neighbours_);
    int count = static_cast<int>(neighbours_.size());
    // A cell without a point is rejected even where the settings ask for none: growth ends where
    // points do.
    if (count < std::max(settings_->minCellPoints, 1)) {
        rejected_.push_back({cell.key, Rejection::FewPoints});
        return {};
    }
    Cell found = Fit(cell, centre);
    cell.normal = found.normal;
    const int cap = settings_->minPlane;
    if (cap > 2 && cap < count) count = cap;  // BEHAVIOUR W14
    found.indices.assign(neighbours_.begin(), neighbours_.begin() + count);
    if (collect_ != nullptr) collect_(neighbours_.data(), count);  // BEHAVIOUR W7

    const bool tested = !IsSeed(cell) && relation_ != RelationToBase::Free;
    if (tested && !NormalFits(cell.normal)) {
        if (!keepBorder_) {
            rejected_.push_back({cell.key, Rejection::Normal});
            return {};
        }
        found.centre = BorderCorner(cell, centre);
        found.border = true;
        cells_.push_back(std::move(found));
        return {};
    }
    cells_.push_back(std::move(found));
    if (relation_ == RelationToBase::Free) TakeUp(fit_.data());
    if (IsSeed(cell)) seed_ = {base_.x(), base_.y(), base_.z()};  // BEHAVIOUR W10
    return Children(cell);
}

bool PlaneWorm::Enter(const CellSniff& cell, const SimplePointT<double>& centre) {
    if (relation_ == RelationToBase::Free) return true;
    const auto [x, y] = cell.key;
    VisitedBlock& block = visited_[{x >> 3, y >> 3}];
    const std::uint64_t bit = std::uint64_t{1} << ((x & 7) * 8 + (y & 7));
    const bool entered = (block.entered & bit) != 0;
    block.entered |= bit;
    if (relation_ == RelationToBase::Visited) return !entered;
    if ((block.done & bit) != 0) return false;
    if (!InsideOutline(centre)) {
        beyondOutline_ = true;
        return false;
    }
    const auto listed = static_cast<std::int64_t>(basePoints_.size());
    if (listed > 0 && (cell.index < 0 || cell.index >= listed)) {  // BEHAVIOUR W12
        beyondOutline_ = true;
        return false;
    }
    block.done |= bit;
    return true;
}

bool PlaneWorm::InsideOutline(const SimplePointT<double>& centre) const {
    if (fixedOutline_) return base_.IsPointInBound(centre);
    if (bound3d_) return base_.IsPointIn3dBound(centre);
    if (bound_) return base_.IsPointInBound(centre);
    return base_.IsPointInContour(centre);
}

PlaneWorm::Cell PlaneWorm::Fit(const CellSniff& cell, const SimplePointT<double>& centre) {
    const Vector carried =
        Dot(cell.normal, cell.normal) > 0 ? cell.normal : detail::UnitNormal(base_);
    fit_.AddPoints(points_.get(), neighbours_.data(), static_cast<int>(neighbours_.size()), true);
    fit_.Generate(false);
    const bool spread = SurelySpread(fit_.data(), settings_->SplitSizeScaled());
    Vector normal = !spread && OnOneLine(fit_.data()) ? carried : detail::Normal(fit_);
    if (Dot(normal, carried) < 0) normal = normal * -1.0;
    return {cell.key, {}, centre, normal, {fit_.x(), fit_.y(), fit_.z()}, false};
}

bool PlaneWorm::NormalFits(const SimplePointT<double>& normal) {
    const auto difference = [](double ours, double base) {
        return std::abs(std::abs(ours) - std::abs(base));  // BEHAVIOUR W8
    };
    differences_ = {difference(normal.x, base_.a()), difference(normal.y, base_.b()),
                    difference(normal.z, base_.c())};
    const bool fails = differences_[0] > settings_->diffA || differences_[1] > settings_->diffB ||
                       differences_[2] > settings_->diffC;
    return !fails;
}

SimplePointT<double> PlaneWorm::BorderCorner(const CellSniff& cell,
                                             const SimplePointT<double>& centre) const {
    const auto corners = box_->Around(centre, settings_->SplitSizeScaled());
    const auto& [c1, c2, c3, c4] = corners;
    if (cell.kind == kCornerKind) {
        return *std::min_element(corners.begin(), corners.end(),
                                 [&](const Vector& a, const Vector& b) {
                                     return Length(a - seed_) < Length(b - seed_);
                                 });
    }
    switch (cell.direction) {
        case kUp:
            return Middle(c1, c4);
        case kDown:
            return Middle(c3, c2);
        case kLeft:
            return Middle(c4, c2);
        default:
            return Middle(c1, c3);
    }
}

void PlaneWorm::TakeUp(const std::vector<SimplePointT<double>>& points) {
    for (const Vector& p : points) base_.AddPoint(p);
    // Fitting anew at every cell would cost the square of the points.
    const std::size_t held = base_.data().size();
    if (held - fittedPoints_ < fittedPoints_ / 8) return;
    FitBase();
    grid_.Settle(base_);
}

void PlaneWorm::FitBase() {
    fittedPoints_ = base_.data().size();
    if (OnOneLine(base_.data())) return;
    base_.Generate(false);
    box_ = std::make_shared<const detail::ContourBox>(base_.Frame());
}

std::vector<PlaneWorm::CellSniff> PlaneWorm::Children(const CellSniff& cell) {
    std::vector<CellSniff> children;
    children.reserve(4);
    if (!(grid_.Pitch() > 0)) return children;  // BEHAVIOUR W13
    const std::int32_t from = cell.direction;
    if (IsSeed(cell)) {
        if (from != kAlongX) {
            Emit(cell, kDown, children);
            Emit(cell, kUp, children);
        }
        if (from != kAlongY) {
            Emit(cell, kLeft, children);
            Emit(cell, kRight, children);
        }
        return children;
    }
    if (relation_ == RelationToBase::Free) {
        Emit(cell, from, children);
        return children;
    }
    if (from != kUp) Emit(cell, kDown, children);
    if (from != kRight) Emit(cell, kLeft, children);
    if (from != kDown) Emit(cell, kUp, children);
    if (from != kLeft) Emit(cell, kRight, children);
    return children;
}

void PlaneWorm::Emit(const CellSniff& parent, std::int32_t direction, std::vector<CellSniff>& out) {
    CellSniff child;
    child.key = Step(parent.key, direction);
    child.origin = parent.key;
    child.normal = parent.normal;
    child.reach = reach_;
    child.direction = direction;
    child.tolerance = differences_;
    child.kind = borderKind_;
    const auto basePoint = basePointAt_.find(child.key);
    child.index = basePoint == basePointAt_.end() ? -1 : basePoint->second;

    Vector centre = grid_.Centre(child.key);
    const auto [c1, c2, c3, c4] = box_->Around(centre, settings_->SplitSizeScaled());
    const bool outermost = std::max(std::abs(child.key.x), std::abs(child.key.y)) >= kMaxKey;
    double distance = 0;
    if (CheckCellDist(distance, &centre, &c1, &c2, &c3, &c4, child) || outermost) {
        beyondReach_ = true;
        return;
    }
    out.push_back(child);
}

bool PlaneWorm::CheckCellDist(double& dist, SimplePointT<double>* centre,
                              const SimplePointT<double>* c1, const SimplePointT<double>* c2,
                              const SimplePointT<double>* c3, const SimplePointT<double>* c4,
                              const CellSniff& cell) {
    dist = Length(*centre - seed_);
    if (cell.reach >= dist) {
        switch (cell.direction) {
            case kUp:
                *centre = *c2;
                break;
            case kDown:
                *centre = *c1;
                break;
            case kRight:
                *centre = *c4;
                break;
            default:
                *centre = *c3;
        }
        dist = Length(*centre - seed_);
    }
    largestDistance_ = std::max(largestDistance_, dist);
    return dist > cell.reach;
}

}  // namespace orvix
