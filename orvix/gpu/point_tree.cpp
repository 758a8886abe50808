// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/point_tree.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <utility>

#include "orvix/gpu/section_entries.h"

namespace orvix::detail {
namespace {

constexpr std::uint32_t kAxisBits = 10;
constexpr std::uint32_t kAxisCells = 1U << kAxisBits;

bool IsFinite(const SimplePointT<float>& p) {
    return ((p.x - p.x) + (p.y - p.y)) + (p.z - p.z) == 0;
}

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr ExtendsT<float> kEmptyBox{{kInfinity, kInfinity, kInfinity},
                                    {-kInfinity, -kInfinity, -kInfinity}};

void Extend(ExtendsT<float>& box, const SimplePointT<float>& low, const SimplePointT<float>& high) {
    box.min = {std::min(box.min.x, low.x), std::min(box.min.y, low.y), std::min(box.min.z, low.z)};
    box.max = {std::max(box.max.x, high.x), std::max(box.max.y, high.y),
               std::max(box.max.z, high.z)};
}

// Ten bits, two zeros between one and the next.
std::uint32_t Spread(std::uint32_t v) {
    v = (v | (v << 16)) & 0x030000FF;
    v = (v | (v << 8)) & 0x0300F00F;
    v = (v | (v << 4)) & 0x030C30C3;
    return (v | (v << 2)) & 0x09249249;
}

std::uint32_t AxisCell(double value, double low, double perUnit) {
    const double cell = (value - low) * perUnit;
    return static_cast<std::uint32_t>(std::clamp(cell, 0.0, kAxisCells - 1.0));
}

ExtendsT<double> InDouble(const ExtendsT<float>& box) {
    return {{box.min.x, box.min.y, box.min.z}, {box.max.x, box.max.y, box.max.z}};
}

}  // namespace

PointTree::PointTree(const SectionPoints& points) : points_(points) {
    assert(points.count <= kMostPoints);
    SortAlongCurve();
    BuildLevels();
}

void PointTree::SortAlongCurve() {
    ExtendsT<float> bounds = kEmptyBox;
    order_.reserve(points_.count);
    for (std::uint64_t i = 0; i < points_.count; ++i) {
        const auto p = PointAt(points_, i);
        if (!IsFinite(p)) continue;
        order_.push_back(static_cast<std::uint32_t>(i));
        Extend(bounds, p, p);
    }
    if (order_.empty()) return;
    // Cubic cells, so that a flat cloud is not sorted by its noise.
    const double widest = std::max({static_cast<double>(bounds.max.x) - bounds.min.x,
                                    static_cast<double>(bounds.max.y) - bounds.min.y,
                                    static_cast<double>(bounds.max.z) - bounds.min.z});
    const double perUnit = widest > 0 ? kAxisCells / widest : 0.0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> keyed(order_.size());
    for (std::size_t k = 0; k < order_.size(); ++k) {
        const auto p = PointAt(points_, order_[k]);
        keyed[k] = {Spread(AxisCell(p.x, bounds.min.x, perUnit)) |
                        Spread(AxisCell(p.y, bounds.min.y, perUnit)) << 1 |
                        Spread(AxisCell(p.z, bounds.min.z, perUnit)) << 2,
                    order_[k]};
    }
    // By thirty bits, ten at a time, each pass keeping the order of the one before.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> sorted(keyed.size());
    for (std::uint32_t shift = 0; shift < 3 * kAxisBits; shift += kAxisBits) {
        std::array<std::uint32_t, kAxisCells> place{};
        for (const auto& entry : keyed) ++place[(entry.first >> shift) & (kAxisCells - 1)];
        std::uint32_t before = 0;
        for (std::uint32_t& start : place) before += std::exchange(start, before);
        for (const auto& entry : keyed) {
            sorted[place[(entry.first >> shift) & (kAxisCells - 1)]++] = entry;
        }
        keyed.swap(sorted);
    }
    for (std::size_t k = 0; k < order_.size(); ++k) order_[k] = keyed[k].second;
}

void PointTree::BuildLevels() {
    if (order_.empty()) return;
    std::vector<Box> boxes((order_.size() + kLeafPoints - 1) / kLeafPoints, kEmptyBox);
    for (std::size_t k = 0; k < order_.size(); ++k) {
        const auto p = PointAt(points_, order_[k]);
        Extend(boxes[k / kLeafPoints], p, p);
    }
    levels_.push_back(std::move(boxes));
    while (levels_.back().size() > 1) {
        const auto& below = levels_.back();
        std::vector<Box> above((below.size() + kFan - 1) / kFan, kEmptyBox);
        for (std::size_t k = 0; k < below.size(); ++k) {
            Extend(above[k / kFan], below[k].min, below[k].max);
        }
        levels_.push_back(std::move(above));
    }
}

void PointTree::Snap(const SnapRule& rule, std::uint64_t firstIndex, SnapBest& best) const {
    if (levels_.empty()) return;
    const double least = LeastValue(rule, InDouble(levels_.back()[0]));
    if (least >= 0 && best.MayGain(least)) SnapBox(rule, levels_.size() - 1, 0, firstIndex, best);
}

void PointTree::SnapBox(const SnapRule& rule, std::size_t level, std::uint64_t box,
                        std::uint64_t firstIndex, SnapBest& best) const {
    if (level == 0) {
        const std::uint64_t end = std::min<std::uint64_t>(order_.size(), (box + 1) * kLeafPoints);
        for (std::uint64_t k = box * kLeafPoints; k < end; ++k) {
            best.Offer(rule, MeasureOf(rule, PointAt(points_, order_[k])), firstIndex + order_[k]);
        }
        return;
    }
    // The nearest box first; of equal ones, the first.
    std::array<std::pair<double, std::uint64_t>, kFan> inReach;
    std::size_t count = 0;
    const auto& below = levels_[level - 1];
    const std::uint64_t end = std::min<std::uint64_t>(below.size(), (box + 1) * kFan);
    for (std::uint64_t k = box * kFan; k < end; ++k) {
        const double least = LeastValue(rule, InDouble(below[k]));
        if (least >= 0) inReach[count++] = {least, k};
    }
    std::sort(inReach.begin(), inReach.begin() + count);
    for (std::size_t k = 0; k < count; ++k) {
        if (!best.MayGain(inReach[k].first)) return;
        SnapBox(rule, level - 1, inReach[k].second, firstIndex, best);
    }
}

std::uint64_t PointTree::Bytes() const {
    std::uint64_t bytes = order_.capacity() * sizeof order_[0];
    for (const auto& level : levels_) bytes += level.capacity() * sizeof(Box);
    return bytes;
}

}  // namespace orvix::detail
