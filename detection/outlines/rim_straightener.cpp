// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/rim_straightener.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvix::detection {
namespace {

constexpr double kSquaredClearance = 1.0 / 16;
constexpr int kRounds = 3;  // of single corners given back, then all of a line's
constexpr std::int64_t kTile = 8;

/// Twice the area of a triangle, above 0 where it turns left.
std::int64_t Cross(const RimCorner& a, const RimCorner& b, const RimCorner& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

std::int64_t Dot(const RimCorner& o, const RimCorner& a, const RimCorner& b) {
    return (a.x - o.x) * (b.x - o.x) + (a.y - o.y) * (b.y - o.y);
}

double SquaredDistance(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    const std::int64_t along = Dot(a, p, b), length = Dot(a, b, b);
    if (along <= 0) return static_cast<double>(Dot(a, p, p));
    if (along >= length) return static_cast<double>(Dot(b, p, p));
    const auto cross = static_cast<double>(Cross(a, b, p));
    return cross * cross / static_cast<double>(length);
}

bool IsNear(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    return SquaredDistance(p, a, b) < kSquaredClearance;
}

bool Cross(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d) {
    const auto apart = [](std::int64_t p, std::int64_t q) {
        return (p < 0 && q > 0) || (p > 0 && q < 0);
    };
    return apart(Cross(a, b, c), Cross(a, b, d)) && apart(Cross(c, d, a), Cross(c, d, b));
}

/// Whether two lines cross, overlap or come too near, but for an end that they share.
bool Collide(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d) {
    for (const auto& [shared, other] : {std::pair{a, b}, std::pair{b, a}}) {
        if (shared != c && shared != d) continue;
        return IsNear(shared == c ? d : c, a, b) || IsNear(other, c, d);
    }
    return Cross(a, b, c, d) || IsNear(c, a, b) || IsNear(d, a, b) || IsNear(a, c, d) ||
           IsNear(b, c, d);
}

/// Whether `p` lies to the left of the way that comes from `before` to `at` and goes to `after`.
bool IsLeftOfBend(const RimCorner& p, const RimCorner& before, const RimCorner& at,
                  const RimCorner& after) {
    const bool leftOfOne = Cross(before, at, p) > 0, leftOfOther = Cross(at, after, p) > 0;
    return Cross(before, at, after) > 0 ? leftOfOne && leftOfOther : leftOfOne || leftOfOther;
}

class RimStraightener {
public:
    RimStraightener(std::vector<Rim>& rims, double tolerance)
        : rims_(rims),
          squaredTolerance_(tolerance * tolerance),
          reach_(std::max(tolerance, 1.0) + 1) {
        for (const Rim& rim : rims) {
            kept_.emplace_back(rim.corners.size(), Kept::No);
            unchecked_.emplace_back(rim.corners.size(), true);
        }
    }

    void Run();

private:
    enum class Kept : std::uint8_t { No, Yes, Shared };
    /// A rim's way from one kept corner to the next; the corner after the last is the first.
    struct Line {
        std::size_t rim = 0;
        std::size_t from = 0;
        std::size_t to = 0;
        std::size_t next = 0;   // the line after it
        bool unchecked = true;  // not yet held against the others, or the next one is not
    };
    using Places = std::vector<std::pair<std::uint64_t, std::uint32_t>>;  // tile or row, line

    [[nodiscard]] const RimCorner& At(std::size_t rim, std::size_t corner) const {
        const auto& corners = rims_[rim].corners;
        return corners[corner == corners.size() ? 0 : corner];
    }
    [[nodiscard]] const RimCorner& From(const Line& line) const { return At(line.rim, line.from); }
    [[nodiscard]] const RimCorner& To(const Line& line) const { return At(line.rim, line.to); }

    void StraightenAlone(std::size_t rim);
    [[nodiscard]] std::size_t Farthest(const Line& line, double beyond) const;
    void Straighten(std::size_t rim, std::size_t from, std::size_t to);
    void KeepAll(std::size_t rim, std::size_t from, std::size_t to);
    void MarkUnchecked(std::size_t rim, std::size_t from, std::size_t to);
    void Collect();
    void Place(std::uint32_t line);
    bool RepairCollisions(int round);
    void Compare(std::size_t one, std::size_t other, std::vector<bool>& colliding);
    bool RepairNesting();
    [[nodiscard]] bool MayBeMisplaced(std::size_t rim) const;
    [[nodiscard]] bool MayBeMisplaced(const RimCorner& corner, std::size_t rim) const;
    [[nodiscard]] std::vector<std::size_t> Misplaced(std::size_t rim, std::size_t line) const;
    [[nodiscard]] std::int64_t TwiceAreaOf(std::size_t rim) const;
    void Take(std::size_t rim);

    std::vector<Rim>& rims_;
    double squaredTolerance_;
    double reach_;  // of a line into tiles beside it
    std::uint64_t tilesPerRow_ = 0;
    std::vector<std::vector<Kept>> kept_;
    std::vector<std::vector<bool>> unchecked_;  // of the corners: the line from there
    std::vector<Line> lines_;
    std::vector<std::size_t> firstLine_;  // of each rim
    Places tiles_, rows_;                 // which lines pass, in order
};

void RimStraightener::Run() {
    for (std::size_t rim = 0; rim < rims_.size(); ++rim) StraightenAlone(rim);
    for (int round = 0;; ++round) {
        Collect();
        if (!RepairCollisions(round) && !RepairNesting()) break;
    }
    for (std::size_t rim = 0; rim < rims_.size(); ++rim) Take(rim);
}

void RimStraightener::StraightenAlone(std::size_t rim) {
    const auto& corners = rims_[rim].corners;
    std::size_t farthest = 0;
    std::int64_t largest = -1;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::int64_t squared = Dot(corners[0], corners[i], corners[i]);
        if (squared <= largest) continue;
        largest = squared;
        farthest = i;
    }
    kept_[rim][0] = kept_[rim][farthest] = Kept::Yes;
    Straighten(rim, 0, farthest);
    Straighten(rim, farthest, corners.size());
    const auto count = std::count(kept_[rim].begin(), kept_[rim].end(), Kept::Yes);
    if (count < 3) KeepAll(rim, 0, corners.size());
}

// The skipped corner farthest from a line, of those beyond `beyond`; 0 for none.
std::size_t RimStraightener::Farthest(const Line& line, double beyond) const {
    std::size_t farthest = 0;
    for (std::size_t i = line.from + 1; i < line.to; ++i) {
        const double distance = SquaredDistance(At(line.rim, i), From(line), To(line));
        if (distance <= beyond) continue;
        beyond = distance;
        farthest = i;
    }
    return farthest;
}

void RimStraightener::Straighten(std::size_t rim, std::size_t from, std::size_t to) {
    std::vector<Line> open{{rim, from, to}};
    while (!open.empty()) {
        const Line line = open.back();
        open.pop_back();
        const std::size_t farthest = Farthest(line, squaredTolerance_);
        if (farthest == 0) continue;
        kept_[rim][farthest] = Kept::Yes;
        open.push_back({rim, line.from, farthest});
        open.push_back({rim, farthest, line.to});
    }
}

void RimStraightener::KeepAll(std::size_t rim, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i)
        if (kept_[rim][i] == Kept::No) kept_[rim][i] = Kept::Yes;
    MarkUnchecked(rim, from, to);
}

void RimStraightener::MarkUnchecked(std::size_t rim, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) unchecked_[rim][i] = true;
}

void RimStraightener::Collect() {
    lines_.clear();
    firstLine_.clear();
    std::int64_t right = 0;
    for (std::size_t rim = 0; rim < rims_.size(); ++rim) {
        firstLine_.push_back(lines_.size());
        std::size_t from = 0;
        for (std::size_t i = 1; i <= kept_[rim].size(); ++i) {
            if (i < kept_[rim].size() && kept_[rim][i] == Kept::No) continue;
            lines_.push_back({rim, from, i, lines_.size() + 1, unchecked_[rim][from]});
            right = std::max(right, At(rim, from).x);
            from = i;
        }
        lines_.back().next = firstLine_.back();
        unchecked_[rim].assign(unchecked_[rim].size(), false);
    }
    std::vector<bool> unchecked;
    for (const Line& line : lines_)
        unchecked.push_back(line.unchecked || lines_[line.next].unchecked);
    for (std::size_t i = 0; i < lines_.size(); ++i) lines_[i].unchecked = unchecked[i];
    tiles_.clear();
    rows_.clear();
    tilesPerRow_ =
        static_cast<std::uint64_t>(right / kTile) + 2 + static_cast<std::uint64_t>(reach_ / kTile);
    for (std::size_t i = 0; i < lines_.size(); ++i) Place(static_cast<std::uint32_t>(i));
    std::sort(tiles_.begin(), tiles_.end());
    std::sort(rows_.begin(), rows_.end());
}

// Enters a line into the tiles that it passes or comes near.
void RimStraightener::Place(std::uint32_t line) {
    const RimCorner &a = From(lines_[line]), &b = To(lines_[line]);
    const auto tileOf = [](double x) {
        return static_cast<std::uint64_t>(std::max(x, 0.0)) / kTile;
    };
    const auto dx = static_cast<double>(b.x - a.x), dy = static_cast<double>(b.y - a.y);
    const auto low = static_cast<double>(std::min(a.y, b.y)) - reach_;
    const auto high = static_cast<double>(std::max(a.y, b.y)) + reach_;
    for (std::uint64_t row = tileOf(low); row <= tileOf(high); ++row) {
        const auto xAt = [&](double y) {
            const double share =
                dy == 0 ? 0 : std::clamp((y - static_cast<double>(a.y)) / dy, 0.0, 1.0);
            return static_cast<double>(a.x) + share * dx;
        };
        const auto bottom = static_cast<double>(row * kTile);
        double from = xAt(bottom - reach_), to = xAt(bottom + kTile + reach_);
        if (dy == 0) to = static_cast<double>(b.x);
        if (from > to) std::swap(from, to);
        for (std::uint64_t tile = tileOf(from - reach_); tile <= tileOf(to + reach_); ++tile)
            tiles_.emplace_back(row * tilesPerRow_ + tile, line);
        rows_.emplace_back(row, line);
    }
}

// Gives corners back to lines that collide; false where none does.
bool RimStraightener::RepairCollisions(int round) {
    std::vector<bool> colliding(lines_.size());
    for (std::size_t first = 0, end = 0; first < tiles_.size(); first = end) {
        while (end < tiles_.size() && tiles_[end].first == tiles_[first].first) ++end;
        for (std::size_t i = first; i < end; ++i)
            for (std::size_t k = i + 1; k < end; ++k)
                if (lines_[tiles_[i].second].unchecked || lines_[tiles_[k].second].unchecked)
                    Compare(tiles_[i].second, tiles_[k].second, colliding);
    }
    bool repaired = false;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Line& line = lines_[i];
        if (!colliding[i] || line.to - line.from < 2) continue;
        repaired = true;
        if (round >= kRounds) {
            KeepAll(line.rim, line.from, line.to);
            continue;
        }
        MarkUnchecked(line.rim, line.from, line.to);
        const std::size_t farthest = Farthest(line, -1);
        kept_[line.rim][farthest] = Kept::Yes;
        Straighten(line.rim, line.from, farthest);
        Straighten(line.rim, farthest, line.to);
    }
    return repaired;
}

void RimStraightener::Compare(std::size_t one, std::size_t other, std::vector<bool>& colliding) {
    const Line &e = lines_[one], &f = lines_[other];
    if (Collide(From(e), To(e), From(f), To(f))) colliding[one] = colliding[other] = true;
    if (e.rim == f.rim || To(e) != To(f)) return;
    kept_[e.rim][e.to % kept_[e.rim].size()] = Kept::Shared;
    kept_[f.rim][f.to % kept_[f.rim].size()] = Kept::Shared;
    const RimCorner &before = From(e), &at = To(e), &after = To(lines_[e.next]);
    if (IsLeftOfBend(From(f), before, at, after) ==
        IsLeftOfBend(To(lines_[f.next]), before, at, after))
        return;
    for (const std::size_t line : {one, other, e.next, f.next}) colliding[line] = true;
}

// Gives all corners back to rims that are turned over or lie in other rims than before.
bool RimStraightener::RepairNesting() {
    std::vector<std::size_t> wrong;
    for (std::size_t rim = 0; rim < rims_.size(); ++rim) {
        if ((TwiceAreaOf(rim) > 0) != (rims_[rim].twiceArea > 0)) wrong.push_back(rim);
        if (!MayBeMisplaced(rim)) continue;
        const std::vector<std::size_t> others = Misplaced(rim, firstLine_[rim]);
        if (others.empty()) continue;
        wrong.push_back(rim);
        wrong.insert(wrong.end(), others.begin(), others.end());
    }
    for (const std::size_t rim : wrong) KeepAll(rim, 0, kept_[rim].size());
    return !wrong.empty();
}

// Whether a rim may lie in other rims than before: a corner that stayed where it was has changed
// sides only where a line near it was straightened, and with one corner that has not, none has.
bool RimStraightener::MayBeMisplaced(std::size_t rim) const {
    std::size_t line = firstLine_[rim];
    do {
        const Line& at = lines_[line];
        if (kept_[rim][at.from] != Kept::Shared && !MayBeMisplaced(From(at), rim)) return false;
        line = at.next;
    } while (line != firstLine_[rim]);
    return true;
}

bool RimStraightener::MayBeMisplaced(const RimCorner& corner, std::size_t rim) const {
    const auto tile = static_cast<std::uint64_t>(corner.y / kTile) * tilesPerRow_ +
                      static_cast<std::uint64_t>(corner.x / kTile);
    for (auto i = std::lower_bound(tiles_.begin(), tiles_.end(), std::pair(tile, 0U));
         i != tiles_.end() && i->first == tile; ++i) {
        const Line& line = lines_[i->second];
        if (line.rim == rim || line.to - line.from < 2) continue;
        if (SquaredDistance(corner, From(line), To(line)) <= squaredTolerance_) return true;
    }
    return false;
}

// The rims that a rim lies in and did not, or the other way round. The rims to the left of the
// middle of one of its lines tell: no other rim passes there.
std::vector<std::size_t> RimStraightener::Misplaced(std::size_t rim, std::size_t line) const {
    const auto twice = [](const RimCorner& p) { return RimCorner{2 * p.x, 2 * p.y}; };
    const RimCorner &a = From(lines_[line]), &b = To(lines_[line]);
    const RimCorner middle{a.x + b.x, a.y + b.y};
    const auto row = static_cast<std::uint64_t>(middle.y / 2 / kTile);
    std::vector<std::size_t> passed;
    for (auto i = std::lower_bound(rows_.begin(), rows_.end(), std::pair(row, 0U));
         i != rows_.end() && i->first == row; ++i) {
        const Line& other = lines_[i->second];
        RimCorner low = twice(From(other)), high = twice(To(other));
        if (other.rim == rim || (low.y > middle.y) == (high.y > middle.y)) continue;
        if (low.y > high.y) std::swap(low, high);
        if (Cross(low, high, middle) < 0) passed.push_back(other.rim);
    }
    std::sort(passed.begin(), passed.end());
    std::vector<std::size_t> now, before, changed;
    for (std::size_t i = 0, end = 0; i < passed.size(); i = end) {
        while (end < passed.size() && passed[end] == passed[i]) ++end;
        if ((end - i) % 2 == 1) now.push_back(passed[i]);
    }
    for (std::size_t i = rims_[rim].parent; i != kNoRim; i = rims_[i].parent) before.push_back(i);
    std::sort(before.begin(), before.end());
    std::set_symmetric_difference(now.begin(), now.end(), before.begin(), before.end(),
                                  std::back_inserter(changed));
    return changed;
}

std::int64_t RimStraightener::TwiceAreaOf(std::size_t rim) const {
    const RimCorner& first = rims_[rim].corners[0];
    std::int64_t twice = 0;
    std::size_t line = firstLine_[rim];
    do {
        twice += Cross(first, From(lines_[line]), To(lines_[line]));
        line = lines_[line].next;
    } while (line != firstLine_[rim]);
    return twice;
}

void RimStraightener::Take(std::size_t rim) {
    std::vector<RimCorner> corners;
    std::size_t line = firstLine_[rim];
    do {
        const Line& before = lines_[line];
        line = before.next;
        const Line& after = lines_[line];
        const bool shared = kept_[rim][after.from] == Kept::Shared;
        if (shared || Cross(From(before), From(after), To(after)) != 0)
            corners.push_back(From(after));
    } while (line != firstLine_[rim]);
    std::rotate(corners.begin(), corners.end() - 1, corners.end());
    rims_[rim].twiceArea = TwiceAreaOf(rim);
    rims_[rim].corners = std::move(corners);
}

}  // namespace

void StraightenRims(std::vector<Rim>& rims, double tolerance) {
    RimStraightener(rims, tolerance).Run();
}

}  // namespace orvix::detection
