// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "importer/import_result.h"
#include "importer/tasks/task_notes.h"

namespace orvix::importer {

/// The result of the finish task: the report, without times, memory and the project's name, which
/// belong to whoever publishes.
Expected<ImportReport> ReadReport(const TaskNotes& notes);
Expected<void> WriteReport(const TaskNotes& notes, const ImportReport& report);

}  // namespace orvix::importer
