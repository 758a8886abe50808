// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "importer/scans/station_table.h"

namespace orvix::importer {

/// Whether these inputs can become that project. Errors: none or too many of them, one that lies in
/// the project's own folder or is the project.
Expected<void> CheckInputs(const std::vector<CString>& inputs, const CString& project);

/// Opens all inputs. Errors: those of the first that is no scan.
Expected<std::vector<ScanInput>> OpenInputs(const std::vector<CString>& paths);

}  // namespace orvix::importer
