// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/plane_numbers.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "edits/edited_sums.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/point_editor.h"

namespace orvix::edits {

namespace {

using detection::PlaneSet;

tl::unexpected<Error> PointsNotMapped() {
    return Fail(ErrorCode::Failure, "the points cannot be mapped; close other programs and retry");
}

std::uint16_t ShortNumber(const PlaneSet& planes, std::int32_t plane) {
    return static_cast<std::uint16_t>(planes.NumberOf(plane));
}

// False where there is no view to write in.
bool SetNumbers(detail::PointEditor& editor, const PlaneSet& planes,
                const detection::PlanePoints& block) {
    const CIndexerSmall run{block.firstRecord, static_cast<std::uint32_t>(block.points.size()), 0};
    std::size_t i = 0;
    return editor.ForEachPoint(run, [&](const auto&, detail::DclcPair pair) {
        pair.SetFirst(ShortNumber(planes, block.planes[i++]));
    });
}

Expected<void> NumberPoints(const CProjectCore& core, const PlaneSet& planes,
                            const std::function<bool()>& proceed) {
    const auto reader = core.CreateAlivePointReader();
    detail::PointEditor editor(core);
    for (std::size_t chunk = 0; chunk < planes.Chunks(); ++chunk) {
        if (!proceed())
            return Fail(ErrorCode::Cancelled,
                        "numbering the points was cancelled; run it again to number them all");
        bool mapped = true;
        auto done = planes.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
            mapped = mapped && SetNumbers(editor, planes, block);
        });
        if (!done) return done;
        if (!mapped) return PointsNotMapped();
    }
    return {};
}

Expected<void> NumberSkeleton(CProjectCore& core, const PlaneSet& planes) {
    std::uint64_t left = core.SkeletDataPtsFileSize() / kSkeletonRecordBytes;
    const auto reader = core.CreateAlivePointReader();
    detail::PointEditor editor(core);
    bool mapped = true;
    const auto number = [&](const auto& places, std::span<const std::int32_t> its) {
        const auto count = std::min<std::uint64_t>(places.size(), left);
        left -= count;
        std::size_t i = 0;
        mapped = mapped && editor.ForEachSkeletonPoint(
                               count, [&](const auto&, const auto&, detail::DclcPair pair) {
                                   pair.SetFirst(ShortNumber(planes, its[i++]));
                               });
    };
    auto done = planes.ReadSkeleton(*reader, number);
    if (done && !mapped) return PointsNotMapped();
    return done;
}

}  // namespace

Expected<void> ApplyPlaneNumbers(const detail::OpenProject& searched, const PlaneSet& planes,
                                 const std::function<bool()>& proceed) {
    const std::vector<std::uint32_t>& numbers = planes.Numbers();
    const auto largest = std::max_element(numbers.begin(), numbers.end());
    if (largest != numbers.end() && *largest > std::numeric_limits<std::uint16_t>::max())
        return Fail(ErrorCode::BadInput,
                    "there are more planes than a DCLC value can number, which is 65,535; raise "
                    "--min-area");
    auto opened = detail::OpenProject::Open(searched.Manager().projectFile);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return writable;
    if (planes.Points() == 0) return {};
    // Looked at before points are marked as opened for writing, and once they are.
    if (auto same = searched.Stamp().RequireSame(); !same) return same;
    const auto sums = EditedSums::Begin((*opened)->Manager());  // BEHAVIOUR K9
    if (!sums) return ErrorOf(sums);
    if (auto mapped = (*opened)->MapForWriting(); !mapped) return mapped;
    if (auto same = searched.Stamp().RequireSame(); !same) return same;
    auto done = NumberPoints((*opened)->Core(), planes, proceed);
    if (done) done = NumberSkeleton((*opened)->Core(), planes);
    if (done) done = detail::PointEditor::Sync((*opened)->Manager());
    return done ? sums->End() : done;
}

}  // namespace orvix::edits
