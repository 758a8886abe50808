// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace orvix::test {

/// Whether this process has a console to itself, which takes the place of one that it shared. An
/// interrupt reaches every program of a console.
bool HaveOwnConsole();

/// Starts a program with inheritable handles for what it says.
PROCESS_INFORMATION Spawn(const std::vector<std::string>& arguments, HANDLE output, HANDLE errors);

/// Waits for the program's end and lets go of it.
int ExitCodeOf(const PROCESS_INFORMATION& child);

}  // namespace orvix::test
