// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/error.h"
#include "orvix/project/project_manager.h"
#include "view/data/record_file.h"

namespace orvix::view {

/// One cell as the page reads it: 32 bytes.
struct CellRow {
    float min[3] = {0, 0, 0};
    std::uint32_t number = 0;  ///< in its level
    std::uint64_t first = 0;   ///< of its points
    std::uint64_t count = 0;
};
static_assert(sizeof(CellRow) == 32);

/// The cells of a project, level by level.
///
///     auto cells = CellIndex::Open(manager);
///     auto answer = cells->Children(1000, 3, 1);       // the 100 cm cells of the fourth 1000 cm cell
///
/// Order      as in the index files.
/// Boundaries the points of a cell's children partition its own: each begins where the one before it
///            ends, the first and the last where the cell does.
/// Errors     BadInput for cells that there are not; Damaged, with the cell, where the files
///            contradict each other or the points. What shows only while rows are made is returned by
///            Next.
/// Threads    const calls side by side. Rows may outlive the CellIndex.
/// Cost       64 KiB of each file for each answer that is being sent.
class CellIndex {
public:
    static Expected<CellIndex> Open(const ProjectManager& paths, bool has10cm);

    [[nodiscard]] std::uint64_t Cells1000() const { return files_.cells1000.Records(); }
    [[nodiscard]] std::uint64_t Cells100() const { return files_.cells100.Records(); }
    [[nodiscard]] std::uint64_t Cells10() const { return files_.cells10.Records(); }
    [[nodiscard]] bool Has10cm() const { return files_.has10cm; }
    /// How many points the cells lead to; Damaged where they lead past the end.
    [[nodiscard]] Expected<std::uint64_t> PointsReached() const;

    /// Cells `first` to `first + count - 1` of the 1000 cm level.
    [[nodiscard]] Expected<Answer> Coarse(std::uint64_t first, std::uint64_t count) const;
    /// The 100 cm cells of 1000 cm cells, or the 10 cm cells of 100 cm cells (`level` 100 or 10), of
    /// `parents` of these from `of` on.
    [[nodiscard]] Expected<Answer> Children(std::uint64_t level, std::uint64_t of,
                                            std::uint64_t parents) const;

    struct Files {
        RecordFile cells1000;
        RecordFile cells100;
        RecordFile runs10;
        RecordFile cells10;
        std::uint64_t points = 0;
        bool has10cm = false;
    };

private:
    Files files_;
};

}  // namespace orvix::view
