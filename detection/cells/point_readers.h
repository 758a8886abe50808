// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "orvix/points/alive_point_reader.h"
#include "orvix/project/project_core.h"

namespace orvix::detection {

/// One reader of a project's points per thread, created when a thread first needs it.
///
/// Lifetime borrows the core, which must stay open.
/// Threads  each thread uses its own number, below `threads`.
class PointReaders {
public:
    PointReaders(CProjectCore& core, unsigned threads) : core_(core), readers_(threads) {}
    CAlivePointReader& operator[](unsigned thread) {
        if (!readers_[thread]) readers_[thread] = core_.CreateAlivePointReader();
        return *readers_[thread];
    }

private:
    CProjectCore& core_;
    std::vector<std::shared_ptr<CAlivePointReader>> readers_;
};

}  // namespace orvix::detection
