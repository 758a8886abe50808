// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "importer/import.h"
#include "importer/scans/scan_survey.h"
#include "importer/sort/memory_plan.h"

namespace orvix::importer {

/// `Import` for scans that are open already, with memory shared out as told: what `Import` does
/// after it opened its inputs.
///
///     std::vector<ScanInput> inputs;
///     inputs.push_back({path, std::move(reader)});
///     auto report = ImportScans(inputs, project, options, PlanMemory(limit, threads), callback);
///
/// Everything else is as `Import` says; the plan takes the place of the options' memory limit and
/// threads.
Expected<ImportReport> ImportScans(const std::vector<ScanInput>& inputs, const CString& project,
                                   const ImportOptions& options, const MemoryPlan& plan,
                                   const ImportCallback& callback = {});

}  // namespace orvix::importer
