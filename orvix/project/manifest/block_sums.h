// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <system_error>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// Runs numbered jobs, which do not depend on each other; what has threads of its own may run several
/// at a time, worker 0 on the calling thread. The library itself has none: RunOneByOne.
using BlockJob = std::function<Expected<void>(std::size_t job, unsigned worker)>;
using BlockRunner = std::function<Expected<void>(std::size_t jobs, const BlockJob& job)>;

Expected<void> RunOneByOne(std::size_t jobs, const BlockJob& job);

/// A file and the sums of its blocks as they are on the disk.
struct SummedFile {
    CString path;
    std::uint64_t bytes = 0;          ///< that are to be summed, from its start
    std::vector<std::uint32_t> sums;  ///< one for each block; set by SumBlocks
    std::error_code error;            ///< why it could not be read
    bool cut = false;                 ///< it holds fewer bytes
};

/// Sums the blocks of files (kSumBlockBytes).
///
/// Errors   those of `run`; a file that cannot be read says so itself.
/// Cost     each file is read once, 256 KiB at a time, and a block is a job: as many of these are in
///          memory as jobs run at a time. A block is opened by itself, so that files may be many.
Expected<void> SumBlocks(std::vector<SummedFile>& files, const BlockRunner& run);

}  // namespace orvix::detail
