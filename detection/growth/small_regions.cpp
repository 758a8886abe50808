// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/small_regions.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "detection/growth/speck_groups.h"
#include "detection/growth/speck_neighbours.h"
#include "detection/growth/speck_shapes.h"
#include "orvix/platform/asker.h"

namespace orvix::detection {
namespace {

constexpr double kMaxDistance = 0.8;    // of a cell's side: of a neighbour
constexpr double kMaxSparse = 2.5;      // and where the cell holds no more than a few points,
constexpr double kFewPoints = 3;        // as on a facade that is far from the scanner
constexpr std::size_t kMinSpecks = 12;  // of a region
constexpr std::size_t kMinRimSpecks = 6;
constexpr double kMinWidth = 0.055;         // of a cell's side: standard deviation across a region
constexpr double kMaxLineWidth = 0.08;      // and of a line that is no region beside another one
constexpr std::uint8_t kMaxDrops = 2;       // regions that a speck leads on in vain
constexpr std::size_t kMinSupport = 7;      // neighbours on a region's plane: a speck that leads on
constexpr double kMaxSureTurn = 0.1;        // radians: a normal that is surer than that may refuse
constexpr double kMaxCosineOfOther = 0.7;   // of such a normal with the region's
constexpr double kMaxFilled = 0.46;         // of what a region allows its specks: its rms
constexpr double kMaxCurved = 0.4;          // share of the squares that a paraboloid explains
constexpr double kMinCosineToKnown = 0.99;  // of a region that is parallel to one around it
constexpr double kMaxCosineUpright = 0.14;  // of one that stands upright on another
constexpr double kTimesLarger = 2;          // points of a region beside that say whether one leans
constexpr double kMaxThickness = 0.2;       // of one that leans on these: rms, of its spread across
constexpr double kMaxCrossed = 0.05;     // of one that leans: places where a surface passes through
constexpr double kMinCorrelation = 0.5;  // there, of heights with places across the region
constexpr double kMaxScatter = 1.7;      // times the noise: the rms that counts
constexpr double kMinScatter = 0.0014;   // metres: and this counts in any scan
constexpr double kScatters = 4;          // times a region's rms: how far its specks may lie

constexpr std::uint32_t kSpecksPerQuestion = 2048;  // some milliseconds

std::vector<Vector> MeansOf(std::span<const Speck> specks) {
    std::vector<Vector> means;
    means.reserve(specks.size());
    for (const Speck& speck : specks) means.push_back(speck.sum.Mean());
    return means;
}

std::vector<SpeckNeighbours::Place> PlacesOf(std::span<const Vector> means) {
    std::vector<SpeckNeighbours::Place> places;
    places.reserve(means.size());
    for (const Vector& at : means)
        places.push_back(
            {static_cast<float>(at.x), static_cast<float>(at.y), static_cast<float>(at.z)});
    return places;
}

// Of each speck, the square of how far its neighbours lie at most.
std::vector<float> FarthestOf(std::span<const Speck> specks, const TileCells& tile) {
    const double size = tile.Frame().Size();
    std::vector<float> farthest;
    farthest.reserve(specks.size());
    for (const Speck& speck : specks) {
        const bool sparse = tile.Sum(speck.cell).count <= kFewPoints;
        const double distance = (sparse ? kMaxSparse : kMaxDistance) * size;
        farthest.push_back(static_cast<float>(distance * distance));
    }
    return farthest;
}

// Whether noise is so large a share of how wide a region is that it turns the region as it likes.
bool IsThick(const MomentSum& points) {
    const detail::PrincipalSpread spread = SpreadOf(points.Covariance());
    return spread.min > kMaxThickness * kMaxThickness * spread.middle;
}

class SmallGrower {
public:
    SmallGrower(std::span<const Speck> specks, const TileCells& tile, const Regions& around,
                const GrowthLimits& limits, const std::function<bool()>& proceed)
        : asker_(proceed, kSpecksPerQuestion),
          specks_(specks),
          tile_(tile),
          around_(around),
          limits_(limits),
          means_(MeansOf(specks)),
          nearest_(PlacesOf(means_), FarthestOf(specks, tile), asker_),
          shapes_(ShapesOfSpecks(means_, nearest_, limits.distance, asker_)),
          regionOf_(specks.size(), kNoRegion),
          seen_(specks.size(), 0),
          drops_(specks.size(), 0) {}

    SmallRegions Grow() {
        for (const std::uint32_t seed : Seeds()) {
            if (!asker_.GoesOn()) break;
            if (regionOf_[seed] != kNoRegion || drops_[seed] > 0) continue;
            Start(seed);
            Spread();
            Recheck();
            if (IsWorthKeeping()) {
                Keep();
            } else {
                Discard();
            }
        }
        return Finish();
    }

private:
    struct Member {
        std::uint32_t speck = 0;
        bool edge = false;  // leads no further
    };

    [[nodiscard]] std::vector<std::uint32_t> Seeds() const;
    void Start(std::uint32_t seed);
    void Spread();
    void Recheck();
    void Fit();
    void Allow() {
        const double rms = std::min(rms_, std::max(kMaxScatter * limits_.noise, kMinScatter));
        allowed_ = limits_.fixed ? limits_.distance : std::max(limits_.distance, kScatters * rms);
    }
    [[nodiscard]] bool Fits(std::uint32_t speck) const {
        return std::abs(Dot(normal_, means_[speck] - centre_)) <= allowed_;
    }
    // Whether most neighbours of a speck lie on the plane: beside an edge the normal says little.
    [[nodiscard]] bool IsSupported(std::uint32_t speck) const {
        const auto around = nearest_.Of(speck);
        return static_cast<std::size_t>(
                   std::count_if(around.begin(), around.end(),
                                 [&](std::uint32_t other) { return Fits(other); })) >= kMinSupport;
    }
    [[nodiscard]] std::vector<Vector> PlacesAboutCentre() const;
    [[nodiscard]] MomentSum Points() const;
    [[nodiscard]] bool Leans(double points) const;
    [[nodiscard]] bool LeansOnNeighbours(double points) const;
    [[nodiscard]] double CrossedShare(const Vector& across) const;
    [[nodiscard]] bool IsWorthKeeping() const;
    [[nodiscard]] bool TouchesRim() const {
        return std::any_of(members_.begin(), members_.end(), [&](const Member& member) {
            return tile_.LiesAtRim(specks_[member.speck].cell);
        });
    }
    void Keep();
    void Discard();
    SmallRegions Finish();

    detail::Asker asker_;
    std::span<const Speck> specks_;
    const TileCells& tile_;
    const Regions& around_;
    GrowthLimits limits_;
    std::vector<Vector> means_;
    SpeckNeighbours nearest_;
    std::vector<SpeckShape> shapes_;
    std::vector<std::int32_t> regionOf_;
    std::vector<std::uint32_t> seen_;  // the round in which a speck was last compared
    std::vector<std::uint8_t> drops_;  // of a speck's regions; no seed after the first
    std::uint32_t round_ = 0;
    SmallRegions result_;
    // The region at work.
    std::int32_t number_ = 0;
    std::vector<Member> members_;
    Vector normal_;
    Vector centre_;
    double rms_ = 0;
    double width_ = 0;    // variance across it, along its plane
    double allowed_ = 0;  // distance of a speck from the plane
};

std::vector<std::uint32_t> SmallGrower::Seeds() const {
    constexpr std::size_t kMinOfSeed = 8;
    std::vector<std::pair<double, std::uint32_t>> ranked;
    const double size = tile_.Frame().Size();
    for (std::uint32_t i = 0; i < specks_.size(); ++i)
        if (shapes_[i].flat && nearest_.Of(i).size() >= kMinOfSeed)
            ranked.emplace_back(shapes_[i].rms + shapes_[i].turn * size / 5, i);
    std::sort(ranked.begin(), ranked.end());
    std::vector<std::uint32_t> seeds;
    for (const auto& [flatness, seed] : ranked) seeds.push_back(seed);
    return seeds;
}

void SmallGrower::Start(std::uint32_t seed) {
    ++round_;
    number_ = static_cast<std::int32_t>(result_.regions.size());
    normal_ = shapes_[seed].normal;
    rms_ = shapes_[seed].rms;
    Vector sum = means_[seed];
    for (const std::uint32_t other : nearest_.Of(seed)) sum = sum + means_[other];
    centre_ = sum * (1.0 / static_cast<double>(nearest_.Of(seed).size() + 1));
    Allow();
    members_.clear();
    if (!Fits(seed)) return;
    members_.push_back({seed, false});
    regionOf_[seed] = number_;
    seen_[seed] = round_;
}

void SmallGrower::Spread() {
    std::size_t refitAt = std::max<std::size_t>(8, members_.size() * 3 / 2);
    for (std::size_t front = 0; front < members_.size(); ++front) {
        if (members_[front].edge) continue;
        for (const std::uint32_t speck : nearest_.Of(members_[front].speck)) {
            if (regionOf_[speck] != kNoRegion || seen_[speck] == round_) continue;
            seen_[speck] = round_;
            if (!Fits(speck)) continue;
            const SpeckShape& shape = shapes_[speck];
            const double cosine = std::abs(Dot(shape.normal, normal_));
            if (shape.flat && shape.turn < kMaxSureTurn && cosine < kMaxCosineOfOther) continue;
            const bool along = (shape.flat && cosine >= limits_.minCosine) || IsSupported(speck);
            const bool leads = along && drops_[speck] < kMaxDrops;
            regionOf_[speck] = number_;
            members_.push_back({speck, !leads});
        }
        if (members_.size() >= refitAt) {
            Fit();
            refitAt = members_.size() * 3 / 2;
        }
    }
}

void SmallGrower::Fit() {
    MomentSum sum;
    const Vector origin = means_[members_.front().speck];
    for (const Member& member : members_) sum.Add(means_[member.speck] - origin);
    const detail::PrincipalSpread spread = SpreadOf(sum.Covariance());
    normal_ = spread.normal;
    centre_ = origin + sum.Mean();
    rms_ = std::sqrt(spread.min * sum.count / std::max(1.0, sum.count - 3));
    width_ = spread.middle;
    Allow();
}

// Compares the specks with the plane that they made, twice, as GrowRegions does with cells.
void SmallGrower::Recheck() {
    for (int turn = 0; turn < 2 && members_.size() >= kMinRimSpecks; ++turn) {
        Fit();
        ++round_;
        const std::size_t grown = members_.size();
        std::size_t kept = 0;
        for (const Member& member : members_) {
            seen_[member.speck] = round_;
            if (Fits(member.speck)) {
                members_[kept++] = member;
            } else {
                regionOf_[member.speck] = kNoRegion;
            }
        }
        members_.resize(kept);
        Spread();
        if (kept == grown && members_.size() == grown) break;  // and so it would stay
    }
    if (members_.size() >= kMinRimSpecks) Fit();
}

MomentSum SmallGrower::Points() const {
    MomentSum points;
    for (const Member& member : members_) points.Add(specks_[member.speck].sum);
    return points;
}

// Whether no region that grew from cells is parallel to this one, and no larger one that grew from
// specks. `points`: of this one.
bool SmallGrower::Leans(double points) const {
    const auto isParallel = [&](const Region& region) {
        return std::abs(Dot(region.plane.normal, normal_)) > kMinCosineToKnown;
    };
    return std::none_of(around_.regions.begin(), around_.regions.end(), isParallel) &&
           std::none_of(result_.regions.begin(), result_.regions.end(), [&](const Region& region) {
               return region.sum.count > points && isParallel(region);
           });
}

// Whether larger regions lie beside this one, none parallel to it and not all of them upright on it.
bool SmallGrower::LeansOnNeighbours(double points) const {
    double nearest = 0;  // cosine
    const auto compare = [&](const Region& other) {
        if (other.sum.count > kTimesLarger * points)
            nearest = std::max(nearest, std::abs(Dot(other.plane.normal, normal_)));
    };
    for (const Member& member : members_) {
        for (const std::uint32_t cell : tile_.Around(specks_[member.speck].cell)) {
            const std::int32_t region = around_.ofCell[cell];
            if (region != kNoRegion) compare(around_.regions[static_cast<std::size_t>(region)]);
        }
        for (const std::uint32_t speck : nearest_.Of(member.speck)) {
            const std::int32_t region = regionOf_[speck];
            if (region != kNoRegion && region != number_)
                compare(result_.regions[static_cast<std::size_t>(region)]);
        }
    }
    return nearest > kMaxCosineUpright && nearest <= kMinCosineToKnown;
}

// The share of the specks at which a surface passes from one side of the plane to the other: their
// neighbours lie beyond what is allowed on both sides, and the higher the farther to one side. A
// plane that leans against all others through the edges of a frame consists of such places; the
// faces of the frame have them, too, at their edges.
double SmallGrower::CrossedShare(const Vector& across) const {
    std::size_t crossed = 0;
    for (const Member& member : members_) {
        bool above = false, below = false;
        double slopes = 0, breadths = 0, heights = 0;
        for (const std::uint32_t other : nearest_.Of(member.speck)) {
            const double height = Dot(normal_, means_[other] - centre_);
            above |= height > allowed_;
            below |= height < -allowed_;
            const Vector by = means_[other] - means_[member.speck];
            const double l = Dot(across, by), h = Dot(normal_, by);
            slopes += l * h;
            breadths += l * l;
            heights += h * h;
        }
        if (above && below &&
            slopes * slopes > kMinCorrelation * kMinCorrelation * breadths * heights)
            ++crossed;
    }
    return static_cast<double>(crossed) / static_cast<double>(members_.size());
}

std::vector<Vector> SmallGrower::PlacesAboutCentre() const {
    std::vector<Vector> places;
    for (const Member& member : members_) places.push_back(means_[member.speck] - centre_);
    return places;
}

bool SmallGrower::IsWorthKeeping() const {
    if (members_.size() < kMinRimSpecks) return false;
    const double narrowest = kMinWidth * tile_.Frame().Size();
    if (width_ < narrowest * narrowest) return false;
    // A patch of a round thing fills what is allowed, a plane does not.
    if (rms_ > kMaxFilled * allowed_) return false;
    const std::vector<Vector> places = PlacesAboutCentre();
    const double size = tile_.Frame().Size();
    if (CurvedShare(places, normal_, size) > kMaxCurved) return false;
    const Vector across = DirectionAcross(places);
    if (LieAlongTwoLines(places, across, kMaxLineWidth * size)) return false;
    const MomentSum points = Points();
    if (Leans(points.count) && CrossedShare(across) > kMaxCrossed) return false;
    if (IsThick(points) && LeansOnNeighbours(points.count)) return false;  // BEHAVIOUR A22
    return members_.size() >= kMinSpecks || TouchesRim();
}

void SmallGrower::Keep() {
    Region region;
    region.small = true;
    region.origin = tile_.Middle();
    std::vector<std::pair<std::uint32_t, CellBox>> boxes;
    std::sort(members_.begin(), members_.end(),
              [](const Member& a, const Member& b) { return a.speck < b.speck; });
    for (const Member& member : members_) {
        const Speck& speck = specks_[member.speck];
        region.sum.Add(speck.sum);
        boxes.emplace_back(speck.cell, speck.box);
    }
    region.scatter = rms_ * rms_ * region.sum.count;
    region.scattered = region.sum.count;
    std::stable_sort(boxes.begin(), boxes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t i = 0; i < boxes.size();) {
        const std::uint32_t cell = boxes[i].first;
        CellBox box;
        for (; i < boxes.size() && boxes[i].first == cell; ++i) box.Add(boxes[i].second);
        result_.parts.push_back({cell, number_, {box, tile_.CornerOf(cell), tile_.Frame().Size()}});
        ++region.cells;
    }
    Refit(region);
    result_.regions.push_back(region);
}

void SmallGrower::Discard() {
    for (const Member& member : members_) {
        regionOf_[member.speck] = kNoRegion;
        if (drops_[member.speck] < kMaxDrops) ++drops_[member.speck];
    }
}

SmallRegions SmallGrower::Finish() {
    std::sort(result_.parts.begin(), result_.parts.end(),
              [](const SmallPart& a, const SmallPart& b) {
                  return std::tie(a.cell, a.region) < std::tie(b.cell, b.region);
              });
    return std::move(result_);
}

}  // namespace

SmallRegions GrowSmallRegions(std::span<const Speck> specks, const TileCells& tile,
                              const Regions& around, const GrowthLimits& limits,
                              const std::function<bool()>& proceed) {
    if (specks.size() < kMinRimSpecks) return {};
    return SmallGrower(specks, tile, around, limits, proceed).Grow();
}

}  // namespace orvix::detection
