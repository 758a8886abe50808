// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/project_sections.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "orvix/gpu/section_counts.h"

namespace orvix::detail {
namespace {

constexpr std::uint32_t kEveryClass = 0x1F;
constexpr std::uint64_t kReadAtOnce = 32'768;
// Sixteen roundings in single precision.
constexpr double kRounding = 1.0 / (1 << 20);

struct Range {
    double low = 0;
    double high = 0;
};

// Where a row of the rule takes the points of a box, in single precision.
Range RangeOf(const SectionRule& rule, std::size_t row, const ExtendsT<double>& box) {
    const float* r = rule.rows.data() + 4 * row;
    const double lows[3] = {box.min.x, box.min.y, box.min.z};
    const double highs[3] = {box.max.x, box.max.y, box.max.z};
    Range range{r[3], r[3]};
    double size = std::fabs(r[3]);
    for (std::size_t k = 0; k < 3; ++k) {
        range.low += std::min(r[k] * lows[k], r[k] * highs[k]);
        range.high += std::max(r[k] * lows[k], r[k] * highs[k]);
        size += std::fabs(r[k]) * std::max(std::fabs(lows[k]), std::fabs(highs[k]));
    }
    return {range.low - size * kRounding, range.high + size * kRounding};
}

// The one class that all points of a box have and nobody wants.
std::optional<SectionClass> Unwanted(const SectionRule& rule, const ExtendsT<double>& box,
                                     std::uint32_t wanted) {
    const std::uint32_t possible = ClassesPossible(rule, box);
    // BEHAVIOUR V9
    if ((possible & wanted) != 0 || std::popcount(possible) != 1) return {};
    return static_cast<SectionClass>(std::countr_zero(possible));
}

}  // namespace

std::uint32_t ClassesPossible(const SectionRule& rule, const ExtendsT<double>& box) {
    const Range x = RangeOf(rule, 0, box);
    const Range y = RangeOf(rule, 1, box);
    const Range z = RangeOf(rule, 2, box);
    constexpr double kLarge = 1e30;  // where sums of floats might overflow
    for (const Range& range : {x, y, z}) {
        if (!(range.low > -kLarge && range.high < kLarge)) return kEveryClass;
    }
    const double t = rule.halfThickness;
    std::uint32_t classes = 0;
    if (x.low < rule.xLow || x.high > rule.xHigh || z.low < rule.zLow || z.high > rule.zHigh) {
        classes |= RevitAMP::Bit(SectionClass::Outside);
    }
    if (x.high >= rule.xLow && x.low <= rule.xHigh && z.high >= rule.zLow && z.low <= rule.zHigh) {
        if (y.high > t) classes |= RevitAMP::Bit(SectionClass::Behind);
        if (y.low < -t) classes |= RevitAMP::Bit(SectionClass::Before);
        if (y.low <= t && y.high >= -t) classes |= RevitAMP::Bit(SectionClass::In);
    }
    return classes;
}

std::optional<ProjectSections> ProjectSections::Open(const CProjectCore& core) {
    auto cells = ProjectCells::Read(core);
    if (!cells) return {};
    auto reader = core.CreateAlivePointReader();
    if (!reader && !cells->cells.empty()) return {};
    return ProjectSections(std::move(*cells), std::move(reader));
}

// Gathers runs that follow each other, and hands on chunks of them.
struct ProjectSections::Sink {
    const SectionRule& rule;
    SectionWork& work;
    const RevitAMP::UseChunk& use;
    SectionCounts& counts;
    CAlivePointReader& reader;
    std::vector<CCloudPoint<float>> points;  // of a chunk, which its user may hold on to
    std::uint64_t atOnce = work.StreamedAtOnce();
    std::vector<SectionClass> classes = std::vector<SectionClass>(atOnce);
    std::uint64_t first = 0;  // of the run that is gathered
    std::uint64_t count = 0;

    bool Take(std::uint64_t firstPoint, std::uint64_t pointCount) {
        if (count != 0 && firstPoint != first + count && !Flush()) return false;
        if (count == 0) first = firstPoint;
        count += pointCount;
        while (count >= atOnce) {
            if (!HandOn(atOnce)) return false;
        }
        return true;
    }
    bool Flush() { return count == 0 || HandOn(count); }

    bool HandOn(std::uint64_t number) {
        points.clear();
        reader.ReadIndexPoints(first, static_cast<std::uint32_t>(number), points);
        if (points.size() != number) return false;
        const std::span<const CCloudPoint<float>> read(points);
        Add(counts, work.ClassifyOthers(rule, SectionPoints::Of(read), classes.data()));
        const std::uint64_t firstOfChunk = first;
        first += number;
        count -= number;
        return !use || use({firstOfChunk, read, {classes.data(), number}});
    }
};

bool ProjectSections::Stream(const SectionRule& rule, SectionWork& work, std::uint32_t wanted,
                             const RevitAMP::UseChunk& use, SectionCounts& counts) {
    if (cells_.cells.empty()) return true;
    Sink sink{rule, work, use, counts, *reader_, {}};
    for (const auto& block : cells_.blocks) {
        if (const auto whole = Unwanted(rule, ProjectCells::BoxOf(block), wanted)) {
            Count(counts, *whole, block.points);
            continue;
        }
        for (std::uint64_t k = 0; k < block.cells; ++k) {
            const auto& cell = cells_.cells[block.firstCell + k];
            if (const auto whole = Unwanted(rule, ProjectCells::BoxOf(cell), wanted)) {
                Count(counts, *whole, cell.points);
            } else if (!sink.Take(cell.firstPoint, cell.points)) {
                return false;
            }
        }
    }
    return sink.Flush();
}

bool ProjectSections::Snap(std::span<const SnapRule> rules, std::span<SnappedPoint> snapped) {
    std::vector<SnapBest> bests(rules.size());
    for (std::size_t k = 0; k < rules.size(); ++k) {
        if (!SnapOne(rules[k], bests[k])) return false;
    }
    for (std::size_t k = 0; k < rules.size(); ++k) snapped[k] = bests[k].point;
    return true;
}

bool ProjectSections::SnapOne(const SnapRule& rule, SnapBest& best) {
    struct Candidate {
        double least = 0;
        std::uint64_t cell = 0;
        auto operator<=>(const Candidate&) const = default;
    };
    std::vector<Candidate> candidates;
    for (const auto& block : cells_.blocks) {
        if (LeastValue(rule, ProjectCells::BoxOf(block)) < 0) continue;
        for (std::uint64_t k = 0; k < block.cells; ++k) {
            const std::uint64_t cell = block.firstCell + k;
            const double least = LeastValue(rule, ProjectCells::BoxOf(cells_.cells[cell]));
            if (least >= 0) candidates.push_back({least, cell});
        }
    }
    std::sort(candidates.begin(), candidates.end());
    for (const Candidate& candidate : candidates) {
        if (!best.MayGain(candidate.least)) break;
        const auto& cell = cells_.cells[candidate.cell];
        // A cell may hold any number of points.
        for (std::uint64_t done = 0; done < cell.points; done += points_.size()) {
            const auto count =
                static_cast<std::uint32_t>(std::min(kReadAtOnce, cell.points - done));
            const std::uint64_t first = cell.firstPoint + done;
            points_.clear();
            reader_->ReadIndexPoints(first, count, points_);
            if (points_.size() != count) return false;
            for (std::uint64_t i = 0; i < count; ++i) {
                const SimplePointT<float> p{points_[i].x, points_[i].y, points_[i].z};
                best.Offer(rule, MeasureOf(rule, p), first + i);
            }
        }
    }
    return true;
}

}  // namespace orvix::detail
