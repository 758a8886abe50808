// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "importer/import_options.h"
#include "importer/import_result.h"
#include "orvix/platform/error.h"
#include "orvix/platform/export.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Turns scan files into a complete project: the project file and its project-files folder.
///
/// Every scan is a station, numbered from 0 in the order of the inputs; in most formats a file
/// holds one scan. Where the file holds a scan's pose, the points are brought into the file's frame
/// in double precision, and the station's files (docs/FORMAT.md) are written. All or nothing: work
/// happens beside the target and one rename makes the project appear, the project file last; a
/// failed, cancelled or killed import leaves no project, and an existing one stays whole until
/// then. With `resume` what is done stays where it ends early, and the same call goes on from there;
/// so it does after one without that was killed, where the points were sorted through the disk.
///
/// Units    `project` and every output in metres; see `LengthUnit` for the inputs.
/// Order    the same inputs give the same bytes at any thread count and memory limit; points of
///          one 10 cm cell keep their input order.
/// Errors   every failure says what is wrong, where, and what to do.
/// Threads  call it from one thread; it starts its own.
/// Cost     two passes over the inputs; memory stays below the limit; the disk needs about twice
///          the project's size when the points do not fit into memory.
ORVIX_IMPORTER_API Expected<ImportReport> Import(const std::vector<CString>& inputs,
                                                 const CString& project,
                                                 const ImportOptions& options,
                                                 const ImportCallback& callback = {});

}  // namespace orvix::importer
