// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "importer/files/raw_buffer.h"
#include "importer/files/synced_file.h"
#include "importer/skeleton/histograms.h"
#include "importer/skeleton/thinned_points.h"
#include "importer/skeleton/voxel_thinner.h"

namespace orvix::importer {

/// Thins stretches of Grid.pts and counts their histograms; a stretch consists of whole 100 cm
/// cells.
///
/// Boundaries a cell of more than a block's points is read twice instead of kept.
/// Threads    one thinner per thread; all may read one file.
class CloudThinner {
public:
    static constexpr std::size_t kBlockPoints = 65'536;

    CloudThinner(const SyncedFile& points, SkeletonSize size, std::function<bool()> stopping)
        : file_(points), size_(size), stopping_(std::move(stopping)), thinner_(size) {}

    /// Thins points `first` to `first + count - 1` into `thinned`, which is replaced.
    Expected<void> Thin(std::uint64_t first, std::uint64_t count, Histograms& histograms);

    ThinnedPoints thinned;

private:
    struct Stretch {
        std::uint64_t first;
        std::uint64_t end;
    };

    Expected<void> Read(const Stretch& stretch);
    [[nodiscard]] std::size_t EndOfCell(std::size_t begin) const;
    std::size_t ThinWholeCells(bool last, Histograms& histograms);
    Expected<std::uint64_t> ThinLargeCell(const Stretch& stretch, Histograms& histograms);
    void Finish(const ThinningCell& cell, std::uint64_t points);

    const SyncedFile& file_;
    SkeletonSize size_;
    std::function<bool()> stopping_;
    VoxelThinner thinner_;
    RawBuffer<AlivePoint> block_;
    std::vector<AlivePoint> chosen_;
};

}  // namespace orvix::importer
