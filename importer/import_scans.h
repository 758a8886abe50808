// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "importer/import.h"
#include "importer/memory_plan.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// Imports scans that are open already: what `Import` does after it opened its inputs.
///
///     std::vector<ScanInput> inputs;
///     inputs.push_back({path, std::move(reader)});
///     auto report = ImportScans(inputs, project, options, PlanMemory(limit, threads), callback);
///
/// The plan takes the place of the options' memory limit and threads; everything else is as
/// `Import` says.
Expected<ImportReport> ImportScans(const std::vector<ScanInput>& inputs, const CString& project,
                                   const ImportOptions& options, const MemoryPlan& plan,
                                   const ImportCallback& callback = {});

}  // namespace orvix::importer
