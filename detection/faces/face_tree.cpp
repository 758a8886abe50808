// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/faces/face_tree.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "detection/faces/empty_strips.h"

namespace orvix::detection {

using detail::SineCosine;

namespace {

constexpr double kMaxArea = 4;     // square metres
constexpr double kMinArea = 0.04;  // of two faces and what is between them
constexpr double kMinSide = 0.15;  // metres
constexpr std::size_t kMinPlaces = 100;
constexpr std::size_t kStripsAsked = 6;  // of a direction and those beside it
constexpr std::size_t kStripsOfPlace = 3;
constexpr double kSameAngle = 0.003;  // radians: a side that lies along an axis
// Radians by which a strip may be turned from the sides of the piece.
constexpr std::array<double, 7> kTurns{0, -0.013, 0.013, -0.0065, 0.0065, -0.026, 0.026};
constexpr std::size_t kFirstTurns = 3;  // where none of these finds a strip, the others find none

std::vector<Place2D> PlacesOf(const PlaneRaster& raster) {
    std::vector<Place2D> places;
    for (std::int64_t row = 0; row < raster.Height(); ++row) {
        for (std::size_t word = 0; word < raster.Words(); ++word) {
            for (std::uint64_t bits = raster.Word(row, word); bits != 0; bits &= bits - 1) {
                const auto column = static_cast<std::int64_t>(word) * 64 + std::countr_zero(bits);
                const Place2D corner = raster.Corner(column, row);
                places.push_back({corner.x + raster.Pixel() / 2, corner.y + raster.Pixel() / 2});
            }
        }
    }
    return places;
}

double Turn(const Place2D& a, const Place2D& b, const Place2D& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// The convex hull of places row by row, counter-clockwise: Andrew's monotone chain.
std::vector<Place2D> HullOf(std::span<const Place2D> rows) {
    std::vector<Place2D> places;  // the ends of rows
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (i == 0 || i + 1 == rows.size() || rows[i - 1].y != rows[i].y ||
            rows[i].y != rows[i + 1].y)
            places.push_back(rows[i]);
    const auto less = [](const Place2D& a, const Place2D& b) {
        return a.x != b.x ? a.x < b.x : a.y < b.y;
    };
    std::sort(places.begin(), places.end(), less);
    std::vector<Place2D> hull;
    const auto add = [&](const Place2D& p, std::size_t least) {
        while (hull.size() >= least + 2 && Turn(hull[hull.size() - 2], hull.back(), p) <= 0)
            hull.pop_back();
        hull.push_back(p);
    };
    for (const Place2D& p : places) add(p, 0);
    const std::size_t lower = hull.size() - 1;
    for (auto p = places.rbegin() + 1; p != places.rend(); ++p) add(*p, lower);
    hull.pop_back();
    return hull;
}

// The direction of a side of the smallest rectangle around the places; none where that holds no two
// faces.
std::optional<SineCosine> SideOf(std::span<const Place2D> places) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<Place2D> hull = HullOf(places);
    double best = kInfinity, shorter = 0;
    SineCosine side;
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const Place2D& from = hull[i];
        const Place2D& to = hull[(i + 1) % hull.size()];
        const double dx = to.x - from.x, dy = to.y - from.y, length = std::sqrt(dx * dx + dy * dy);
        if (!(length > 0)) continue;
        const SineCosine along{dy / length, dx / length};
        double left = kInfinity, right = -kInfinity, bottom = kInfinity, top = -kInfinity;
        for (const Place2D& p : hull) {
            const double x = along.cosine * p.x + along.sine * p.y;
            const double y = along.cosine * p.y - along.sine * p.x;
            left = std::min(left, x);
            right = std::max(right, x);
            bottom = std::min(bottom, y);
            top = std::max(top, y);
        }
        const double area = (right - left) * (top - bottom);
        if (area >= best) continue;
        best = area;
        shorter = std::min(right - left, top - bottom);
        side = along;
    }
    if (best < kMinArea || shorter < kMinSide) return {};
    return side;
}

// The directions across strips that are asked: those of the frame's axes and of the piece's sides, each
// turned a little, family by family.
std::vector<SineCosine> DirectionsFor(std::span<const Place2D> places) {
    std::vector<SineCosine> sides{{0, 1}, {1, 0}};
    const std::optional<SineCosine> side = SideOf(places);
    if (!side) return {};
    if (std::min(std::abs(side->sine), std::abs(side->cosine)) > kSameAngle) {
        sides.push_back(*side);
        sides.push_back({side->cosine, -side->sine});
    }
    std::vector<SineCosine> directions;
    for (const SineCosine& its : sides) {
        for (const double angle : kTurns) {
            const SineCosine turn = detail::SineCosineOf(angle);
            directions.push_back({its.sine * turn.cosine + its.cosine * turn.sine,
                                  its.cosine * turn.cosine - its.sine * turn.sine});
        }
    }
    return directions;
}

class FaceCutter {
public:
    FaceCutter(std::vector<Place2D> places, double pixel) : pixel_(pixel) {
        CutPiece(std::move(places));
    }
    FaceTree Tree() { return FaceTree(std::move(cuts_)); }

private:
    // What a piece became: a cut, or a face.
    std::int32_t CutPiece(std::vector<Place2D> places) {
        const std::optional<FaceTree::Cut> found = FindCut(places);
        if (!found) return ~faces_++;
        const std::size_t number = cuts_.size();
        cuts_.push_back(*found);
        const auto middle = std::stable_partition(
            places.begin(), places.end(),
            [&](const Place2D& p) { return found->x * p.x + found->y * p.y < found->at; });
        std::vector<Place2D> after(middle, places.end());
        places.erase(middle, places.end());
        const std::int32_t its = CutPiece(std::move(places));
        const std::int32_t others = CutPiece(std::move(after));
        cuts_[number].before = its;
        cuts_[number].after = others;
        return static_cast<std::int32_t>(number);
    }

    struct Asked {
        std::size_t direction = 0;
        EmptyStrip strip;
        double low = 0, high = 0;  // across
    };

    [[nodiscard]] std::vector<Asked> StripsOf(std::span<const Place2D> places,
                                              std::span<const SineCosine> directions) const {
        std::vector<Asked> all;
        std::size_t before = 0;  // strips of other families
        for (std::size_t i = 0; i < directions.size(); ++i) {
            const std::size_t turn = i % kTurns.size();
            if (turn == 0) before = all.size();
            if (turn >= kFirstTurns && all.size() == before) continue;
            const StepCounts counts(places, directions[i], pixel_);
            for (const EmptyStrip& strip : counts.Strips()) {
                const double middle = counts.MiddleOf(strip);
                const double half = (strip.high - strip.low) * pixel_ / 2;
                all.push_back({i, strip, middle - half, middle + half});
            }
        }
        std::stable_sort(all.begin(), all.end(), [](const Asked& a, const Asked& b) {
            return a.strip.quality > b.strip.quality;
        });
        std::vector<Asked> kept;
        for (const Asked& asked : all) {
            std::size_t alike = 0, ofFamily = 0;
            for (const Asked& other : kept) {
                if (other.direction / kTurns.size() != asked.direction / kTurns.size()) continue;
                ++ofFamily;
                alike += other.low < asked.high && asked.low < other.high ? 1 : 0;
            }
            if (alike < kStripsOfPlace && ofFamily < kStripsAsked) kept.push_back(asked);
        }
        std::stable_sort(kept.begin(), kept.end(),
                         [](const Asked& a, const Asked& b) { return a.direction < b.direction; });
        return kept;
    }

    [[nodiscard]] std::optional<FaceTree::Cut> FindCut(std::span<const Place2D> places) const {
        if (places.size() < kMinPlaces) return {};
        const std::vector<SineCosine> directions = DirectionsFor(places);
        const std::vector<Asked> strips = StripsOf(places, directions);
        std::optional<FaceTree::Cut> best;
        double surest = 0;
        for (std::size_t i = 0; i < strips.size();) {
            const SineCosine& direction = directions[strips[i].direction];
            const StepCounts counts(places, direction, pixel_);
            const StripJudge judge(counts, places);
            const std::size_t first = i;
            for (; i < strips.size() && strips[i].direction == strips[first].direction; ++i) {
                const std::optional<double> surety = judge.SuretyOf(strips[i].strip);
                if (!surety || *surety <= surest) continue;
                surest = *surety;
                best = {direction.cosine, direction.sine, counts.MiddleOf(strips[i].strip), 0, 0};
            }
        }
        return best;
    }

    double pixel_;
    std::vector<FaceTree::Cut> cuts_;
    std::int32_t faces_ = 0;
};

}  // namespace

FaceTree CutIntoFaces(const PlaneRaster& raster) {
    std::vector<Place2D> places = PlacesOf(raster);
    if (places.size() < kMinPlaces || AreaSeen(places) > kMaxArea) return {};
    return FaceCutter(std::move(places), raster.Pixel()).Tree();
}

RegionFaces::RegionFaces(std::vector<FaceTree> trees, std::vector<PlaneFrame> frames)
    : trees_(std::move(trees)), frames_(std::move(frames)) {
    if (std::all_of(trees_.begin(), trees_.end(),
                    [](const FaceTree& tree) { return tree.Faces() == 1; }))
        return;
    numbers_.assign(trees_.size(), -1);
    for (std::size_t i = 0; i < trees_.size(); ++i) {
        if (trees_[i].Faces() == 1) continue;
        numbers_[i] = static_cast<std::int32_t>(trees_.size() + others_.size());
        others_.insert(others_.end(), trees_[i].Faces() - 1, static_cast<std::int32_t>(i));
    }
}

}  // namespace orvix::detection
