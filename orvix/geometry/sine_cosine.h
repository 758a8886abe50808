// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>

namespace orvix::detail {

struct SineCosine {
    double sine = 0;
    double cosine = 1;
};

/// Sine and cosine of an angle, the same bits on every system.
///
/// Choose it over std::sin and std::cos wherever a result is decided: the C libraries differ in the
/// last place, and what is stored must not. Pi itself is std::numbers::pi in every room.
///
///     const auto [sine, cosine] = SineCosineOf(degrees * std::numbers::pi / 180);
///
/// Units      radians.
/// Boundaries |angle| up to 1000; both results are not-a-number beyond. Errors stay below one unit
///            in the last place.
/// Threads    no state.
/// Source     the reduction by pi / 2 in two parts and the minimax polynomials of FDLIBM 5.3
///            (k_sin.c, k_cos.c, e_rem_pio2.c), Sun Microsystems.
inline SineCosine SineCosineOf(double angle) {
    constexpr double kTwoOverPi = 6.36619772367581382433e-01;
    constexpr double kHalfPi = 1.57079632673412561417e+00;  // its first 33 bits
    constexpr double kHalfPiRest = 6.07710050650619224932e-11;
    if (!(std::fabs(angle) <= 1000)) return {std::nan(""), std::nan("")};
    const auto turns = static_cast<std::int32_t>(angle * kTwoOverPi + (angle < 0 ? -0.5 : 0.5));
    const double first = angle - turns * kHalfPi;
    const double rest = turns * kHalfPiRest;
    const double x = first - rest;
    const double tail = (first - x) - rest;
    const double z = x * x;
    const double v = z * x;

    const double s = 8.33333333332248946124e-03 +
                     z * (-1.98412698298579493134e-04 +
                          z * (2.75573137070700676789e-06 +
                               z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)));
    const double sine = x - ((z * (0.5 * tail - v * s) - tail) - v * -1.66666666666666324348e-01);

    const double c =
        z * (4.16666666666666019037e-02 +
             z * (-1.38888888888741095749e-03 +
                  z * (2.48015872894767294178e-05 +
                       z * (-2.75573143513906633035e-07 +
                            z * (2.08757232129817482790e-09 + z * -1.13596475577881948265e-11)))));
    const double half = 0.5 * z;
    const double near = 1.0 - half;
    const double cosine = near + (((1.0 - near) - half) + (z * c - x * tail));

    switch (turns & 3) {
        case 0:
            return {sine, cosine};
        case 1:
            return {cosine, -sine};
        case 2:
            return {-sine, -cosine};
        default:
            return {-cosine, sine};
    }
}

}  // namespace orvix::detail
