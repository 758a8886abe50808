// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/project/access/project_stamp.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Keeps the sums of Grid.pts true while its pairs are changed one by one, without reading it.
///
/// A sum is linear: from what a record was and what it becomes follows what becomes of its block's
/// sum. So a block that was damaged before has the wrong sum after, and the check still names it.
/// Choose it where a host says which points it changes; choose edits::EditedSums, which compares and
/// sums the whole files, where most of them change.
///
///     EditedBlocks::Open(core);                       // leaves no mark: nothing is written yet
///     auto edits = EditedBlocks::Begin(paths);
///     edits.Change(record, formerPair, nextPair);     // of each pair, then set it
///     ... PointEditor::Sync ...
///     edits.End(stamp);
///
/// Boundaries the mark that the points were opened for writing (K9) lies beside them from `Begin` to
///            `End`. It stays where anybody else opened them meanwhile, or had before; where the project
///            is another one by now; and where the object goes without `End`. A repair then sums them.
/// Errors     `End`: those of reading and writing the manifest; the mark stays.
/// Threads    one.
/// Cost       memory: 4 bytes per block of 8 MiB, and 48 KiB. A change costs little; one that does
///            not follow the last 2 microseconds.
class EditedBlocks {
public:
    /// CProjectCore::OpenCores4Write without its mark.
    static bool Open(CProjectCore& core) { return core.OpenForWriting(); }
    static EditedBlocks Begin(const ProjectManager& paths);

    /// The three bytes of a record's pair, as they were and as they will be.
    void Change(std::uint64_t record, const void* formerPair, const void* nextPair);
    Expected<void> End(const ProjectStamp& opened);

private:
    static constexpr std::size_t kRecords = 2048;  // that follow each other and are summed at once

    explicit EditedBlocks(const ProjectManager& paths) : paths_(&paths) {}

    void Flush();
    [[nodiscard]] bool ChangesNothing() const;
    Expected<bool> UpdateManifest() const;

    const ProjectManager* paths_;
    bool alone_ = false;  // nobody had opened the points for writing
    std::uint64_t bytes_ = 0;
    std::vector<std::uint32_t> differences_;  // of each block's sum, to be combined with it
    std::vector<std::uint8_t> pending_;       // what differs in records that follow each other ...
    std::uint64_t firstPending_ = 0;          // ... from this one on
};

}  // namespace orvix::detail
