// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "importer/import_pool.h"
#include "importer/tasks/import_work.h"

namespace orvix::importer {

/// Runs all tasks that are not done, one after the other, with the progress of a whole import.
Expected<void> RunTasks(ImportWork& work, ImportPool& pool);

/// The phase that a kind of task shows as.
ImportPhase PhaseOf(TaskKind kind);

}  // namespace orvix::importer
