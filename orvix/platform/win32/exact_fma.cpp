// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/exact_fma.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <xmmintrin.h>

namespace orvix::platform::detail {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr int kMantissaBits = 53;
constexpr int kSmallestExponent = -1074;  // of the last bit of a subnormal number
constexpr int kLargestExponent = 971;     // of the last bit of the largest number

/// A finite number other than zero: mantissa * 2^exponent, the mantissa in [2^52, 2^53).
struct Parts {
    explicit Parts(double value) {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        negative = bits >> 63 != 0;
        const int field = static_cast<int>(bits >> 52 & 0x7FF);
        mantissa = bits & ((std::uint64_t{1} << 52) - 1);
        if (field != 0) {
            mantissa |= std::uint64_t{1} << 52;
            exponent = field + kSmallestExponent - 1;
        } else {
            const int shift = std::countl_zero(mantissa) - (64 - kMantissaBits);
            mantissa <<= shift;
            exponent = kSmallestExponent - shift;
        }
    }
    bool negative;
    std::uint64_t mantissa;
    int exponent;
};

/// magnitude * 2^exponent with a sign.
struct Number {
    bool negative;
    Wide magnitude;
    int exponent;
};

int WidthOf(Wide value) {
    const auto high = static_cast<std::uint64_t>(value >> 64);
    return high != 0 ? 64 + static_cast<int>(std::bit_width(high))
                     : static_cast<int>(std::bit_width(static_cast<std::uint64_t>(value)));
}

/// Shifts right; bits that fall out leave a mark in the last one.
Wide ShiftRight(Wide value, int shift) {
    if (shift >= 128) return value != 0 ? 1 : 0;
    const Wide lost = value & ((Wide{1} << shift) - 1);
    return value >> shift | (lost != 0 ? 1 : 0);
}

/// Both magnitudes are in [2^104, 2^106) and `larger` has the higher exponent: 20 more bits hold
/// the smaller one whole, or far enough below that a mark for what is lost rounds alike.
Number Add(const Number& larger, const Number& smaller) {
    constexpr int kRoom = 20;
    Number sum{larger.negative, larger.magnitude << kRoom, larger.exponent - kRoom};
    const int shift = smaller.exponent - sum.exponent;
    const Wide other =
        shift >= 0 ? smaller.magnitude << shift : ShiftRight(smaller.magnitude, -shift);
    if (larger.negative == smaller.negative) {
        sum.magnitude += other;
    } else if (sum.magnitude >= other) {
        sum.magnitude -= other;
    } else {
        sum.magnitude = other - sum.magnitude;
        sum.negative = !sum.negative;
    }
    return sum;
}

enum class Rounding { Nearest, Down, Up, Zero };

Rounding CurrentRounding() {
    return static_cast<Rounding>(_mm_getcsr() >> 13 & 3);
}

bool RoundsAway(const Number& exact, std::uint64_t kept, Wide lost, Wide half) {
    switch (CurrentRounding()) {
        case Rounding::Down:
            return exact.negative && lost != 0;
        case Rounding::Up:
            return !exact.negative && lost != 0;
        case Rounding::Zero:
            return false;
        case Rounding::Nearest:
            break;
    }
    return lost > half || (lost == half && (kept & 1) != 0);
}

double Round(const Number& exact) {
    if (exact.magnitude == 0) return CurrentRounding() == Rounding::Down ? -0.0 : 0.0;
    int exponent = exact.exponent + WidthOf(exact.magnitude) - kMantissaBits;
    if (exponent < kSmallestExponent) exponent = kSmallestExponent;
    if (exponent > kLargestExponent) {
        const volatile double largest = std::numeric_limits<double>::max();
        return (exact.negative ? -largest : largest) * largest;
    }
    const int shift = exponent - exact.exponent;
    std::uint64_t kept;
    if (shift <= 0) {
        kept = static_cast<std::uint64_t>(exact.magnitude << -shift);
    } else {
        // What lies far below the smallest number is like anything below its half.
        const Wide magnitude = shift < 127 ? exact.magnitude : 1;
        const int cut = shift < 127 ? shift : 126;
        kept = static_cast<std::uint64_t>(magnitude >> cut);
        const Wide lost = magnitude & ((Wide{1} << cut) - 1);
        if (RoundsAway(exact, kept, lost, Wide{1} << (cut - 1))) ++kept;
    }
    // A mantissa with its leading bit carries one into the exponent's field.
    const std::uint64_t field = static_cast<std::uint64_t>(exponent - kSmallestExponent);
    const double magnitude = std::bit_cast<double>((field << 52) + kept);
    return exact.negative ? -magnitude : magnitude;
}

}  // namespace

double ExactFma(double x, double y, double z) {
    if (!std::isfinite(x) || !std::isfinite(y)) return x * y + z;
    if (!std::isfinite(z)) return z;
    if (x == 0 || y == 0) return x * y + z;
    if (z == 0) return x * y;
    const Parts a(x);
    const Parts b(y);
    const Parts c(z);
    const Number product{a.negative != b.negative, Wide{a.mantissa} * b.mantissa,
                         a.exponent + b.exponent};
    const Number addend{c.negative, Wide{c.mantissa} << 52, c.exponent - 52};
    return Round(product.exponent >= addend.exponent ? Add(product, addend) : Add(addend, product));
}

}  // namespace orvix::platform::detail
