// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace orvix::platform {

/// The words that this program was started with, its own name first, as UTF-8; to be called with
/// what `main` was given.
///
///     int main(int argc, char** argv) {
///         const std::vector<std::string> words = platform::ProgramArguments(argc, argv);
///
/// Boundaries on Windows `argv` holds only what the system's own code page can express, and is not
///            looked at; elsewhere it is taken as it is, valid UTF-8 or not.
std::vector<std::string> ProgramArguments(int argc, const char* const* argv);

/// Makes the standard streams take UTF-8 as it is: no byte is changed on the way to a file or
/// pipe, and a console shows the text and obeys its control sequences. To be called once, before
/// anything is written. Whoever writes flushes: standard error may be buffered as well.
void PrepareStandardStreams();

}  // namespace orvix::platform
