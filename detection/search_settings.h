// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/cells/cloud_estimate.h"
#include "detection/growth/region_growth.h"
#include "detection/plane_search.h"

namespace orvix::detection {

/// The smallest of CellFrame::kSizes that is no smaller than a cell size asked for, or the largest.
std::size_t CellStepFor(double cellSize);

/// The settings of a search: those of the options, and where these leave the choice, what the
/// cells' size and the cloud's noise suggest.
PlaneSearchSettings SettingsFor(const PlaneSearchOptions& options, double cellSize,
                                const CloudEstimate& cloud);

/// What decides whether cells lie on one plane, by what a search was asked for and its settings.
GrowthLimits LimitsFor(const PlaneSearchOptions& options, const PlaneSearchSettings& settings);

}  // namespace orvix::detection
