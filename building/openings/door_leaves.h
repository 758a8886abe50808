// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/plane_evidence.h"

namespace orvix::building {

/// Tells open doors: those that rays went through and beside whose jamb an upright plane stands, three
/// quarters as high and 0.7 to 1.15 times as wide as the door. The leaf's plane becomes evidence.
void FindLeaf(const Wall& wall, const PlaneEvidence& planes, Opening& door);

}  // namespace orvix::building
