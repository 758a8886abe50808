// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::test {

/// From now on this program's `new` succeeds so many times and then fails; below 0: it never fails.
/// One thread at a time.
void LimitAllocations(long long count);

/// While it lives, what is allocated and lost is not reported by the leak sanitizer: CGAL's
/// triangulations leave their first blocks behind where memory for the next one is missing.
class LeaksOfTriangulations {
public:
    LeaksOfTriangulations();
    ~LeaksOfTriangulations();
    LeaksOfTriangulations(const LeaksOfTriangulations&) = delete;
    LeaksOfTriangulations& operator=(const LeaksOfTriangulations&) = delete;
};

}  // namespace orvix::test
