// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/seed_fit.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "orvix/geometry/quantile.h"
#include "orvix/planes/plane_vectors.h"

namespace orvix::detail {
namespace {

constexpr double kStartRadius = 0.5;
constexpr double kMaxRadius = 8.0;
constexpr std::uint64_t kWantedNeighbours = 200;
constexpr std::size_t kMaxNeighbours = 20'000;
constexpr std::size_t kMinBallPoints = 12;
constexpr double kSeedDeviations = 4.0;  // of noise: how far the seed itself may lie
constexpr int kRefits = 6;
constexpr std::array kTolerancesOfRadius{0.02, 0.05, 0.1};
constexpr double kSigmaPerMedian = 1.4826;
constexpr double kMinShareOfRms = 0.6;

struct Neighbour {
    double distance = 0;  // from the seed
    Vector position;
};

double DistanceToBox(const ExtendsT<double>& box, const Vector& p) {
    const Vector outside{std::max({box.min.x - p.x, 0.0, p.x - box.max.x}),
                         std::max({box.min.y - p.y, 0.0, p.y - box.max.y}),
                         std::max({box.min.z - p.z, 0.0, p.z - box.max.z})};
    return Length(outside);
}

double FarthestInBox(const ExtendsT<double>& box, const Vector& p) {
    return Length({std::max(p.x - box.min.x, box.max.x - p.x),
                   std::max(p.y - box.min.y, box.max.y - p.y),
                   std::max(p.z - box.min.z, box.max.z - p.z)});
}

struct Nearest {
    Vector position;
    double distance = std::numeric_limits<double>::infinity();
};

/// Boxes first: a cell surely holds a point no further than its far corner, so only cells nearer
/// than the smallest such bound are read.
Expected<Nearest> FindNearest(CloudSource& cloud, const Vector& seed) {
    double bound = std::numeric_limits<double>::infinity();
    const auto near = [&](const ExtendsT<double>& box) {
        return DistanceToBox(box, seed) <= bound;
    };
    auto walked = cloud.VisitCells(near, [&](const CloudCell& cell) {
        bound = std::min(bound, FarthestInBox(cell.box, seed));
    });
    if (!walked) return ErrorOf(walked);
    Nearest nearest;
    std::vector<CCloudPoint<float>> points;
    // Stored boxes and points are rounded differently.
    bound *= 1.0 + 1e-9;
    walked = cloud.VisitCells(near, [&](const CloudCell& cell) {
        cloud.ReadCell(cell, points);
        for (const auto& p : points) {
            const Vector position{p.x, p.y, p.z};
            const double distance = Length(position - seed);
            if (distance < nearest.distance) nearest = {position, distance};
        }
        bound = std::min(bound, nearest.distance);
    });
    if (!walked) return ErrorOf(walked);
    return nearest;
}

class Neighbourhood {
public:
    static Expected<Neighbourhood> Gather(CloudSource& cloud, const Vector& seed) {
        Neighbourhood around;
        for (double radius = kStartRadius;; radius *= 1.5) {
            around.radius_ = std::min(radius, kMaxRadius);
            if (auto read = around.Read(cloud, seed); !read) return ErrorOf(read);
            if (around.seen_ >= kWantedNeighbours || radius >= kMaxRadius) break;
        }
        std::stable_sort(
            around.points_.begin(), around.points_.end(),
            [](const Neighbour& a, const Neighbour& b) { return a.distance < b.distance; });
        return around;
    }

    const std::vector<Neighbour>& Points() const { return points_; }
    double Radius() const { return radius_; }
    std::uint64_t Seen() const { return seen_; }
    /// Points seen for each point kept.
    double Thinning() const {
        return static_cast<double>(seen_) / static_cast<double>(points_.size());
    }

private:
    Expected<void> Read(CloudSource& cloud, const Vector& seed) {
        points_.clear();
        seen_ = 0;
        std::uint64_t stride = 1;
        std::vector<CCloudPoint<float>> buffer;
        return cloud.VisitCells(
            [&](const ExtendsT<double>& box) { return DistanceToBox(box, seed) <= radius_; },
            [&](const CloudCell& cell) {
                cloud.ReadCell(cell, buffer);
                for (const auto& p : buffer) {
                    const Vector position{p.x, p.y, p.z};
                    const double distance = Length(position - seed);
                    if (!(distance <= radius_)) continue;  // nor is one that is no number
                    if (seen_++ % stride == 0) points_.push_back({distance, position});
                }
                for (; points_.size() > kMaxNeighbours; stride *= 2) DropEverySecond();
            });
    }

    void DropEverySecond() {
        for (std::size_t i = 0; 2 * i < points_.size(); ++i) points_[i] = points_[2 * i];
        points_.resize((points_.size() + 1) / 2);
    }

    std::vector<Neighbour> points_;
    double radius_ = 0;
    std::uint64_t seen_ = 0;
};

/// A least-squares plane and the noise about it.
struct Fit {
    FittedPlane plane;
    double noise = 0;
};

/// The least-squares plane of the points within `radius` that lie within `tolerance` of `plane`
/// (of all of them, without one); nothing when they are too few.
std::optional<Fit> FitWithin(const std::vector<Neighbour>& points, double radius,
                             const FittedPlane* plane, double tolerance) {
    Fit fit;
    for (const Neighbour& p : points) {
        if (p.distance > radius) break;
        if (plane != nullptr && std::abs(Distance(*plane, p.position)) > tolerance) continue;
        fit.plane.AddPoint(p.position);
    }
    if (fit.plane.data().size() < 5) return std::nullopt;
    fit.plane.Generate(false);
    fit.noise = NoiseOf(fit.plane, fit.plane.data());
    fit.plane.Clear();
    if (!std::isfinite(fit.noise)) return std::nullopt;
    return fit;
}

/// How well a plane explains the neighbourhood: the points within three sigma, those near the
/// seed and near the plane weighing more. A plane of four times the noise must explain 2.8 times as
/// many: otherwise one that cuts across an edge would beat the surface at its side. Below 0 when
/// the plane misses the seed.
double Score(const Neighbourhood& around, const Fit& fit) {
    const auto& points = around.Points();
    const double tolerance = kSeedDistance.Of(fit.noise);
    const double seedOff = std::abs(Distance(fit.plane, points.front().position));
    if (seedOff > tolerance * kSeedDeviations / kSeedDistance.deviations) return -1;
    const double reach = 0.4 * around.Radius();
    double score = 0;
    for (const Neighbour& p : points) {
        const double off = Distance(fit.plane, p.position) / tolerance;
        const double away = p.distance / reach;
        score += std::max(0.0, 1.0 - off * off) * std::exp(-away * away);
    }
    return score / std::pow(tolerance, 0.75);
}

double ToleranceOf(double noise, double limit) {
    return std::min(kSeedDistance.Of(noise), limit);
}

/// Refits in growing balls from the candidate's own to the whole neighbourhood.
std::optional<Fit> GrowCandidate(const Neighbourhood& around, double radius, double limit) {
    auto fit = FitWithin(around.Points(), radius, nullptr, 0);
    while (fit && radius < around.Radius()) {
        radius = std::min(radius * 1.5, around.Radius());
        fit = FitWithin(around.Points(), radius, &fit->plane, ToleranceOf(fit->noise, limit));
    }
    return fit;
}

std::optional<Fit> BestFit(const Neighbourhood& around) {
    const auto& points = around.Points();
    const double smallest = points[std::min(kMinBallPoints, points.size()) - 1].distance;
    std::optional<Fit> best;
    double bestScore = -1;
    for (double r = std::max(smallest, 1e-3); r < around.Radius() * 1.4; r *= 1.4) {
        for (const double share : kTolerancesOfRadius) {
            const auto fit = GrowCandidate(around, std::min(r, around.Radius()),
                                           std::max(share * around.Radius(), kSeedDistance.min));
            if (!fit) continue;
            const double score = Score(around, *fit);
            if (score > bestScore) best = fit, bestScore = score;
        }
    }
    // A tight candidate that won on a noisy surface widens to that noise here; one beside an edge
    // stays tight, because few points lie where it would widen to.
    const double limit = kTolerancesOfRadius.back() * around.Radius();
    for (int round = 0; best && round < kRefits; ++round) {
        const auto refined =
            FitWithin(points, around.Radius(), &best->plane, ToleranceOf(best->noise, limit));
        if (!refined) break;
        best = refined;
    }
    return best;
}

/// Inliers per square metre: the larger of the whole and the half neighbourhood's, because an
/// edge nearby leaves a part of the disc empty.
double Density(const Neighbourhood& around, const Fit& fit) {
    double density = 0;
    for (const double radius : {around.Radius(), around.Radius() / 2}) {
        const double tolerance = kSeedDistance.Of(fit.noise);
        const auto inliers =
            std::count_if(around.Points().begin(), around.Points().end(), [&](const Neighbour& p) {
                return p.distance <= radius &&
                       std::abs(Distance(fit.plane, p.position)) <= tolerance;
            });
        const double area = std::numbers::pi * radius * radius;
        density = std::max(density, static_cast<double>(inliers) * around.Thinning() / area);
    }
    return density;
}

bool SpansPlane(const Neighbourhood& around) {
    const Vector first = around.Points().front().position;
    const Vector last = around.Points().back().position - first;
    return std::any_of(around.Points().begin(), around.Points().end(),
                       [&](const Neighbour& p) { return IsBesideLine(p.position - first, last); });
}

}  // namespace

double NoiseOf(const FittedPlane& plane, const std::vector<SimplePointT<double>>& points) {
    if (points.empty()) return 0;
    std::vector<double> distances;
    distances.reserve(points.size());
    for (const Vector& p : points) distances.push_back(std::abs(Distance(plane, p)));
    return std::max(kSigmaPerMedian * UpperMedian(distances),
                    kMinShareOfRms * plane.Residuals(points).rms);
}

Expected<SeedFit> FitAtSeed(CloudSource& cloud, const SimplePointT<double>& seed,
                            double snapDistance) {
    const auto nearest = FindNearest(cloud, seed);
    if (!nearest) return ErrorOf(nearest);
    if (!(nearest->distance <= snapDistance)) {
        if (!std::isfinite(nearest->distance)) {
            return Fail(ErrorCode::BadInput, "the cloud holds no points to fit a plane to");
        }
        return Fail(
            ErrorCode::BadInput,
            fmt::format(
                "no point lies within {:.3f} m of the seed: the nearest one, at local ({:.3f}, "
                "{:.3f}, {:.3f}), is {:.3f} m away; choose a seed on a surface",
                snapDistance, nearest->position.x, nearest->position.y, nearest->position.z,
                nearest->distance));
    }
    const auto around = Neighbourhood::Gather(cloud, nearest->position);
    if (!around) return ErrorOf(around);
    if (around->Points().empty()) {
        // The seed itself is a point; only the cell that holds it can be elsewhere.
        return Fail(
            ErrorCode::Damaged,
            fmt::format("the point at local ({:.3f}, {:.3f}, {:.3f}) lies outside its cell; "
                        "check the project",
                        nearest->position.x, nearest->position.y, nearest->position.z));
    }
    const char* fault = "do not span a plane";
    std::optional<Fit> fit;
    if (SpansPlane(*around)) {
        fit = BestFit(*around);
        fault = "lie on no plane that passes through it";
    }
    if (!fit) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("the {} points within {:.2f} m of the seed {}; choose a seed on a "
                                "surface",
                                around->Seen(), around->Radius(), fault));
    }
    SeedFit result;
    result.plane = fit->plane;
    result.seed = nearest->position;
    result.snapped = nearest->distance;
    result.noise = fit->noise;
    result.density = Density(*around, *fit);
    result.radius = around->Radius();
    result.neighbours = around->Seen();
    return result;
}

}  // namespace orvix::detail
