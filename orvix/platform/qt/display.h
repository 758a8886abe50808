// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace orvix::platform::qt {

/// Where Qt can show windows, found out before Qt tries: its own attempt ends the process when it
/// fails.
struct Display {
    std::string platform;  ///< Qt's name for it; empty: as the user's QT_QPA_PLATFORM says
    std::wstring trouble;  ///< why there is none; empty where there is one
};

/// `wayland`: Qt's plug-in for Wayland is installed. A Wayland session that it serves comes first,
/// then an X server that answers at DISPLAY.
Display FindDisplay(bool wayland);

}  // namespace orvix::platform::qt
