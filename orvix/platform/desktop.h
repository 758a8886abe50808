// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <system_error>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// What a program asks of the user's session: where it lies itself, a browser, a folder for a while,
/// numbers that nobody can guess.
///
/// Threads  any.

/// The folder of the running program's file, links resolved; empty where the system does not say.
CString ProgramFolder();

/// Opens an address in the browser that the user has chosen, and does not wait for it.
///
/// Errors  false where there is nobody to ask: no display, no browser, no program that knows it.
bool OpenInBrowser(const std::string& address);

/// Fills a buffer from the system's random source, which nobody can predict.
void FillRandom(void* buffer, std::size_t bytes, std::error_code& error);

/// Makes a new folder for files that go with the program, in the user's folder for such: its name
/// begins with `stem`, and no other user may look into it. Who asks for it removes it.
CString MakePrivateFolder(const CString& stem, std::error_code& error);

/// Whether a port that was served rests for a while before it can be served again, unless the
/// program asks to reuse addresses; elsewhere that wish would give one port to two programs.
bool ServedPortsRest();

}  // namespace orvix::platform
