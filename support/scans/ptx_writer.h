// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "orvix/platform/text.h"
#include "support/scenes/ray_scan.h"

namespace orvix::test {

/// Scans a scene from each station into one PTX file: a scan a station, its pose a move alone; a
/// point's colour is the number of its plane plus 1, 0 on none.
void WritePtx(const RayScene& scene, std::span<const RayOptions> stations, const CString& path);

}  // namespace orvix::test
