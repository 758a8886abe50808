// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/planes/plane_worm_settings.h"

namespace orvix::detail {

/// A project's search settings as PlaneWormSettings(projectFile, 1.0) loads them, with nothing
/// stored: a negative split size is replaced in the result alone. Use it for a search that may yet
/// be refused; loading the class then stores the split sizes.
PlaneWormSettings SettingsUnsaved(const CString& projectFile);

}  // namespace orvix::detail
