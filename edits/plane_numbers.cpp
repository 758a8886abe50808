// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/plane_numbers.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "orvix/project/open_project.h"
#include "orvix/project/point_editor.h"

namespace orvix::edits {

namespace {

using detection::PlaneSearch;

tl::unexpected<Error> PointsNotMapped() {
    return Fail(ErrorCode::Failure, "the points cannot be mapped; close other programs and retry");
}

std::uint16_t NumberOf(std::int32_t plane) {
    return static_cast<std::uint16_t>(plane + 1);
}

// False where there is no view to write in.
bool SetNumbers(detail::PointEditor& editor, const detection::PlanePoints& block) {
    const CIndexerSmall run{block.firstRecord, static_cast<std::uint32_t>(block.points.size()), 0};
    std::size_t i = 0;
    return editor.ForEachPoint(run, [&](const auto&, detail::DclcPair pair) {
        pair.SetFirst(NumberOf(block.planes[i++]));
    });
}

Expected<void> NumberPoints(const CProjectCore& core, const PlaneSearch& search,
                            const std::function<bool()>& proceed) {
    const auto reader = core.CreateAlivePointReader();
    detail::PointEditor editor(core);
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk) {
        if (!proceed())
            return Fail(ErrorCode::Cancelled,
                        "numbering the points was cancelled; run it again to number them all");
        bool mapped = true;
        auto done = search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
            mapped = mapped && SetNumbers(editor, block);
        });
        if (!done) return done;
        if (!mapped) return PointsNotMapped();
    }
    return {};
}

Expected<void> NumberSkeleton(CProjectCore& core, const PlaneSearch& search) {
    const auto count = std::min<std::uint64_t>(static_cast<std::uint64_t>(core.SkeletPointCount()),
                                               core.SkeletDataPtsFileSize() / kSkeletonRecordBytes);
    const bool mapped = detail::PointEditor(core).ForEachSkeletonPoint(
        count, [&](const SimplePointT<float>& place, const auto&, detail::DclcPair pair) {
            pair.SetFirst(NumberOf(search.PlaneOf({place.x, place.y, place.z})));
        });
    if (!mapped) return PointsNotMapped();
    return {};
}

}  // namespace

Expected<void> ApplyPlaneNumbers(const CString& project, const PlaneSearch& search,
                                 const std::function<bool()>& proceed) {
    if (search.Planes().size() > std::numeric_limits<std::uint16_t>::max())
        return Fail(ErrorCode::BadInput,
                    "there are more planes than a DCLC value can number, which is 65,535; raise "
                    "--min-area");
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return writable;
    if (search.Points() == 0) return {};
    if (auto mapped = (*opened)->MapForWriting(); !mapped) return mapped;
    auto done = NumberPoints((*opened)->Core(), search, proceed);
    if (done) done = NumberSkeleton((*opened)->Core(), search);
    if (done) done = detail::PointEditor::Sync((*opened)->Manager());
    return done;
}

}  // namespace orvix::edits
