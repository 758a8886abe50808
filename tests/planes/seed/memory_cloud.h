// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "orvix/planes/seed/cloud_source.h"

namespace orvix::test {

/// A cloud in memory, in boxes of 1 m; a point's record is its place in `points`, box by box.
class MemoryCloud : public detail::CloudSource {
public:
    explicit MemoryCloud(const std::vector<SimplePointT<float>>& points) {
        std::map<std::tuple<double, double, double>, std::vector<SimplePointT<float>>> boxes;
        for (const auto& p : points) {
            boxes[{std::floor(p.x), std::floor(p.y), std::floor(p.z)}].push_back(p);
        }
        for (const auto& [corner, inside] : boxes) {
            const auto [x, y, z] = corner;
            detail::CloudCell cell{{{x, y, z}, {x + 1, y + 1, z + 1}}, {}};
            cell.run.offset = records_.size();
            cell.run.count = static_cast<std::uint32_t>(inside.size());
            cells_.push_back(cell);
            for (const auto& p : inside) {
                CCloudPoint<float> record;
                record.x = p.x, record.y = p.y, record.z = p.z;
                records_.push_back(record);
            }
        }
    }

    Expected<void> VisitCells(const Enter& enter, const Visit& visit) override {
        for (const auto& cell : cells_) {
            if (enter(cell.box)) visit(cell);
        }
        return {};
    }

    void ReadCell(const detail::CloudCell& cell, std::vector<CCloudPoint<float>>& points) override {
        const auto first = records_.begin() + static_cast<std::ptrdiff_t>(cell.run.offset);
        points.assign(first, first + cell.run.count);
    }

    const std::vector<CCloudPoint<float>>& Records() const { return records_; }
    /// For a point that its cell does not hold, as a damaged project has them.
    std::vector<CCloudPoint<float>>& Records() { return records_; }

private:
    std::vector<detail::CloudCell> cells_;
    std::vector<CCloudPoint<float>> records_;
};

}  // namespace orvix::test
