// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// The calling thread's last system error, and the system's own sentence for a code, letter for
/// letter (some systems end theirs with a line break).
std::uint32_t LastErrorCode();
CString SystemMessage(std::uint32_t code);

/// Executable names of all running processes, in the order the system's snapshot lists them;
/// the name alone, without folder ("orvix.exe", on Linux "orvix"). Linux lists by ascending
/// process id; a process whose executable this user may not see is listed by the name that it
/// gives itself.
std::vector<CString> ProcessNames();

/// Loads a shared library by its plain name ("Orvix.Localization"): the system's prefix and
/// ending are added. The folder of this library is tried first, wherever the process has gone
/// since it was loaded, then the system's search, the current folder left out. Null when there is
/// none. Never unloaded.
void* LoadSharedLibrary(const CString& name);
void* FindSymbol(void* library, const char* name);

/// The value of an environment variable; empty when it is not set.
CString EnvironmentVariable(const char* name);

/// Peak resident memory of this process in bytes, as the system accounts it.
std::uint64_t PeakMemory();

/// Physical memory of this machine in bytes.
std::uint64_t PhysicalMemory();

}  // namespace orvix::platform
