// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/path.h"

namespace orvix::importer {

/// The bytes of a file of 8 KiB at most; none where it is larger, or where there is no such file.
///
/// Errors  those of the system, which say nothing about the file.
Expected<std::vector<std::uint8_t>> ReadSmall(const CString& path);

/// Makes a file, in place of what an ended repair left of it, and brings it to the device.
///
/// Errors  those of SyncedFile.
Expected<void> WriteNew(const CString& path, std::span<const std::uint8_t> bytes);

/// Whether two files hold the same bytes; of skeleton data, but for the DCLC pairs, which a host sets
/// and the points do not determine, if `withoutPairs`.
///
/// Errors  Failure where one cannot be read.
Expected<bool> AreAlike(const CString& a, const CString& b, bool withoutPairs);

}  // namespace orvix::importer
