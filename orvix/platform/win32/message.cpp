// SPDX-License-Identifier: GPL-3.0-or-later
#include <windows.h>

#include "orvix/platform/error_channel.h"

namespace orvix::platform {

void ShowMessage(const wchar_t* text) {
    if (text == nullptr) return;
    MessageBoxW(GetActiveWindow(), text, L"Orvix", MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace orvix::platform
