// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/plane_set.h"
#include "orvix/project/saved/saved_plane.h"

namespace orvix::detection {

/// A plane and a search's settings as a project stores them, and back again without a loss.
detail::SavedPlane RecordOf(const FoundPlane& plane, std::uint32_t number);
FoundPlane FoundPlaneOf(const detail::SavedPlane& record);

/// `nextNumber` and the skeleton's points are left to the caller.
detail::SavedSearch RecordOf(const PlaneSet& planes);
PlaneSearchSettings SettingsOf(const detail::SavedSearch& record);

}  // namespace orvix::detection
