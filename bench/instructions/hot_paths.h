// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace orvix::bench {

/// Work whose instructions are counted. It returns how much it did (points, triangles, planes), so
/// that a count is never held against one of other work.
using CountedWork = std::function<std::uint64_t()>;

/// A path that many callers spend their time in, on work that is the same everywhere: fixed seeds,
/// one thread, and no answer that depends on time or memory.
struct HotPath {
    const char* name;
    std::function<CountedWork()> prepare;  ///< makes what the work needs; that is not counted
};

std::vector<HotPath> ReadingPaths();
std::vector<HotPath> FittingPaths();
std::vector<HotPath> ProjectPaths();

}  // namespace orvix::bench
