// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/plane_from_seed.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "orvix/planes/plane_vectors.h"
#include "orvix/planes/seed/plane_mesh.h"
#include "orvix/planes/seed/seed_fit.h"
#include "orvix/planes/seed/slab.h"

namespace orvix::detail {
namespace {

using Points = std::vector<SimplePointT<float>>;

constexpr double kFirstReach = 5.0;
constexpr double kPointsPerCircle = 15.0;
constexpr std::uint32_t kCrawlPointsPerCell = 100;
constexpr double kMinInlierShare = 0.25;
constexpr int kMaxWidenings = 4;
constexpr double kMaxBend = 0.02;
constexpr double kWorthwhileWidening = 1.05;

using KeySet = std::unordered_set<PlaneCell, PlaneCellHash>;

/// Points of a cell of the plane's grid.
struct Share {
    std::uint32_t close = 0;    // to the plane
    std::uint32_t all = 0;      // in the slab
    std::uint32_t offered = 0;  // to the worm so far
};
using Shares = std::unordered_map<PlaneCell, Share, PlaneCellHash>;

template <class Function>
void ForEachAround(const PlaneCell& key, Function&& function) {
    for (std::int32_t x = -1; x <= 1; ++x) {
        for (std::int32_t y = -1; y <= 1; ++y) function(PlaneCell{key.x + x, key.y + y});
    }
}

class Grower {
public:
    Grower(CloudSource& cloud, const PlaneWormSettings& settings, SeedFit fit,
           const SeedPlaneOptions& options)
        : cloud_(cloud),
          options_(options),
          settings_(std::make_shared<PlaneWormSettings>(settings)),
          fit_(std::move(fit)),
          plane_(fit_.plane) {
        ChooseSettings();
    }

    Expected<SeedPlane> Grow() {
        double reach = std::max(kFirstReach, 10 * split_);
        for (int widenings = 0;;) {
            const double within = std::min(reach, options_.reach);
            if (auto step = GrowWithin(within); !step) return ErrorOf(step);
            const bool further = ended_ == PlaneWorm::Ended::Reach && within < options_.reach;
            if (further) reach *= 2;
            // A surface that bends a little goes on once its bend is allowed for.
            const bool wider = widenings < kMaxWidenings && WidenTolerance();
            if (wider) ++widenings;
            if (!further && !wider) break;
        }
        return Conclude();
    }

private:
    void ChooseSettings() {
        settings_->usage = 0;
        settings_->SetUsage();
        if (options_.diffA >= 0) settings_->diffA = options_.diffA;
        if (options_.diffB >= 0) settings_->diffB = options_.diffB;
        if (options_.diffC >= 0) settings_->diffC = options_.diffC;
        split_ = options_.splitSize > 0 ? options_.splitSize : settings_->splitSize;
        const double needed =
            2 * std::sqrt(kPointsPerCircle / (std::numbers::pi * std::max(fit_.density, 1e-6)));
        enlarged_ = !(options_.splitSize > 0) && !(split_ >= needed);
        if (enlarged_) split_ = needed;
        // Points come in metres; the settings may scale to another unit.
        settings_->scale = 1;
        settings_->ChangeSplitSize(split_);
        tolerance_ = options_.maxDistance > 0 ? options_.maxDistance
                                              : std::min(kSeedDistance.Of(fit_.noise), split_ / 4);
        seedTolerance_ = tolerance_;
    }

    /// Follows the spread of the points found, to twice the seed's or 2 cm more, whichever is less;
    /// true when that is wider than now.
    bool WidenTolerance() {
        if (options_.maxDistance > 0) return false;
        const double spread = kSeedDistance.deviations * NoiseOf(plane_, Inliers());
        // BEHAVIOUR W15
        const double limit = std::min({2 * seedTolerance_, seedTolerance_ + kMaxBend, split_ / 4});
        const double wider = std::min(spread, limit);
        if (!(wider > tolerance_ * kWorthwhileWidening)) return false;
        tolerance_ = wider;
        return true;
    }

    Slab SlabWithin(double reach) const {
        return {plane_, std::max(split_ / 2, tolerance_), fit_.seed, reach + split_};
    }

    /// One launch, out to `reach`, and the refit to what it found.
    Expected<void> GrowWithin(double reach) {
        reach_ = reach;
        auto loaded =
            LoadSlab(cloud_, SlabWithin(reach), options_.memoryLimitBytes, options_.proceed);
        if (!loaded) return ErrorOf(loaded);
        slab_ = std::move(*loaded);
        FittedPlane base = plane_;
        // The reach is measured from the base's centroid: here, from the seed.
        base.set(plane_.a(), plane_.b(), plane_.c(), plane_.d(), fit_.seed.x, fit_.seed.y,
                 fit_.seed.z);
        PlaneWorm worm(settings_);
        worm.SetBase(base);
        worm.SetSeed(fit_.seed);
        worm.SetSeedDirection(0);
        worm.SetReach(reach);
        worm.SetStepBudget(std::numeric_limits<std::int64_t>::max());
        if (options_.proceed) {
            worm.SetWatch([this] { return ++asked_ % 64 != 0 || options_.proceed(); });
        }
        const PlaneGrid grid(base, fit_.seed, split_);
        auto points = std::make_shared<const Points>(PointsToCrawl(grid));
        worm.SetCloud(std::make_shared<CNearestNeighbour>(points.get()), points);
        worm.Launch(PlaneWorm::RelationToBase::Visited);
        ended_ = worm.HowItEnded();
        if (ended_ == PlaneWorm::Ended::Stopped) return CancelledSearch();
        cells_ = worm.Cells().size();
        rejected_ = worm.RejectedCells().size();
        grid_ = grid;
        Cover(worm.Cells());
        Refit();
        return {};
    }

    /// The slab's points near the plane, without cells in which less than kMinInlierShare are.
    Points PointsToCrawl(const PlaneGrid& grid) const {
        Shares shares;
        for (const auto& p : slab_.points) {
            const Vector position = Widened(p);
            Share& share = shares[grid.KeyOf(position)];
            ++share.all;
            if (std::abs(Distance(plane_, position)) <= tolerance_) ++share.close;
        }
        KeySet flat;
        for (const auto& [key, unused] : shares) {
            Share around;
            ForEachAround(key, [&](const PlaneCell& near) {
                const auto found = shares.find(near);
                if (found == shares.end()) return;
                around.close += found->second.close;
                around.all += found->second.all;
            });
            if (around.close >= kMinInlierShare * around.all) flat.insert(key);
        }
        ForEachAround({}, [&](const PlaneCell& near) { flat.insert(near); });
        Points crawl;
        for (const auto& p : slab_.points) {
            const Vector position = Widened(p);
            if (std::abs(Distance(plane_, position)) > 2 * tolerance_) continue;
            const PlaneCell key = grid.KeyOf(position);
            if (!flat.contains(key)) continue;
            // A hundred points give a cell's normal as well as a hundred thousand.
            Share& share = shares[key];
            if (share.offered++ % (share.all / kCrawlPointsPerCell + 1) == 0) crawl.push_back(p);
        }
        return crawl;
    }

    /// Kept cells and the ones beside them, whose points reach up to the plane's edge.
    void Cover(const std::vector<PlaneWorm::Cell>& cells) {
        covered_.clear();
        for (const auto& cell : cells) {
            ForEachAround(cell.key, [&](const PlaneCell& near) { covered_.insert(near); });
        }
    }

    bool IsInlier(const Vector& position) const {
        return std::abs(Distance(plane_, position)) <= tolerance_ &&
               covered_.contains(grid_.KeyOf(position));
    }

    std::vector<Vector> Inliers() const {
        std::vector<Vector> inliers;
        for (const auto& p : slab_.points) {
            const Vector position = Widened(p);
            if (IsInlier(position)) inliers.push_back(position);
        }
        return inliers;
    }

    void Refit() {
        for (int round = 0; round < 3; ++round) {
            FittedPlane refitted;
            for (const Vector& p : Inliers()) refitted.AddPoint(p);
            if (refitted.data().size() < 3) return;
            refitted.Generate(true);
            if (!(std::abs(Distance(refitted, fit_.seed)) <= 2 * tolerance_)) return;
            plane_ = refitted;
        }
    }

    Expected<SeedPlane> Conclude() {
        SeedPlane result;
        result.seed = fit_.seed;
        result.snapped = fit_.snapped;
        result.noise = fit_.noise;
        result.splitSize = split_;
        result.splitEnlarged = enlarged_;
        result.maxDistanceAllowed = tolerance_;
        result.cells = cells_;
        result.rejectedCells = rejected_;
        result.thinning = slab_.thinning;
        result.ended = ended_;
        result.plane = plane_;
        result.plane.Clear();
        for (std::size_t i = 0; i < slab_.points.size(); ++i) {
            const Vector position = Widened(slab_.points[i]);
            if (!IsInlier(position)) continue;
            result.plane.AddPoint(position);
            result.records.push_back(slab_.records[i]);
        }
        if (result.records.size() < 3) {
            return Fail(ErrorCode::BadInput,
                        "hardly a point lies on the plane in the cells at the seed; allow a larger "
                        "distance from the plane or larger cells, or choose another seed");
        }
        if (auto measured = Measure(result); !measured) return ErrorOf(measured);
        BuildOutline(result.plane);
        result.area = result.plane.Area();
        return result;
    }

    /// Count and residuals, over the slab in memory or, when that is thinned, over the cloud.
    Expected<void> Measure(SeedPlane& result) {
        double squares = 0;
        const auto take = [&](const Vector& position) {
            const double distance = std::abs(Distance(plane_, position));
            squares += distance * distance;
            result.maxDistance = std::max(result.maxDistance, distance);
            ++result.points;
        };
        if (slab_.thinning == 1) {
            for (const Vector& p : result.plane.data()) take(p);
        } else {
            const Slab slab = SlabWithin(reach_);
            auto visited = VisitSlab(cloud_, slab, options_.proceed,
                                     [&](const SimplePointT<float>& p, std::uint64_t) {
                                         const Vector position = Widened(p);
                                         if (IsInlier(position)) take(position);
                                     });
            if (!visited) return visited;
        }
        result.rms = std::sqrt(squares / static_cast<double>(result.points));
        return {};
    }

    void BuildOutline(FittedPlane& plane) const {
        const std::size_t max = std::max<std::size_t>(options_.outlinePoints, 1);
        if (plane.data().size() <= max) return plane.Generate2DExt();
        const std::vector<Vector> some = Thinned(plane.data(), max);
        plane.ReGenerate2DExt(&some);
    }

    CloudSource& cloud_;
    const SeedPlaneOptions& options_;
    std::shared_ptr<PlaneWormSettings> settings_;
    SeedFit fit_;
    FittedPlane plane_;
    double split_ = 0;
    bool enlarged_ = false;
    double tolerance_ = 0;
    double seedTolerance_ = 0;
    double reach_ = 0;
    SlabPoints slab_;
    PlaneGrid grid_;
    KeySet covered_;
    std::uint64_t cells_ = 0;
    std::uint64_t rejected_ = 0;
    std::uint64_t asked_ = 0;
    PlaneWorm::Ended ended_ = PlaneWorm::Ended::NotLaunched;
};

}  // namespace

Expected<SeedPlane> GrowPlaneFromSeed(CloudSource& cloud, const PlaneWormSettings& settings,
                                      const SimplePointT<double>& seed,
                                      const SeedPlaneOptions& options) {
    const double asked = options.splitSize > 0 ? options.splitSize : settings.aliveSplitSize;
    if (asked > kMaxSplitSize) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("a split size of {} m is more than the {} m that a search can "
                                "have; give another one",
                                asked, kMaxSplitSize));
    }
    auto fit = FitAtSeed(cloud, seed, options.snapDistance);
    if (!fit) return ErrorOf(fit);
    return Grower(cloud, settings, std::move(*fit), options).Grow();
}

std::array<double, 4> WorldEquation(const FittedPlane& plane, const LocalToWorld& frame) {
    // A plane's coefficients go with the inverse: a normal and one point say the same.
    const Vector normal = UnitNormal(plane);
    const Vector foot = normal * -Distance(plane, {});
    const Vector at = frame.ToWorld(foot);
    // The images of two directions in the plane span the world's plane.
    const Vector helper = std::abs(normal.z) < 0.5 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const Vector u = Cross(normal, helper);
    const Vector v = Cross(normal, u);
    const Vector toU = frame.ToWorld(u) - frame.Origin();
    const Vector toV = frame.ToWorld(v) - frame.Origin();
    const bool shifted = frame.m[0] == 1 && frame.m[5] == 1 && frame.m[10] == 1 &&
                         frame.m[1] == 0 && frame.m[2] == 0 && frame.m[4] == 0 && frame.m[6] == 0 &&
                         frame.m[8] == 0 && frame.m[9] == 0;
    Vector world = shifted ? normal : Unit(Cross(toU, toV));
    const double largest = std::max({std::abs(world.x), std::abs(world.y), std::abs(world.z)});
    const double leading = std::abs(world.z) == largest   ? world.z
                           : std::abs(world.y) == largest ? world.y
                                                          : world.x;
    if (leading < 0) world = world * -1.0;
    return {world.x, world.y, world.z, -Dot(world, at)};
}

}  // namespace orvix::detail
