// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_work.h"

#include <algorithm>
#include <utility>

#include "orvix/gpu/point_tree.h"
#include "orvix/gpu/section_loop.h"
#include "orvix/gpu/section_pass.h"

namespace orvix::detail {
namespace {

// Pieces that stay in the cache between their classification and their use.
constexpr std::uint64_t kPiece = 16'384;
// Building a tree costs as much as so many passes.
constexpr std::uint64_t kRaysForTree = 20;

}  // namespace

SectionWork::SectionWork(const SectionOptions& options, std::shared_ptr<SectionDevices> devices)
    : options_(options), devices_(std::move(devices)) {}
SectionWork::~SectionWork() = default;

void SectionWork::SetPoints(const SectionPoints& points, bool held) {
    ClearLists();
    entries_.points = points;
    held_ = held;
    choice_ = Choice::Open;
    uploaded_ = false;
    if (device_) device_->Release();
}

bool SectionWork::SetLists(std::span<const std::span<const std::uint64_t>> lists) {
    for (const auto& list : lists) {
        for (const std::uint64_t index : list) {
            if (index >= entries_.points.count) return false;
        }
    }
    std::vector<std::span<const std::uint64_t>> taken(lists.begin(), lists.end());
    ClearLists();
    entries_.lists = std::move(taken);
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
    Pass pass{rule, target, use, {}, 0, {}, {}};
    lastUsed_ = "processor";
    // What a device leaves undone when it fails is done here, from there on.
    if (MayUseDevice() && HoldOnDevice() && IsDeviceFaster(rule)) ClassifyOnDevice(pass);
    if (entries_.listed) {
        ClassifyListed(pass);
    } else {
        ClassifyHere(pass);
    }
    return pass.counts;
}

void SectionWork::ClassifyHere(Pass& pass) {
    const std::uint64_t all = entries_.points.count;
    const bool atOnce = pass.target != nullptr && !pass.use && pass.rule.steps == 0;
    const std::uint64_t most = atOnce ? all : kPiece;
    pass.Reserve(std::min(most, kPiece));
    while (pass.done < all) {
        const std::uint64_t count = std::min(most, all - pass.done);
        const auto found = ClassifyPoints(pass.rule, Stretch(entries_.points, pass.done, count),
                                          pass.To(), pass.Steps());
        pass.Take(count, found, nullptr);
    }
}

void SectionWork::ClassifyListed(Pass& pass) {
    pass.Reserve(kPiece);
    std::vector<SimplePointT<float>> gathered(kPiece);
    ForEachListed(
        entries_, kPiece, [&](std::span<const std::uint64_t> indices, std::uint64_t first) {
            if (first + indices.size() <= pass.done) return;
            indices = indices.subspan(std::max(first, pass.done) - first);
            for (std::size_t k = 0; k < indices.size(); ++k) {
                gathered[k] = PointAt(entries_.points, indices[k]);
            }
            const SectionPoints points{gathered.data(), indices.size(), sizeof gathered[0]};
            const auto found = ClassifyPoints(pass.rule, points, pass.To(), pass.Steps());
            pass.Take(indices.size(), found, indices.data());
        });
}

SectionCounts SectionWork::ClassifyOthers(const SectionRule& rule, const SectionPoints& points,
                                          SectionClass* classes) {
    lastUsed_ = "processor";
    if (points.count == 0) return {};
    if (WishOf(options_.device).device == SectionDevice::Gpu && OpenDevice()) {
        if (device_->Start(0, rule, {points, {}, {}}) && device_->Finish(0, classes, nullptr)) {
            const auto counts = CountsOf(classes, points.count);
            if (counts.Total() == points.count) {
                lastUsed_ = device_->Device().Name();
                return counts;
            }
        }
        DropDevice();
    }
    return ClassifyPoints(rule, points, classes, nullptr);
}

std::uint64_t SectionWork::StreamedAtOnce() {
    if (WishOf(options_.device).device == SectionDevice::Gpu && OpenDevice()) {
        return device_->AtOnce();
    }
    return 2 * kPiece;
}

void SectionWork::Snap(std::span<const SnapRule> rules, std::span<SnappedPoint> snapped) {
    if (entries_.listed) GatherListed();
    std::vector<SnapBest> bests(rules.size());
    // Points that are not held may have changed since the last call.
    if (!held_) trees_.clear();
    raysPassed_ = held_ ? raysPassed_ + rules.size() : rules.size();
    lastUsed_ = "processor";
    if (!trees_.empty() || raysPassed_ >= kRaysForTree) {
        SnapByTrees(rules, bests);
    } else if (SnapOnDevice(rules, bests)) {
        lastUsed_ = device_->Device().Name();
    } else {
        SnapByPasses(rules, bests);
    }
    for (std::size_t k = 0; k < rules.size(); ++k) {
        snapped[k] = bests[k].point;
        if (entries_.listed && snapped[k].Found()) {
            snapped[k].index = listedIndices_[snapped[k].index];
        }
    }
    if (!held_) trees_.clear();
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
        // All or none, should memory end on the way.
        std::vector<std::unique_ptr<PointTree>> trees;
        for (std::uint64_t first = 0; first < points.count; first += PointTree::kMostPoints) {
            const std::uint64_t count = std::min(PointTree::kMostPoints, points.count - first);
            trees.push_back(std::make_unique<PointTree>(Stretch(points, first, count)));
        }
        trees_ = std::move(trees);
    }
    for (std::size_t k = 0; k < rules.size(); ++k) {
        std::uint64_t first = 0;
        for (const auto& tree : trees_) {
            tree->Snap(rules[k], first, bests[k]);
            first += PointTree::kMostPoints;
        }
    }
}

}  // namespace orvix::detail
