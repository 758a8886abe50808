// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/rebuilt_files.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>

#include "importer/files/disk_space.h"
#include "importer/repair/repair_files.h"
#include "importer/write/index_writer.h"
#include "importer/write/project_records.h"
#include "orvix/platform/path.h"
#include "orvix/points/records.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_settings_file.h"
#include "orvix/project/station_files.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

}  // namespace

Expected<std::vector<SkeletonSize>> RebuiltFiles::Sizes() const {
    CLOUD_HEADER head;
    const auto bytes = ReadSmall(project_.Paths().headFile);
    if (!bytes) return ErrorOf(bytes);
    if (bytes->size() == sizeof head) std::memcpy(&head, bytes->data(), sizeof head);
    std::vector<SkeletonSize> sizes{SkeletonSize::TenCentimetres, SkeletonSize::OneMetre,
                                    SkeletonSize::OneCentimetre};
    const auto said = std::find_if(sizes.begin(), sizes.end(),
                                   [&](SkeletonSize size) { return ScaleOf(size) == head.scale; });
    if (said != sizes.end()) std::rotate(sizes.begin(), said, said + 1);
    return sizes;
}

// Whether the skeleton that was made is of the size that the manifest holds of it.
bool RebuiltFiles::FitsTheManifest() const {
    const JudgedFile& places = project_.FileOf(detail::kSkeletonPlacesName);
    if (!project_.Manifest() || !places.stored) return true;
    return places.stored->bytes == skeletonPoints_ * kSkeletonRecordBytes &&
           project_.FileOf("Index/Grid10cm.idx").stored.has_value() == HasFineLevel();
}

Expected<void> RebuiltFiles::BuildWith(SkeletonSize size) {
    size_ = size;
    skeleton_ = {};
    // What stays is in the way of the file that is made next, and named by it.
    static_cast<void>(project_.RemoveUnfinished());
    IndexWriter index(GridFrame(extent_.bounds), HasFineLevel() ? IndexWriter::FineLevel::Write
                                                                : IndexWriter::FineLevel::Omit);
    Expected<void> done = index.Create(project_.Unfinished());
    if (done) done = IndexPoints(points_, extent_, pool_, index);
    if (done) done = index.Finish();
    if (!done) return done;
    SkeletonWriter skeleton(project_.Unfinished(), size, pool_);
    done = skeleton.Write({&points_, &index.Cells100(), index.Cells100Count()}, skeleton_);
    skeletonPoints_ = skeleton_.points;
    return done ? skeleton.WriteCoarse() : done;
}

Expected<void> RebuiltFiles::Build() {
    const ProjectManager& paths = project_.Paths();
    const std::uint64_t bytes = project_.Points() * kAlivePointBytes;
    pool_.Meter().Begin(ImportPhase::Index, 3 * bytes);
    std::error_code ignored;  // a folder that cannot be made lets the files in it fail
    for (const CString* folder :
         {&paths.indexFolder, &paths.dataFolder, &paths.dataViewFolder, &paths.logicViewFolder}) {
        platform::MakeFolder(*folder, ignored);
    }
    Expected<void> done = RequireSpace(paths.projectFilesFolder, bytes / 4);
    if (done) done = points_.OpenRead(paths.gridPts);
    if (!done) return done;
    if (project_.Points() == 0) {
        return Fail(ErrorCode::Damaged,
                    ToUtf8(paths.gridPts) + " holds no point; import the scans again");
    }
    const auto extent = MeasurePoints(points_, project_.Points(), pool_);
    if (!extent) return ErrorOf(extent);
    extent_ = *extent;
    const auto sizes = Sizes();
    if (!sizes) return ErrorOf(sizes);
    bool fits = false;
    for (std::size_t i = 0; done && !fits && i < sizes->size(); ++i) {
        done = BuildWith((*sizes)[i]);
        fits = done && FitsTheManifest();
    }
    if (done && !fits) done = BuildWith(sizes->front());
    if (done) done = WriteRecords();
    return done ? points_.Close() : done;
}

// The number of stations does not follow from the points where some stations have none: the manifest's
// sum of the head decides, else the former head, unless points name more.
Expected<CLOUD_HEADER> RebuiltFiles::Head() const {
    ProjectFacts facts;
    facts.points = extent_.points;
    facts.bounds = extent_.bounds;
    facts.skeletonSize = size_;
    facts.skeleton = &skeleton_;
    CLOUD_HEADER head = HeadOf(facts);
    const auto bytes = ReadSmall(project_.Paths().headFile);
    if (!bytes) return ErrorOf(bytes);
    CLOUD_HEADER former;
    if (bytes->size() == sizeof former) std::memcpy(&former, bytes->data(), sizeof former);
    const auto& stored = project_.FileOf(detail::kHeadName).stored;
    for (std::uint32_t i = extent_.stations; stored && i <= detail::kMaxStations; ++i) {
        head.stationCount = i;
        std::array<std::uint8_t, kHeadFileBytes> candidate{};
        std::memcpy(candidate.data(), &head, candidate.size());
        if (detail::SumsOf("", candidate).sums == stored->sums) return head;
    }
    const bool plausible =
        former.stationCount >= extent_.stations && former.stationCount <= detail::kMaxStations;
    head.stationCount = plausible ? former.stationCount : extent_.stations;
    return head;
}

Expected<void> RebuiltFiles::WriteRecords() const {
    const ProjectManager& made = project_.Unfinished();
    Expected<void> done = skeleton_.histograms.Write(made);
    if (!done) return done;
    const auto head = Head();
    if (!head) return ErrorOf(head);
    std::array<std::uint8_t, kHeadFileBytes> bytes{};
    std::memcpy(bytes.data(), &*head, bytes.size());
    done = WriteNew(made.headFile, bytes);
    if (!done) return done;
    return WriteNew(made.projectFile,
                    detail::EncodeSettings(kSettingsVersion, SettingsOf(skeleton_)));
}

}  // namespace orvix::importer
