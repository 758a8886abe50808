// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/platform/unfinished_file.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/saved/plane_runs.h"
#include "orvix/project/saved/planes_file.h"

namespace orvix::detail {

/// Writes a project's file of saved planes, whole or not at all: it grows beside its name and takes
/// the name once its bytes are on the disk. A file of that name stays until then.
///
///     auto file = PlanesFileWriter::Create(manager);
///     if (!file) return ErrorOf(file);
///     (*file)->AddBlock(CloudPart::Points, RunsOf(planes), PlacesHash(points));  // block by block
///     (*file)->AddBlock(CloudPart::Skeleton, RunsOf(thin), PlacesHash(places));
///     return (*file)->Commit(search, found);
///
/// Order    the blocks of all points, then those of the skeleton. Precondition: each has
///          PlanesFileStart::kBlockPoints points but the last of its part.
/// Errors   Failure where another program is saving planes in this project. Of later failures the
///          first is kept, and `Commit` returns it: NoSpace or Failure, with the path.
/// Lifetime the destructor removes what was not committed.
/// Cost     memory: 1 MiB, and 16 bytes per block.
class PlanesFileWriter {
public:
    static Expected<std::unique_ptr<PlanesFileWriter>> Create(const ProjectManager& paths);
    PlanesFileWriter(const PlanesFileWriter&) = delete;
    PlanesFileWriter& operator=(const PlanesFileWriter&) = delete;

    void AddBlock(CloudPart part, std::span<const PlaneRun> runs, std::uint64_t placesHash);
    /// Precondition: `search` counts the points whose blocks were added. On some systems nobody may
    /// have the former file open.
    Expected<void> Commit(const SavedSearch& search, std::span<const SavedPlane> planes);

private:
    PlanesFileWriter(const ProjectManager& paths, platform::PathLock&& lock);

    void Flush();
    [[nodiscard]] std::uint64_t Written() const { return file_.AppendOffset() + bytes_.size(); }

    platform::PathLock lock_;
    CString path_;
    std::error_code error_;
    platform::UnfinishedFile file_;
    std::vector<std::uint8_t> bytes_;  // not yet in the file
    StreamHash hash_;                  // of those that are
    std::array<std::vector<PlaneBlock>, kCloudParts> blocks_;
};

}  // namespace orvix::detail
