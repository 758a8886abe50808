// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Writes a small file, brings it to the device, and reads it back by its name.
///
/// Boundaries a file that exists is emptied first.
/// Errors     every call's: creating, writing, syncing, closing, reading; Failure for bytes that do
///            not read back as they were written.
// BEHAVIOUR I24
Expected<void> WriteWholeFile(const CString& path, const void* data, std::size_t bytes);

/// The same where nothing has that name, not even a link.
Expected<void> WriteNewFile(const CString& path, const void* data, std::size_t bytes);

}  // namespace orvix::importer
