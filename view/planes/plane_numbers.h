// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "view/data/record_file.h"
#include "view/planes/known_planes.h"
#include "view/planes/scratch.h"

namespace orvix::view {

/// The number of the plane of each point of a range, a uint32 each, 0 for none.
///
/// Errors  those of PlaneSet::ReadChunk, from Next.
/// Cost    the points that the range takes in are read again, and decided a chunk at a time. Numbers are
///         made as they are sent: 256 KiB of them, and what the chunk's reader holds.
std::unique_ptr<Pieces> PlaneNumbersOf(std::shared_ptr<const PlaneList> list,
                                       const RecordRange& range);

/// The same of the skeleton's points.
///
/// Errors  those of PlaneSet::ReadSkeleton, and of writing into `scratch`.
/// Cost    what a search found is decided point by point as it is sent; what a project keeps is read once
///         in whole and kept in a file.
Expected<std::unique_ptr<Pieces>> SkeletonPlaneNumbersOf(std::shared_ptr<const PlaneList> list,
                                                         const RecordFile& skeleton,
                                                         const RecordRange& range,
                                                         Scratch& scratch);

}  // namespace orvix::view
