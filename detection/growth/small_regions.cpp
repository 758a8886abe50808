// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/small_regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

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
constexpr double kMinWidth = 0.055;        // of a cell's side: standard deviation across a region
constexpr double kMaxLineWidth = 0.08;     // and of a line that is no region beside another one
constexpr std::uint8_t kMaxDrops = 2;      // regions that a speck leads on in vain
constexpr std::size_t kMinSupport = 7;     // neighbours on a region's plane: a speck that leads on
constexpr double kMaxSureTurn = 0.1;       // radians: a normal that is surer than that may refuse
constexpr double kMaxCosineOfOther = 0.7;  // of such a normal with the region's
constexpr double kMaxFilled = 0.46;        // of what a region allows its specks: its rms
constexpr double kMaxCurved = 0.4;         // share of the squares that a paraboloid explains
constexpr double kMinKurtosis = 1.4;       // across a region: of a face, not of its two edges
constexpr double kMinPivot = 1e-9;         // of a term that the others do not hold already
constexpr double kScatters = 4;            // times a region's rms: how far its specks may lie

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

class SmallGrower {
public:
    SmallGrower(std::span<const Speck> specks, const TileCells& tile, const GrowthLimits& limits,
                const std::function<bool()>& proceed)
        : asker_(proceed, kSpecksPerQuestion),
          specks_(specks),
          tile_(tile),
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
        const double rms = std::min(rms_, 1.5 * limits_.noise);
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
    [[nodiscard]] double CurvedShare() const;
    [[nodiscard]] bool IsTwoLines() const;
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
    seeds.reserve(ranked.size());
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

// The share of the specks' squared distances from their plane that a paraboloid explains: little of
// noise, most of a patch of a round thing.
double SmallGrower::CurvedShare() const {
    constexpr std::size_t kTerms = 6;  // 1, x, y, xx, xy, yy
    const Vector across = std::abs(normal_.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const Vector u = detail::Unit(detail::Cross(normal_, across)), v = detail::Cross(normal_, u);
    const double scale = 1 / tile_.Frame().Size();
    std::array<std::array<double, kTerms + 1>, kTerms> m{};  // normal equations
    double squares = 0;
    for (const Member& member : members_) {
        const Vector at = means_[member.speck] - centre_;
        const double x = Dot(u, at) * scale, y = Dot(v, at) * scale, z = Dot(normal_, at);
        const std::array<double, kTerms + 1> row{1, x, y, x * x, x * y, y * y, z};
        for (std::size_t i = 0; i < kTerms; ++i)
            for (std::size_t j = i; j <= kTerms; ++j) m[i][j] += row[i] * row[j];
        squares += z * z;
    }
    // Cholesky's steps, on the right side too: what each term explains is the square of its own.
    double explained = 0;
    for (std::size_t i = 0; i < kTerms; ++i) {
        if (!(m[i][i] > kMinPivot * static_cast<double>(members_.size()))) return 0;
        const double root = std::sqrt(m[i][i]);
        for (std::size_t j = i; j <= kTerms; ++j) m[i][j] /= root;
        for (std::size_t k = i + 1; k < kTerms; ++k)
            for (std::size_t j = k; j <= kTerms; ++j) m[k][j] -= m[i][k] * m[i][j];
        explained += m[i][kTerms] * m[i][kTerms];
    }
    // Three terms more explain some of any noise, the more the fewer specks there are.
    const auto count = static_cast<double>(members_.size());
    if (squares <= 0 || count <= kTerms) return 0;
    return 1 - (1 - explained / squares) * (count - 3) / (count - kTerms);
}

// Whether the specks lie along two edges, each too narrow for a face, with nothing between them, as
// what is left along a frame does: their kurtosis across is 1, that of an even face 1.8. The four
// sides of a casement lie along two lines as well, but wider ones.
bool SmallGrower::IsTwoLines() const {
    MomentSum sum;
    for (const Member& member : members_) sum.Add(means_[member.speck] - centre_);
    const Vector across = detail::DecomposeSymmetric(sum.Covariance()).vectors[1];
    double squares = 0, fourths = 0;
    struct Line {
        double count = 0, sum = 0, squares = 0;
        [[nodiscard]] double Variance() const {
            return count > 0 ? squares / count - (sum / count) * (sum / count) : 0;
        }
    };
    std::array<Line, 2> lines;
    for (const Member& member : members_) {
        const double at = Dot(across, means_[member.speck] - centre_);
        squares += at * at;
        fourths += at * at * at * at;
        Line& line = lines[at < 0 ? 0 : 1];
        line.count += 1;
        line.sum += at;
        line.squares += at * at;
    }
    if (fourths * sum.count >= kMinKurtosis * squares * squares) return false;
    const double widest = kMaxLineWidth * tile_.Frame().Size();
    return std::max(lines[0].Variance(), lines[1].Variance()) < widest * widest;
}

bool SmallGrower::IsWorthKeeping() const {
    if (members_.size() < kMinRimSpecks) return false;
    const double narrowest = kMinWidth * tile_.Frame().Size();
    if (width_ < narrowest * narrowest) return false;
    // A patch of a round thing fills what is allowed, a plane does not.
    if (rms_ > kMaxFilled * allowed_) return false;
    if (CurvedShare() > kMaxCurved || IsTwoLines()) return false;
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
                  return a.cell != b.cell ? a.cell < b.cell : a.region < b.region;
              });
    return std::move(result_);
}

}  // namespace

SmallRegions GrowSmallRegions(std::span<const Speck> specks, const TileCells& tile,
                              const GrowthLimits& limits, const std::function<bool()>& proceed) {
    if (specks.size() < kMinRimSpecks) return {};
    return SmallGrower(specks, tile, limits, proceed).Grow();
}

}  // namespace orvix::detection
