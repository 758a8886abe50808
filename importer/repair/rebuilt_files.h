// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/files/synced_file.h"
#include "importer/import_pool.h"
#include "importer/repair/point_passes.h"
#include "importer/repair/repaired_project.h"
#include "importer/write/skeleton_writer.h"

namespace orvix::importer {

/// All that a project's points determine, made anew from them under unfinished names: the four
/// indexes, skeleton, view tables, histograms, head, and the settings record from defaults.
///
///     RebuiltFiles made(project, pool);
///     if (auto done = made.Build(); !done) return done;
///
/// Order    the skeleton's size is the one whose files the manifest has, else the head's, else 10 cm.
/// Errors   Damaged where the points cannot be read as points; those of writing; NoSpace before anything
///          is made; Cancelled.
/// Lifetime the project and the pool outlive it. RepairedProject removes what was made.
class RebuiltFiles {
public:
    RebuiltFiles(const RepairedProject& project, ImportPool& pool)
        : project_(project), pool_(pool) {}

    Expected<void> Build();

    /// Whether there is anything; the rest is then true of it.
    [[nodiscard]] bool Built() const { return extent_.points != 0; }
    [[nodiscard]] bool HasFineLevel() const { return size_ != SkeletonSize::OneMetre; }
    [[nodiscard]] std::uint64_t SkeletonPoints() const { return skeletonPoints_; }

private:
    Expected<void> BuildWith(SkeletonSize size);
    [[nodiscard]] Expected<std::vector<SkeletonSize>> Sizes() const;
    [[nodiscard]] bool FitsTheManifest() const;
    [[nodiscard]] Expected<CLOUD_HEADER> Head() const;
    Expected<void> WriteRecords() const;

    const RepairedProject& project_;
    ImportPool& pool_;
    SyncedFile points_;
    PointExtent extent_;
    SkeletonSize size_ = SkeletonSize::TenCentimetres;
    SkeletonSummary skeleton_;
    std::uint64_t skeletonPoints_ = 0;
};

}  // namespace orvix::importer
