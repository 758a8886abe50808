// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The number of what row_window.rc holds. The resource compiler knows macros alone.
#define ORVIX_WINDOW_MANIFEST 101
