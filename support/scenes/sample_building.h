// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/building.h"

namespace orvix::test {

/// A building made by hand, whose numbers are known: what a search may find of a small house.
///
/// Plan    inside from (0, 0) to (8, 6), outer walls 0.3 m thick. Storey 1 is from 0 to 2.5 m and has
///         three rooms: room 1.1 to x = 4.94, around a chimney of 0.5 m; behind it rooms 1.2 and 1.3
///         on both sides of a wall that runs along (0.8, 0.6). Storey 2, from 2.8 m, is an attic: its
///         walls reach 3.8 m, the ridge along y = 3 is at 6.8 m inside.
/// Walls   1 west, 2 south, 3 north, 4 between rooms (0.12 m), 5 along (0.8, 0.6) (0.12 m), 6 east, of
///         which the inside alone was seen; 7 west gable, 8 south, 9 north, 10 east gable.
///         Volumes without openings cut: 4.95, 6, 6, 1.8, 1.1025, none, 4.653, 1.68, 1.68, 4.653.
/// Openings window 1 in wall 1; door 2 (a way through) and window 3 in wall 2; doors 4 (its leaf
///         open) and 5 (closed) in wall 4; hole 6 in wall 5; window 7 in wall 6; window 8 in wall 7.
/// Slabs   1 the floors of storey 1, from above alone; 2 between the storeys, 0.3 m, with a stairs'
///         hole, 16.578 m3.
/// Rooms   areas 29.39, 8.60685, 8.59215 and 48 m2; heights 2.5 and 4 m; the attic holds 120 m3.
/// Slopes  1 south, both faces seen, 0.2 m thick; 2 north, from below alone; one ridge between them.
building::Building SampleBuilding();

}  // namespace orvix::test
