// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::output {

struct Colour {
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
};

/// The colour of a plane by its number, from 1, in pictures and in point files alike: one of a row in
/// which neighbours differ most.
Colour PlaneColour(std::uint32_t number);

}  // namespace orvix::output
