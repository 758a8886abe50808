// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/mapping.h"
#include "orvix/project/saved/plane_runs.h"
#include "orvix/project/saved/planes_file.h"

namespace orvix::detail {

/// The planes that a project stores, and the plane of each of its points.
///
/// Choose PlaneSearch (detection) to find planes; this reads what one search found, without
/// another one. The points themselves are not needed.
///
///     auto saved = SavedPlanes::Open(SavedPlanesPath(manager));
///     if (!saved) return Report(saved.error());
///     for (const SavedPlane& plane : saved->Planes()) Use(plane.number, plane.outline);
///     std::vector<PlaneRun> runs;
///     auto done = saved->ReadBlock(CloudPart::Points, 0, runs);       // of points 0 to 32,767
///
/// Units      metres, project frame.
/// Order      planes as found, most points first; points and skeleton as in their files.
/// Boundaries the plane of a run is a place in Planes(), not a number; -1 where there is none.
/// Errors     BadInput where there is no such file or one of a newer version; Damaged, with what is
///            wrong, for one that was cut or changed; FailSystem's where it cannot be read. Whether
///            the cloud is still the one that was searched is not asked here: compare PlacesHash of
///            a block's points with the block's.
/// Lifetime   keeps the file open; another save may take its place meanwhile.
/// Threads    const calls may run side by side.
/// Cost       opening reads the file once, to compare its checksum: 1 to 4 % of the point file.
///            Memory: the planes. A block is found at once and decoded in one pass over its runs.
class SavedPlanes {
public:
    static Expected<SavedPlanes> Open(const CString& path);

    [[nodiscard]] const SavedSearch& Search() const { return end_.search; }
    [[nodiscard]] const std::vector<SavedPlane>& Planes() const { return planes_; }

    [[nodiscard]] std::uint64_t PointsOf(CloudPart part) const;
    [[nodiscard]] std::uint64_t Blocks(CloudPart part) const { return BlocksOf(PointsOf(part)); }
    /// Precondition of the next two: `block` is below Blocks(part).
    [[nodiscard]] std::uint64_t PlacesHashOf(CloudPart part, std::uint64_t block) const;
    /// The runs of PointsOfBlock(PointsOf(part), block) points.
    [[nodiscard]] Expected<void> ReadBlock(CloudPart part, std::uint64_t block,
                                           std::vector<PlaneRun>& runs) const;

private:
    // What is wrong with the file; an empty text where nothing is.
    [[nodiscard]] std::string FaultOfBytes() const;
    [[nodiscard]] std::string FaultOfTable(std::uint64_t endOffset) const;
    std::string Parse(const PlanesFileStart& start);
    [[nodiscard]] std::uint64_t AllBlocks() const {
        return Blocks(CloudPart::Points) + Blocks(CloudPart::Skeleton);
    }
    [[nodiscard]] PlaneBlock TableEntry(std::uint64_t entry) const;
    [[nodiscard]] std::uint64_t EntryOf(CloudPart part, std::uint64_t block) const;
    [[nodiscard]] tl::unexpected<Error> Damage(const std::string& what) const;

    CString path_;
    platform::MappedFile file_;
    PlanesFileEnd end_;
    std::vector<SavedPlane> planes_;
};

}  // namespace orvix::detail
