// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/export.h"

namespace orvix {

/// Receives the library's messages to the user, one text per call, on the thread that met the
/// trouble. The text is valid during the call only. It must not throw.
using ErrorChannel = void (*)(const wchar_t* text);

/// Sets where messages go and returns the channel set before. Null restores the default: a modal
/// message box with an OK button on Windows, a line on standard error elsewhere.
///
/// Threads  set it before readers run on other threads; the pointer is a plain value.
ORVIX_API ErrorChannel SetErrorChannel(ErrorChannel channel);

}  // namespace orvix

namespace orvix::platform {

/// Hands a text to the channel; returns when the channel does.
void ReportError(const wchar_t* text);

/// The default channel of this system.
void ShowMessage(const wchar_t* text);

}  // namespace orvix::platform
