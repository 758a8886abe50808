// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

}  // namespace orvix::test
