// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "orvix/gpu/project_cells.h"
#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/revit_amp.h"
#include "orvix/gpu/section_rule.h"
#include "orvix/gpu/section_work.h"

namespace orvix::detail {

/// Sections and snapping over a project on disk, through its cells.
///
/// Lifetime borrows the core.
/// Threads  one at a time.
class ProjectSections {
public:
    /// Nothing where the cells do not agree with the point file.
    static std::optional<ProjectSections> Open(const CProjectCore& core);

    /// As RevitAMP::StreamPlaneXZ.
    bool Stream(const SectionRule& rule, SectionWork& work, std::uint32_t wanted,
                const RevitAMP::UseChunk& use, SectionCounts& counts);
    /// False where points cannot be mapped.
    bool Snap(std::span<const SnapRule> rules, std::span<SnappedPoint> snapped);

private:
    ProjectSections(ProjectCells cells, std::shared_ptr<CAlivePointReader> reader)
        : cells_(std::move(cells)), reader_(std::move(reader)) {}

    struct Sink;
    bool SnapOne(const SnapRule& rule, SnapBest& best);

    ProjectCells cells_;
    std::shared_ptr<CAlivePointReader> reader_;
    std::vector<CCloudPoint<float>> points_;  // of a cell that is snapped to
};

/// The classes that points of a box may have, by bits; a superset where rounding leaves it open.
std::uint32_t ClassesPossible(const SectionRule& rule, const ExtendsT<double>& box);

}  // namespace orvix::detail
