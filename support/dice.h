// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::test {

/// Random numbers that are the same on every system: the standard distributions differ between
/// libraries.
///
///     std::uint64_t state = seed;
///     Dice dice(state);
///     const double length = 2 + 3 * dice.Share();
///
/// Lifetime borrows the state, which goes on with the next dice on it.
class Dice {
public:
    explicit Dice(std::uint64_t& state) : state_(state) {}
    /// From 0 to 1, 1 left out.
    double Share() {
        state_ += 0x9E3779B97F4A7C15ULL;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-53;
    }
    /// Of mean 0 and standard deviation 1: the sum of twelve shares, bell-shaped and bounded by six
    /// deviations.
    double Normal() {
        double sum = -6;
        for (int i = 0; i < 12; ++i) sum += Share();
        return sum;
    }

private:
    std::uint64_t& state_;
};

}  // namespace orvix::test
