// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_vector.h"

namespace orvix::output {

/// The direction along which, and across which, the greater part of a building's walls run: the one
/// within 45 degrees of x. {1, 0} without walls.
PlanPoint MainDirection(const building::Building& building);

/// The building in a frame whose x runs along `direction`, of length one: what a sheet shows upright.
building::Building Turned(building::Building building, const PlanPoint& direction);

/// The way back: a place of that frame in the building's.
constexpr PlanPoint TurnedBack(const PlanPoint& p, const PlanPoint& direction) {
    return {p.x * direction.x - p.y * direction.y, p.x * direction.y + p.y * direction.x};
}

}  // namespace orvix::output
