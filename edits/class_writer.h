// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/project_stamp.h"
#include "orvix/project/manifest/block_sums.h"
#include "reports/classification.h"
#include "reports/field_histogram.h"

namespace orvix::edits {

/// Called with the share done (0 to 1) and the points seen so far; false cancels.
using ApplyCallback = std::function<bool(double fraction, std::uint64_t points)>;

/// Writes each point's class, from 1, into the second member of its DCLC pair, in Grid.pts and in
/// the skeleton. The first member stays as it is; the class 0 stays free for "none".
///
/// `counted` is the project of whose histogram the classes were made.
///
/// Boundaries a point's class is that of the bin in which its value was counted, so that as many
///            points carry a class as the histogram counts in it.
/// Errors     Cancelled, with how far it came; Failure where the files may not be written, or
///            another project has taken the name.
///            Whatever ends it, points carry their new class or their former one, a byte at a time,
///            and the next run begins again and comes to the same result: classes follow from the
///            histogram, which nothing here changes.
/// Threads    `run` may work on several runs of points at a time; `callback` is called on the calling
///            thread alone, its worker 0.
/// Cost       one pass over the points through views that can be written to; only bytes that
///            change are written. Then a wait until these are on the disk. A pass over the files for
///            their sums before; those after are made while points are at hand.
Expected<std::uint64_t> ApplyClasses(const CString& project, const detail::ProjectStamp& counted,
                                     reports::Field field, const reports::Classification& classes,
                                     const ApplyCallback& callback,
                                     const detail::BlockRunner& run = detail::RunOneByOne);

}  // namespace orvix::edits
