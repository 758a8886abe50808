// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::platform {

/// A library of the system or of a driver, by the file names that it has on each.
struct SystemLibrary {
    const char* posix = nullptr;       ///< "libOpenCL.so.1"
    const wchar_t* windows = nullptr;  ///< L"OpenCL.dll"
};

/// Loads a library that comes with the system: on Windows from the system's own folder alone,
/// elsewhere by the system's search, the current folder left out. Null when there is none. Never
/// unloaded; FindSymbol (system.h) finds what it holds.
///
///     void* const library = LoadSystemLibrary({"libOpenCL.so.1", L"OpenCL.dll"});
void* LoadSystemLibrary(const SystemLibrary& library);

}  // namespace orvix::platform
