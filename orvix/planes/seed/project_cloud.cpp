// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/project_cloud.h"

#include <fmt/format.h>

namespace orvix::detail {
namespace {

/// A 100 cm cell with fewer points is read whole: finding its 10 cm cells would cost more.
constexpr std::uint32_t kPointsWorthSplitting = 2048;

ExtendsT<double> Box(double x, double y, double z, double size) {
    return {{x, y, z}, {x + size, y + size, z + size}};
}

bool Inside(const CIndexerSmall& run, std::uint64_t records) {
    return run.offset <= records && run.count <= records - run.offset;
}

tl::unexpected<Error> OutsideFile(const char* level, const CIndexerSmall& run,
                                  std::uint64_t records) {
    return Fail(ErrorCode::Damaged,
                fmt::format("a {} index entry names records {} to {}, but there are only {}; check "
                            "the project or import it again",
                            level, run.offset, run.offset + run.count, records));
}

}  // namespace

ProjectCloud::ProjectCloud(CProjectCore& core)
    : core_(core),
      index_(core.CreateIndexReader()),
      reader_(core.CreateAlivePointReader()),
      alivePoints_(static_cast<std::uint64_t>(core.AlivePointCount())),
      entries100_(static_cast<std::uint64_t>(index_->Count100())),
      has10cm_(core.Has10cm()) {}

Expected<void> ProjectCloud::VisitCells(const Enter& enter, const Visit& visit) {
    if (entries100_ == 0 || alivePoints_ == 0 || !reader_) return {};
    // The 1000 cm level cannot be restarted: a reader of it walks once.
    index_ = core_.CreateIndexReader();
    return Visit1000(enter, visit);
}

Expected<void> ProjectCloud::Visit1000(const Enter& enter, const Visit& visit) {
    std::uint64_t walked = 0;
    for (bool more = true; more && walked < entries100_;) {
        more = index_->ReadIndex1000(0);
        int x = 0, y = 0, z = 0;
        index_->GetXYZ1000(x, y, z);
        CIndexerSmall run;
        index_->GetOffsetCount1000(run.offset, run.count);
        if (!Inside(run, entries100_)) return OutsideFile("1000 cm", run, entries100_);
        // An index that ends early reads on as empty cells, and a sound one has none.
        if (run.count == 0) break;
        walked += run.count;
        if (!enter(Box(x * 10.0, y * 10.0, z * 10.0, 10.0))) continue;
        index_->InitIndex100(run.offset);
        for (std::uint32_t i = 0; i < run.count; ++i) {
            index_->ReadIndex100(run.count);
            if (auto done = Visit100(enter, visit); !done) return done;
        }
    }
    if (walked == entries100_) return {};
    return Fail(ErrorCode::Damaged,
                fmt::format("the 1000 cm cells lead to {} of {} cells of 100 cm; check the project "
                            "or import it again",
                            walked, entries100_));
}

Expected<void> ProjectCloud::Visit100(const Enter& enter, const Visit& visit) {
    int x = 0, y = 0, z = 0;
    index_->GetXYZ100(x, y, z);
    CloudCell cell;
    cell.box = Box(x, y, z, 1.0);
    index_->GetOffsetCount100(cell.run.offset, cell.run.count);
    if (!Inside(cell.run, alivePoints_)) return OutsideFile("100 cm", cell.run, alivePoints_);
    if (cell.run.count == 0 || !enter(cell.box)) return {};
    if (has10cm_ && cell.run.count >= kPointsWorthSplitting) return Visit10(cell, enter, visit);
    visit(cell);
    return {};
}

Expected<void> ProjectCloud::Visit10(const CloudCell& coarse, const Enter& enter,
                                     const Visit& visit) {
    const std::uint32_t entries = index_->InitIndex10();
    std::uint64_t points = 0;
    for (std::uint32_t i = 0; i < entries && points < coarse.run.count; ++i) {
        index_->ReadIndex10(entries);
        char x = 0, y = 0, z = 0;
        index_->GetXYZ10(x, y, z);
        CloudCell cell;
        index_->GetOffsetCount10(cell.run.offset, cell.run.count);
        if (!Inside(cell.run, alivePoints_)) return OutsideFile("10 cm", cell.run, alivePoints_);
        points += cell.run.count;
        const auto corner = coarse.box.min;
        cell.box = Box(corner.x + 0.1 * x, corner.y + 0.1 * y, corner.z + 0.1 * z, 0.1);
        if (cell.run.count > 0 && enter(cell.box)) visit(cell);
    }
    if (points == coarse.run.count) return {};
    return Fail(
        ErrorCode::Damaged,
        fmt::format("the 10 cm cells of the 100 cm cell at ({}, {}, {}) hold {} points, the "
                    "cell itself {}; check the project or import it again",
                    coarse.box.min.x, coarse.box.min.y, coarse.box.min.z, points,
                    coarse.run.count));
}

void ProjectCloud::ReadCell(const CloudCell& cell, std::vector<CCloudPoint<float>>& points) {
    points.clear();
    reader_->ReadIndexPoints(cell.run.offset, cell.run.count, points);
}

}  // namespace orvix::detail
