// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "orvix/c/boundary.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/records.h"
#include "orvix/project/access/edited_blocks.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/project_summary.h"

/// What stands behind the C interface's project handle: the open project, its summary, and its
/// files as the calls use them.
///
/// Points are read by position into the caller's array: one copy, and a file that another process
/// shortened is a failed read instead of a missing page. Indexes are small and mapped.
struct orvix_project {
    orvix_project() = default;
    orvix_project(const orvix_project&) = delete;
    orvix_project& operator=(const orvix_project&) = delete;
    ~orvix_project();

    [[nodiscard]] const orvix::ProjectManager& Paths() const { return opened->Manager(); }
    [[nodiscard]] orvix::CProjectCore& Core() const { return opened->Core(); }

    std::shared_ptr<orvix::detail::OpenProject> opened;  ///< searches share it
    orvix::detail::ProjectSummary summary;
    bool writable = false;
    /// Since the first change of its points, which are brought to the disk at the end.
    std::optional<orvix::detail::EditedBlocks> edits;
    orvix::platform::File points;
    orvix::platform::MappedFile index1000;
    orvix::platform::MappedFile index100;
    orvix::platform::MappedFile index10;  ///< without a file where there is no such level
    orvix::platform::MappedFile runs10;
};

namespace orvix::detail {

/// The whole records of a mapped file.
template <class Record>
std::span<const Record> RecordsOf(const platform::MappedFile& file) {
    return {reinterpret_cast<const Record*>(file.Data()), file.Size() / sizeof(Record)};
}

/// Reads points into an array of their number. Damaged where the file has become shorter.
Answer ReadPoints(const orvix_project& project, std::uint64_t first, std::uint64_t count,
                  orvix_point* points);

}  // namespace orvix::detail
