// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "view/planes/known_planes.h"
#include "view/planes/search_settings.h"
#include "view/planes/searches.h"

namespace orvix::view {

/// Grows the plane at a seed, by the search that `orvix plane` uses, and says it: "seconds" four times
/// a second, "plane", "done".
///
/// Errors  those of reports::FindPlane.
Expected<void> GrowPlane(const reports::WorldProject& project, const reports::PlaneRequest& request,
                         KnownPlanes& known, Lines& lines, const Searches::Proceed& proceed);

/// Finds or reads all planes, as `orvix planes` does, and says them: "progress" ten times a second,
/// a "plane" each, "done". They become the present list once they are found.
///
/// Errors  those of reports::FindPlanes and ReadPlanes.
Expected<void> ListPlanes(const CString& project, const PlanesRequest& request, KnownPlanes& known,
                          Lines& lines, const Searches::Proceed& proceed);

}  // namespace orvix::view
