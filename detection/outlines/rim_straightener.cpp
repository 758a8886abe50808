// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/rim_straightener.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "detection/outlines/corner_geometry.h"
#include "detection/outlines/line_index.h"

namespace orvix::detection {
namespace {

constexpr int kRounds = 3;  // of single corners given back, then all of a line's

class RimStraightener {
public:
    RimStraightener(std::vector<Rim>& rims, double tolerance)
        : rims_(rims),
          squaredTolerance_(tolerance * tolerance),
          index_(std::max(tolerance, 1.0) + 1) {
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
        bool unchecked = true;  // not yet compared with all others, or the next line is not
    };

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
    bool RepairCollisions(int round);
    void Compare(std::size_t one, std::size_t other, std::vector<bool>& colliding);
    bool RepairNesting();
    [[nodiscard]] bool MayBeMisplaced(std::size_t rim) const;
    [[nodiscard]] bool MayBeMisplaced(const RimCorner& corner, std::size_t rim) const;
    [[nodiscard]] std::vector<std::size_t> Misplaced(std::size_t rim, std::size_t line) const;
    [[nodiscard]] std::int64_t TwiceRimArea(std::size_t rim) const;
    void Take(std::size_t rim);

    std::vector<Rim>& rims_;
    double squaredTolerance_;
    std::vector<std::vector<Kept>> kept_;
    std::vector<std::vector<bool>> unchecked_;  // of the corners: the line from there
    std::vector<Line> lines_;
    std::vector<std::size_t> firstLine_;  // of each rim
    LineIndex index_;
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
        const std::int64_t squared = SquaredDistance(corners[0], corners[i]);
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
    index_.Begin(right);
    for (std::size_t i = 0; i < lines_.size(); ++i)
        index_.Add(static_cast<std::uint32_t>(i), From(lines_[i]), To(lines_[i]));
    index_.Finish();
}

// Gives corners back to lines that collide; false where none does.
bool RimStraightener::RepairCollisions(int round) {
    std::vector<bool> colliding(lines_.size());
    const auto entries = index_.ByTile();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& [tile, one] = entries[i];
        for (std::size_t k = i + 1; k < entries.size() && entries[k].first == tile; ++k)
            if (lines_[one].unchecked || lines_[entries[k].second].unchecked)
                Compare(one, entries[k].second, colliding);
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
        if ((TwiceRimArea(rim) > 0) != (rims_[rim].twiceArea > 0)) wrong.push_back(rim);
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
    for (const auto& [tile, i] : index_.InTile(corner)) {
        const Line& line = lines_[i];
        if (line.rim == rim || line.to - line.from < 2) continue;
        if (SquaredDistance(corner, From(line), To(line)) <= squaredTolerance_) return true;
    }
    return false;
}

// The rims that a rim lies in and did not, or the other way round. The rims to the left of the
// middle of one of its lines decide: no other rim passes there.
std::vector<std::size_t> RimStraightener::Misplaced(std::size_t rim, std::size_t line) const {
    const auto twice = [](const RimCorner& p) { return RimCorner{2 * p.x, 2 * p.y}; };
    const RimCorner &a = From(lines_[line]), &b = To(lines_[line]);
    const RimCorner middle{a.x + b.x, a.y + b.y};
    std::vector<std::size_t> passed;
    for (const auto& [row, i] : index_.InRow(middle.y / 2)) {
        const Line& other = lines_[i];
        RimCorner low = twice(From(other)), high = twice(To(other));
        if (other.rim == rim || (low.y > middle.y) == (high.y > middle.y)) continue;
        if (low.y > high.y) std::swap(low, high);
        if (TwiceAreaOf(low, high, middle) < 0) passed.push_back(other.rim);
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

std::int64_t RimStraightener::TwiceRimArea(std::size_t rim) const {
    const RimCorner& first = rims_[rim].corners[0];
    std::int64_t twice = 0;
    std::size_t line = firstLine_[rim];
    do {
        twice += TwiceAreaOf(first, From(lines_[line]), To(lines_[line]));
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
        if (shared || TwiceAreaOf(From(before), From(after), To(after)) != 0)
            corners.push_back(From(after));
    } while (line != firstLine_[rim]);
    std::rotate(corners.begin(), corners.end() - 1, corners.end());
    rims_[rim].twiceArea = TwiceRimArea(rim);
    rims_[rim].corners = std::move(corners);
}

}  // namespace

void StraightenRims(std::vector<Rim>& rims, double tolerance) {
    RimStraightener(rims, tolerance).Run();
}

}  // namespace orvix::detection
