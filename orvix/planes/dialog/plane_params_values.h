// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::detail {

/// How the sliders of the plane parameters dialog stand for values.
///
/// Every position's value reads as that position again: a value whose quotient falls short of its
/// position by rounding (0.29 m is 28.999999999999996 cm) is the next double above it. So what a
/// dialog stored, the next one shows unchanged.
///
/// Boundaries what no int32 holds becomes its nearest bound, not-a-number 0.

/// Whole centimetres of a split size, fractions dropped.
std::int32_t CentimetresOf(double splitSize);
double SplitSizeOf(std::int32_t centimetres);

/// Steps of 0.015 in a tolerance, fractions dropped.
std::int32_t AngleStepsOf(double diff);
double DiffOf(std::int32_t steps);

/// The turn, in degrees, up to which no component of a unit normal changes by more than `diff`:
/// 2 asin(diff / 2), the angle whose chord is `diff`. 180 from 2 on, 0 below 0.
double PassingAngle(double diff);

inline constexpr std::int32_t kExactMinPlane = 0;       ///< speed 0: every point of a cell
inline constexpr std::int32_t kBalancedMinPlane = 400;  ///< speed 1: the nearest 400
inline constexpr std::int32_t kFastMinPlane = 100;      ///< speed 2 where nothing else was set

int SpeedOf(std::int32_t minPlane);
/// `third` is what position 2 stands for.
std::int32_t MinPlaneOf(int speed, std::int32_t third);

}  // namespace orvix::detail
