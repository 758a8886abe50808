// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "orvix/platform/error.h"
#include "reports/registration/motion.h"

namespace orvix::reports {

/// One station's sight of one patch: `height` is how far it saw it in front of some plane, `by` how
/// that height changes with a motion of the station.
struct Sight {
    std::uint32_t patch = 0;
    std::uint32_t plane = 0;
    std::uint32_t station = 0;
    double height = 0;    ///< metres
    double variance = 0;  ///< of the height, square metres
    Motion by{};
};

/// How far a station's points were moved and turned by its registration, about its centre.
struct StationMotion {
    Motion motion{};  ///< metres and radians
    Motion sigma{};   ///< standard deviations
    /// What decides each of six directions, as a standard deviation in metres at the patches: of the
    /// best first. One above kWeak is not decided by what was seen.
    std::array<double, 6> directions{};
    double reach = 0;  ///< metres: how far from the centre its patches lie, root of the mean square
    bool seen = false;
};

inline constexpr double kWeakDirection = 0.002;  // metres

/// Finds the motions of all stations together that explain best at which heights they saw the patches.
///
/// Each patch has an unknown height of its own; stations are compared where they saw the same patch, so
/// that no wave of a wall matters. What does not fit, as furniture that was moved between two scans,
/// loses its weight: Huber's, then Tukey's.
///
/// Deviations are those of the sights and, by a jackknife of twenty parts, those of the planes: a motion
/// that rests on one plane, which may be two surfaces after all, is as uncertain as it is large.
///
/// Shape      sights are ordered by patch; stations count from 0 to `stations` - 1.
/// Boundaries all stations together may be moved and turned without any change: the motions given are
///            those whose medians are 0, among the stations that patches connect. So of many stations
///            a few that were moved stand out, of two each has half.
/// Order      one thread, sums in the order of the sights.
/// Errors     Cancelled where `proceed`, asked at each of the steps, answers false.
/// Cost       a step is a pass over the sights; there may be some thousands of them.
/// Source     P. J. Huber: Robust Statistics (1981), chapter 7; preconditioned conjugate gradients:
///            G. H. Golub, C. F. Van Loan: Matrix Computations, section 11.5. Jackknife: B. Efron,
///            C. Stein: The jackknife estimate of variance. Annals of Statistics 9 (1981), 586-596.
Expected<std::vector<StationMotion>> AdjustStations(std::span<const Sight> sights,
                                                    const std::vector<detail::Vector>& centres,
                                                    const std::function<bool()>& proceed = {});

/// The motion of one station, station 1 of the sights, against station 0, which stays where it is.
/// Errors: Cancelled.
Expected<StationMotion> AdjustAgainst(std::span<const Sight> sights,
                                      const std::function<bool()>& proceed = {});

/// How many directions what was seen does not decide.
std::size_t WeakOf(const std::array<double, 6>& directions);

/// The middle value; of an even number the mean of the two. 0 of none.
double MedianOf(std::vector<double> values);

}  // namespace orvix::reports
