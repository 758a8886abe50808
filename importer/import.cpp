// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import.h"

#include "importer/import_inputs.h"
#include "importer/import_scans.h"

namespace orvix::importer {

Expected<ImportReport> Import(const std::vector<CString>& inputs, const CString& project,
                              const ImportOptions& options, const ImportCallback& callback) {
    if (auto checked = CheckInputs(inputs, project); !checked) {
        return ErrorOf(checked);
    }
    const auto scans = OpenInputs(inputs);
    if (!scans) return ErrorOf(scans);
    return ImportScans(*scans, project, options,
                       PlanMemory(options.memoryLimitBytes, options.threads), callback);
}

}  // namespace orvix::importer
