// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::test {

/// From now on this program's `new` succeeds so many times and then fails; below 0: it never fails.
/// One thread at a time.
void LimitAllocations(long long count);

}  // namespace orvix::test
