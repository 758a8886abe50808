// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/file.h"

namespace orvix::platform {

/// Which file a handle has open, whatever name leads to it. Two are equal where both are one file:
///
///     FileIdentity mine, named;
///     const bool replaced = !IdentityOf(open, mine) || !IdentityOf(again, named) || mine != named;
///
/// Boundaries a system may give the number of a file that is gone to a new one: compare while one
///            of the two is held open.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t file = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// False, with `identity` untouched, for a handle that is none.
bool IdentityOf(Handle file, FileIdentity& identity);

/// When a file's bytes were last written, as its system counts: nanoseconds since 1970 on one,
/// hundreds of nanoseconds since 1601 on another. Times of one file can be compared, no more. False,
/// with `time` untouched, for a handle that is none.
bool WrittenTimeOf(Handle file, std::int64_t& time);

}  // namespace orvix::platform
