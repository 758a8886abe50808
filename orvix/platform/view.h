// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/export.h"

namespace orvix {

/// Releases a mapped view, given its base address alone; null is left alone. Hosts call it for
/// the addresses that `CProjectCore::SkeletCoordPtsMapAddress` and its sibling hand out.
///
///     std::uint8_t* points = core.SkeletCoordPtsMapAddress();
///     ...
///     orvix::UnmapFileView(points);
///
/// Threads  any thread, once per view.
ORVIX_API void UnmapFileView(const void* base);

}  // namespace orvix
