// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvix::test {

/// A finished program: how it ended and what it said.
struct ProcessResult {
    int exitCode = -1;  ///< 128 + the signal's number for a program that a signal ended
    std::string output;
    std::string errors;
    bool interruptRefused = false;  ///< the system had no way to interrupt the program
};

/// Called with what the program has said on standard error so far; true sends it an interrupt,
/// as Ctrl-C does, once.
using InterruptWhen = std::function<bool(const std::string& errors)>;

/// Runs a program to its end, its output and errors caught apart. `arguments[0]` is its path;
/// texts are UTF-8. The environment is this process's own.
ProcessResult RunProcess(const std::vector<std::string>& arguments,
                         const InterruptWhen& interruptWhen = {});

/// The exit code of a program that ended itself with KillThisProcess.
constexpr int kKilled = 137;

/// Ends this process at once: nothing is closed, flushed or destroyed.
[[noreturn]] void KillThisProcess();

/// The threads that this process has at the moment.
std::size_t ThreadCount();

/// From now on every file that this process writes ends at `bytes`, as on a disk that is full;
/// false where the system has no such limit.
bool LimitFileSize(std::uint64_t bytes);

}  // namespace orvix::test
