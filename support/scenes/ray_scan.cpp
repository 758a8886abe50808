// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/ray_scan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "orvix/geometry/sine_cosine.h"
#include "support/dice.h"

namespace orvix::test {
namespace {

using detail::Cross, detail::Dot, detail::Unit, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr double kRadians = std::numbers::pi / 180;
constexpr double kFlattestCosine = 0.05;               // of the ray and the surface's normal
constexpr double kMixedFrom = 0.02, kMixedUpTo = 0.4;  // metres between a mixed pixel's surfaces
constexpr double kBeamReach = 0.1;                     // metres, more than half a beam across
constexpr double kNowhere = std::numeric_limits<double>::infinity();

bool Holds(const RaySurface::Rect& rect, double s, double t) {
    return s > rect.left && s < rect.right && t > rect.bottom && t < rect.top;
}

/// How far a surface stands out at a place; beyond its rim as far as there.
double HeightAt(const RaySurface& surface, double s, double t) {
    s = std::clamp(s, 0.0, surface.width);
    t = std::clamp(t, 0.0, surface.height);
    double height = 0;
    if (surface.waviness != 0)
        height += surface.waviness / 2 *
                  detail::SineCosineOf(std::numbers::pi * s + surface.phaseS).sine *
                  detail::SineCosineOf(std::numbers::pi * t + surface.phaseT).sine;
    if (surface.warp != 0)
        height += surface.warp * (2 * s / surface.width - 1) * (2 * t / surface.height - 1);
    for (const RaySurface::Panel& panel : surface.panels)
        if (Holds(panel.rect, s, t)) height += panel.height;
    return height;
}

struct Hit {
    double range = kNowhere;
    double cosine = 1;  // of the ray and the surface's normal, positive
    std::int32_t plane = kNoPlane;
    std::size_t what = 0;
};

/// The surfaces as one station sees them.
class View {
public:
    View(const RayScene& scene, const Vector& station) : scene_(scene) {
        for (const RaySurface& surface : scene.surfaces) {
            Seen seen;
            seen.normal = Cross(surface.u, surface.v);
            seen.corner = surface.corner - station;
            seen.distance = Dot(seen.corner, seen.normal);
            const Vector half = surface.u * (surface.width / 2) + surface.v * (surface.height / 2);
            seen.centre = seen.corner + half;
            double spare = surface.waviness + std::abs(surface.warp) + 1e-6;
            for (const auto& panel : surface.panels) spare += std::abs(panel.height);
            seen.radius = detail::Length(half) + spare;
            // A ray meets the surface's ball when it runs this far along towards its centre.
            seen.alongSquared = Dot(seen.centre, seen.centre) - seen.radius * seen.radius;
            seen.curved = surface.waviness != 0 || surface.warp != 0 || !surface.panels.empty();
            seen_.push_back(seen);
        }
        for (const RayBall& ball : scene.balls) balls_.push_back(ball.centre - station);
    }

    /// Keeps the surfaces that rays near an upright half plane can meet; `around` points along it.
    void Turn(const Vector& around) {
        const Vector across{-around.y, around.x, 0};
        near_.clear();
        for (std::size_t i = 0; i < seen_.size(); ++i) {
            const double reach = seen_[i].radius + kBeamReach;
            if (std::abs(Dot(across, seen_[i].centre)) <= reach &&
                Dot(around, seen_[i].centre) >= -reach)
                near_.push_back(i);
        }
    }

    /// The nearest hit of a ray beyond a range; glass counts as any surface.
    [[nodiscard]] Hit Nearest(const Vector& ray, double beyond) const {
        Hit best;
        for (const std::size_t i : near_) {
            const double along = Dot(ray, seen_[i].centre);
            if (seen_[i].alongSquared > 0 && (along < 0 || along * along < seen_[i].alongSquared))
                continue;
            const double range = RangeOf(i, ray);
            if (range > beyond && range < best.range)
                best = {range, std::abs(Dot(ray, seen_[i].normal)), scene_.surfaces[i].plane, i};
        }
        for (std::size_t i = 0; i < balls_.size(); ++i) {
            const double along = Dot(ray, balls_[i]), radius = scene_.balls[i].radius;
            const double rest = along * along - Dot(balls_[i], balls_[i]) + radius * radius;
            if (rest < 0) continue;
            const double range = along - std::sqrt(rest);
            if (range > beyond && range < best.range)
                best = {range, std::sqrt(rest) / radius, kNoPlane, seen_.size() + i};
        }
        return best;
    }

    [[nodiscard]] double PassesAt(const Hit& hit) const {
        return hit.what < seen_.size() ? scene_.surfaces[hit.what].passes : 0;
    }

private:
    struct Seen {
        Vector normal, corner, centre;
        double distance = 0;  // of the plane, along its normal
        double radius = 0;    // of a ball around the surface
        double alongSquared = 0;
        bool curved = false;
    };

    [[nodiscard]] double RangeOf(std::size_t i, const Vector& ray) const {
        const Seen& seen = seen_[i];
        const RaySurface& surface = scene_.surfaces[i];
        const double towards = Dot(ray, seen.normal);
        if (towards == 0) return kNowhere;
        double range = seen.distance / towards;
        double s = 0, t = 0;
        const auto place = [&] {
            const Vector at = ray * range - seen.corner;
            s = Dot(at, surface.u);
            t = Dot(at, surface.v);
        };
        place();
        // The slopes of waves and warps are small: each turn comes twice as near or nearer, even where
        // the ray is as flat as may be.
        for (int turn = 0; turn < 4 && seen.curved; ++turn) {
            range = (seen.distance + HeightAt(surface, s, t)) / towards;
            place();
        }
        const bool inside = s >= 0 && t >= 0 && s <= surface.width && t <= surface.height;
        if (!inside) return kNowhere;
        for (const auto& hole : surface.holes)
            if (Holds(hole, s, t)) return kNowhere;
        for (const auto& cut : surface.cuts)
            if (cut.along * s + cut.up * t > cut.limit) return kNowhere;
        return range;
    }

    const RayScene& scene_;
    std::vector<Seen> seen_;
    std::vector<std::size_t> near_;
    std::vector<Vector> balls_;
};

/// A direction across a ray, of length one, at an angle around it.
Vector Across(const Vector& ray, double angle) {
    const Vector side = std::abs(ray.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const Vector a = Unit(Cross(ray, side));
    const Vector b = Cross(ray, a);
    const auto [sine, cosine] = detail::SineCosineOf(angle);
    return a * cosine + b * sine;
}

class Scanner {
public:
    Scanner(const RayScene& scene, const RayOptions& options)
        : options_(options), view_(scene, options.station), state_(options.seed), dice_(state_) {}

    void Turn(const Vector& around) { view_.Turn(around); }

    [[nodiscard]] RayReturn Measure(const Vector& ray) {
        RayReturn result;
        Hit hit = Met(ray);
        const double noise = dice_.Normal() * options_.noise;
        const double angle = dice_.Share() * 2 * std::numbers::pi, share = dice_.Share();
        if (hit.range == kNowhere || hit.cosine < kFlattestCosine) return result;
        if (options_.beam > 0) Mix(hit, ray, angle, share);
        result.hit = true;
        result.local = ray * (hit.range + noise);
        result.point.position = options_.station + result.local + options_.displacement +
                                detail::Cross(options_.turn, result.local);
        result.point.plane = hit.plane;
        return result;
    }

private:
    /// The first hit from which a beam comes back.
    Hit Met(const Vector& ray) {
        Hit hit = view_.Nearest(ray, 0);
        while (hit.range < kNowhere && view_.PassesAt(hit) > 0 &&
               dice_.Share() < view_.PassesAt(hit))
            hit = view_.Nearest(ray, hit.range + 1e-4);
        return hit;
    }

    /// Where the beam's rim meets another surface, what comes back lies between the two.
    void Mix(Hit& hit, const Vector& ray, double angle, double share) const {
        if (view_.PassesAt(hit) > 0) return;
        const double radius = 0.5 * (options_.beam + options_.divergence * hit.range);
        const Vector rim = Unit(ray * hit.range + Across(ray, angle) * radius);
        const Hit other = view_.Nearest(rim, 0);
        const double gap = std::abs(other.range - hit.range);
        if (other.what == hit.what || gap < kMixedFrom || gap > kMixedUpTo ||
            view_.PassesAt(other) > 0)
            return;
        hit.range += (other.range - hit.range) * (0.1 + 0.8 * share);
        hit.plane = kNoPlane;
    }

    RayOptions options_;
    View view_;
    std::uint64_t state_;
    Dice dice_;
};

}  // namespace

RayGrid RayGridOf(const RayOptions& options) {
    return {static_cast<int>(360 / options.step + 0.5),
            static_cast<int>((90 - kLowestDegrees) / options.step + 0.5)};
}

void RayScan(const RayScene& scene, const RayOptions& options,
             const std::function<void(const RayReturn&)>& take) {
    Scanner scanner(scene, options);
    const RayGrid grid = RayGridOf(options);
    for (int column = 0; column < grid.columns; ++column) {
        const auto around = detail::SineCosineOf((column + 0.5) * 360 / grid.columns * kRadians);
        scanner.Turn({around.cosine, around.sine, 0});
        for (int row = 0; row < grid.rows; ++row) {
            const double degrees = kLowestDegrees + (row + 0.5) * options.step;
            const auto up = detail::SineCosineOf(degrees * kRadians);
            take(scanner.Measure({up.cosine * around.cosine, up.cosine * around.sine, up.sine}));
        }
    }
}

}  // namespace orvix::test
