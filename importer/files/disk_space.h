// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Checks that `bytes` more fit on the disk of an existing folder.
///
/// Boundaries a file system that does not report its free space counts as having enough.
/// Errors     NoSpace with both numbers.
Expected<void> RequireSpace(const CString& folder, std::uint64_t bytes);

}  // namespace orvix::importer
