// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Whether `bytes` more fit on the disk of an existing folder; NoSpace, with both numbers, when
/// they do not. A file system that does not tell its free space is taken to have enough.
Expected<void> RequireSpace(const CString& folder, std::uint64_t bytes);

}  // namespace orvix::importer
