// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvix::cli {

/// What an array of jobs runs: `orvix site` of one scan each.
struct SlurmJob {
    std::string program;             ///< the command's path, unless ORVIX names another one
    std::vector<std::string> words;  ///< after it, without the scan and the threads
    std::vector<std::string> scans;  ///< one at least
    std::string log;                 ///< the folder of what the jobs say
    unsigned jobs = 0;               ///< at a time; 0: as many as there are
    unsigned threads = 1;
    std::uint64_t memoryBytes = 0;  ///< of a job
};

/// The script for sbatch. Names of any characters are single words in it.
std::string SlurmScriptOf(const SlurmJob& job);

}  // namespace orvix::cli
