// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_work.h"

#include <algorithm>

#include "orvix/gpu/point_tree.h"
#include "orvix/gpu/section_loop.h"

namespace orvix::detail {
namespace {

// Pieces that stay in the cache between their classification and their use.
constexpr std::uint64_t kPiece = 16'384;
// Building a tree costs as much as so many passes.
constexpr std::uint64_t kRaysForTree = 20;

void Add(SectionCounts& sum, const SectionCounts& counts) {
    sum.in += counts.in;
    sum.behind += counts.behind;
    sum.before += counts.before;
    sum.outside += counts.outside;
    sum.noPosition += counts.noPosition;
}

}  // namespace

SectionWork::SectionWork(const SectionOptions& options) : options_(options) {}
SectionWork::~SectionWork() = default;

void SectionWork::SetPoints(const SectionPoints& points, bool held) {
    ClearLists();
    entries_.points = points;
    held_ = held;
}

bool SectionWork::SetLists(std::span<const std::span<const std::uint64_t>> lists) {
    for (const auto& list : lists) {
        for (const std::uint64_t index : list) {
            if (index >= entries_.points.count) return false;
        }
    }
    ClearLists();
    entries_.lists.assign(lists.begin(), lists.end());
    entries_.listed = true;
    return true;
}

void SectionWork::ClearLists() {
    entries_.lists.clear();
    entries_.listed = false;
    trees_.clear();
    raysPassed_ = 0;
    listedIndices_ = {};
    listedPoints_ = {};
    gathered_ = false;
}

SectionCounts SectionWork::Classify(const SectionRule& rule, SectionClass* target,
                                    const UsePiece& use) {
    return entries_.listed ? ClassifyListed(rule, target, use) : ClassifyHere(rule, target, use);
}

SectionCounts SectionWork::ClassifyHere(const SectionRule& rule, SectionClass* target,
                                        const UsePiece& use) {
    const bool steps = rule.steps != 0;
    if (target != nullptr && !use && !steps) {
        return ClassifyPoints(rule, entries_.points, target, nullptr);
    }
    SectionCounts counts;
    std::vector<SectionClass> classes(target == nullptr ? kPiece : 0);
    std::vector<std::uint8_t> stepBuffer(steps ? kPiece : 0);
    for (std::uint64_t first = 0; first < entries_.points.count; first += kPiece) {
        const std::uint64_t count = std::min(kPiece, entries_.points.count - first);
        SectionClass* const to = target != nullptr ? target + first : classes.data();
        Add(counts, ClassifyPoints(rule, Stretch(entries_.points, first, count), to,
                                   steps ? stepBuffer.data() : nullptr));
        if (use) use({first, {to, count}, steps ? stepBuffer.data() : nullptr, nullptr});
    }
    return counts;
}

SectionCounts SectionWork::ClassifyListed(const SectionRule& rule, SectionClass* target,
                                          const UsePiece& use) {
    const bool steps = rule.steps != 0;
    SectionCounts counts;
    std::vector<SectionClass> classes(target == nullptr ? kPiece : 0);
    std::vector<std::uint8_t> stepBuffer(steps ? kPiece : 0);
    std::vector<SimplePointT<float>> gathered(kPiece);
    ForEachListed(
        entries_, kPiece, [&](std::span<const std::uint64_t> indices, std::uint64_t first) {
            for (std::size_t k = 0; k < indices.size(); ++k) {
                gathered[k] = PointAt(entries_.points, indices[k]);
            }
            SectionClass* const to = target != nullptr ? target + first : classes.data();
            const SectionPoints points{gathered.data(), indices.size(), sizeof gathered[0]};
            Add(counts, ClassifyPoints(rule, points, to, steps ? stepBuffer.data() : nullptr));
            if (use) {
                use({first,
                     {to, indices.size()},
                     steps ? stepBuffer.data() : nullptr,
                     indices.data()});
            }
            return true;
        });
    return counts;
}

SectionCounts SectionWork::ClassifyOthers(const SectionRule& rule, const SectionPoints& points,
                                          SectionClass* classes) {
    return ClassifyPoints(rule, points, classes, nullptr);
}

std::uint64_t SectionWork::StreamedAtOnce() {
    return 2 * kPiece;
}

void SectionWork::Snap(std::span<const SnapRule> rules, std::span<SnappedPoint> snapped) {
    if (entries_.listed) GatherListed();
    std::vector<SnapBest> bests(rules.size());
    // Points that are not held may have changed since the last call.
    if (!held_) trees_.clear();
    raysPassed_ = held_ ? raysPassed_ + rules.size() : rules.size();
    if (!trees_.empty() || raysPassed_ >= kRaysForTree) {
        SnapByTrees(rules, bests);
    } else {
        SnapByPasses(rules, bests);
    }
    for (std::size_t k = 0; k < rules.size(); ++k) {
        snapped[k] = bests[k].point;
        if (entries_.listed && snapped[k].Found()) {
            snapped[k].index = listedIndices_[snapped[k].index];
        }
    }
}

void SectionWork::GatherListed() {
    if (gathered_ && held_) return;
    if (!gathered_) {
        for (const auto& list : entries_.lists) {
            listedIndices_.insert(listedIndices_.end(), list.begin(), list.end());
        }
        std::sort(listedIndices_.begin(), listedIndices_.end());
        listedIndices_.erase(std::unique(listedIndices_.begin(), listedIndices_.end()),
                             listedIndices_.end());
        listedPoints_.resize(listedIndices_.size());
    }
    for (std::size_t k = 0; k < listedIndices_.size(); ++k) {
        listedPoints_[k] = PointAt(entries_.points, listedIndices_[k]);
    }
    gathered_ = true;
}

namespace {

SectionPoints SnappedTo(const SectionEntries& entries,
                        const std::vector<SimplePointT<float>>& listed) {
    if (!entries.listed) return entries.points;
    return SectionPoints::Of(std::span<const SimplePointT<float>>(listed));
}

}  // namespace

void SectionWork::SnapByPasses(std::span<const SnapRule> rules, std::span<SnapBest> bests) {
    const SectionPoints points = SnappedTo(entries_, listedPoints_);
    for (std::size_t k = 0; k < rules.size(); ++k) {
        for (std::uint64_t i = 0; i < points.count; ++i) {
            bests[k].Offer(rules[k], MeasureOf(rules[k], PointAt(points, i)), i);
        }
    }
}

void SectionWork::SnapByTrees(std::span<const SnapRule> rules, std::span<SnapBest> bests) {
    const SectionPoints points = SnappedTo(entries_, listedPoints_);
    if (trees_.empty()) {
        for (std::uint64_t first = 0; first < points.count; first += PointTree::kMostPoints) {
            const std::uint64_t count = std::min(PointTree::kMostPoints, points.count - first);
            trees_.push_back(std::make_unique<PointTree>(Stretch(points, first, count)));
        }
    }
    for (std::size_t k = 0; k < rules.size(); ++k) {
        std::uint64_t first = 0;
        for (const auto& tree : trees_) {
            tree->Snap(rules[k], first, bests[k]);
            first += PointTree::kMostPoints;
        }
    }
}

std::string SectionWork::DeviceName() const {
    return "processor";
}

}  // namespace orvix::detail
