// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "reports/project_section.h"

namespace orvix::output {

enum class ExistingFile { Keep, Replace };

struct ExportOptions {
    std::optional<std::uint16_t> station;  ///< only this station's points
    std::optional<ExtendsT<double>> box;   ///< only points in it, its faces included; world
    /// Only points in its slab: those, and no others, that it counts as in.
    std::optional<reports::SectionRequest> section;
    bool planes = false;  ///< with the number of each point's saved plane
    ExistingFile existing = ExistingFile::Keep;
    unsigned threads = 1;  ///< 0: every core; a section's points come on one
};

struct ExportReport {
    std::uint64_t points = 0;
    std::uint64_t bytes = 0;  ///< of the file
    std::string format;       ///< for people
    ExtendsT<double> bounds;  ///< of the points, world
    double seconds = 0;
};

/// Receives the share of the work done (0 to 1), and the points and bytes written; false cancels.
/// Called on the calling thread.
using ExportCallback =
    std::function<bool(double fraction, std::uint64_t points, std::uint64_t bytes)>;

/// Whether ExportProject would take this target: a place for a file, and none there that is to be kept.
/// For a caller that has other work to do before.
Expected<void> RequireExportTarget(const CString& target, ExistingFile existing);

/// Writes the points of a project, in world coordinates and with all that their records hold, to a
/// .ply, .las or .xyz file (see the writers in cloud_writer.h).
///
/// Order    as in the project: cell by cell; the same bytes on any number of threads.
/// Boundaries where the project's frame is shifted by zero along an axis, coordinates are written
///          bit for bit, the sign of a zero included.
/// Errors   of planes: those of detection::StoredPlanes; of a section: those of ProjectSection.
///          BadInput for a file that exists, unless it is to be replaced, a place that cannot be
///          written to and a choice that holds no point; NoSpace, before the first byte where it
///          can be known; Cancelled. The file appears whole or not at all.
/// Cost     two passes over the mapped point file, one to count and one to write; of a section, over
///          the cells that its slab touches. Constant memory, some 4 to 12 MiB a thread, and 24 bytes a
///          100 cm cell of a section.
Expected<ExportReport> ExportProject(const CString& project, const CString& target,
                                     const ExportOptions& options,
                                     const ExportCallback& callback = {});

}  // namespace orvix::output
