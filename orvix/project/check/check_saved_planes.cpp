// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_saved_planes.h"

#include <cmath>
#include <cstring>
#include <span>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/project/check/check_records.h"
#include "orvix/project/check/places_in_records.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/saved_planes.h"

namespace orvix::detail {
namespace {

// The numbers of a search are lengths, angles, areas and counts.
bool IsSound(const SavedSearch& search) {
    for (const double value : {search.cellSize, search.spacing, search.noise, search.distance,
                               search.angle, search.minArea, search.minPoints, search.bridge})
        if (!std::isfinite(value) || value < 0) return false;
    return true;
}

class SavedPlanesCheck {
public:
    SavedPlanesCheck(CheckLog& log, const CString& path, const SavedPlanes& saved)
        : log_(log), path_(path), saved_(saved), counted_(saved.Planes().size()) {}

    // The points of a part, whose coordinates are the first bytes of each record of a file.
    template <class Record>
    void Compare(CloudPart part, const CString& cloud) {
        if (!platform::PathExists(cloud)) return;  // a fault of its own
        const RecordFile<Record> records(cloud, log_);
        if (!records.IsOpen()) return;
        if (records.Count() != saved_.PointsOf(part))
            return log_.Add(path_, "is of {} points where {} holds {}", saved_.PointsOf(part),
                            platform::ToUtf8(cloud), records.Count());
        for (std::uint64_t block = 0; block < saved_.Blocks(part); ++block) {
            const std::uint32_t count = PointsOfBlock(records.Count(), block);
            if (!log_.Advance(count * sizeof(Record))) return;
            if (PlacesHashIn(records, block, places_) != saved_.PlacesHashOf(part, block))
                log_.Add(path_, "is of other points than {} holds, of which point {} is the first",
                         platform::ToUtf8(cloud), block * PlanesFileStart::kBlockPoints);
            Count(part, block);
        }
    }

    void CompareCounts() {
        std::uint64_t assigned = 0;
        for (std::size_t i = 0; i < counted_.size(); ++i) {
            const SavedPlane& plane = saved_.Planes()[i];
            assigned += counted_[i];
            if (plane.points != counted_[i])
                log_.Add(path_, "counts {} points of plane {}, which {} points are on",
                         plane.points, plane.number, counted_[i]);
        }
        if (assigned != saved_.Search().assignedPoints)
            log_.Add(path_, "counts {} points on planes of {}", saved_.Search().assignedPoints,
                     assigned);
        if (!IsSound(saved_.Search())) log_.Add(path_, "holds settings that cannot be");
    }

private:
    void Count(CloudPart part, std::uint64_t block) {
        if (auto done = saved_.ReadBlock(part, block, runs_); !done)
            return log_.Add(path_, "{}", done.error().message);
        if (part != CloudPart::Points) return;
        for (const PlaneRun& run : runs_)
            if (run.plane >= 0) counted_[static_cast<std::size_t>(run.plane)] += run.count;
    }

    CheckLog& log_;
    const CString& path_;
    const SavedPlanes& saved_;
    std::vector<std::uint64_t> counted_;
    std::vector<SimplePointT<float>> places_;
    std::vector<PlaneRun> runs_;
};

}  // namespace

void CheckSavedPlanes(CheckLog& log, const ProjectManager& paths) {
    const CString path = SavedPlanesPath(paths);
    if (!platform::PathExists(path)) return;
    const auto saved = SavedPlanes::Open(path);
    if (!saved && saved.error().code == ErrorCode::Failure) return log.Refuse(saved.error());
    if (!saved) return log.Add(path, "{}", saved.error().message);
    SavedPlanesCheck check(log, path, *saved);
    check.Compare<CCloudPoint<float>>(CloudPart::Points, paths.gridPts);
    if (log.Cancelled()) return;
    check.Compare<SimplePointT<float>>(CloudPart::Skeleton, paths.gridSkeletCoordPts);
    if (!log.Cancelled()) check.CompareCounts();
}

}  // namespace orvix::detail
