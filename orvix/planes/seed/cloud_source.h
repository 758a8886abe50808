// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// A box of the cloud and the run of records whose points lie in it.
struct CloudCell {
    ExtendsT<double> box;
    CIndexerSmall run;
};

/// Where a plane search gets its points from: boxes first, points of the boxes it wants then.
///
/// Units    metres, the frame in which the seed is given.
/// Order    the same cells in the same order at every call.
/// Errors   Damaged, where the source contradicts itself.
/// Threads  one thread at a time.
class CloudSource {
public:
    using Enter = std::function<bool(const ExtendsT<double>& box)>;
    using Visit = std::function<void(const CloudCell& cell)>;

    virtual ~CloudSource() = default;
    /// Calls `visit` for every finest cell all of whose enclosing boxes, its own included, `enter`
    /// lets through. `visit` may call ReadCell.
    virtual Expected<void> VisitCells(const Enter& enter, const Visit& visit) = 0;
    /// Replaces `points` with the cell's points, in record order.
    virtual void ReadCell(const CloudCell& cell, std::vector<CCloudPoint<float>>& points) = 0;
};

}  // namespace orvix::detail
