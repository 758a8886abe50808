// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <mutex>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::view {

/// A folder of this server alone for files that go with it: made when it is first asked for, in the
/// system's folder for such.
///
/// Threads  any.
/// Lifetime the folder goes with the object, and all that is in it.
class Scratch {
public:
    Scratch() = default;
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /// A name in it that no file has had: "7.dxf" for the ending ".dxf".
    Expected<CString> NewName(const CString& ending);

private:
    std::mutex mutex_;
    CString folder_;
    std::uint64_t names_ = 0;
};

}  // namespace orvix::view
