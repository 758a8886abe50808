// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/files/disk_space.h"

#include <fmt/format.h>

#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kBytesPerMegabyte = 1'000'000;

}  // namespace

Expected<void> RequireSpace(const CString& folder, std::uint64_t bytes) {
    std::error_code error;
    const std::uint64_t free = platform::FreeSpace(folder, error);
    if (error || bytes <= free) return {};
    return Fail(ErrorCode::NoSpace,
                fmt::format("the project takes about {} MB and {} has {} MB free; free some space, "
                            "or import to another disk",
                            bytes / kBytesPerMegabyte + 1, platform::ToUtf8(folder),
                            free / kBytesPerMegabyte));
}

}  // namespace orvix::importer
