// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// What the picture of a registration shows. Positions are in metres along the world's axes, relative
/// to a place near the cloud.
struct ConsistencyPicture {
    struct Station {
        std::string label;
        detail::Vector position;
        /// Metres that would bring it onto the others; none where what it saw does not decide them.
        std::optional<detail::Vector> shift;
        bool moved = false;
    };
    std::vector<detail::Vector> cloud;
    double spacing = 0.1;  ///< metres between the cloud's points, about
    std::vector<Station> stations;
    std::string title;
    std::string subtitle;
};

/// Draws the cloud in plan, in grey, and at each station an arrow that shows its correction in plan, many
/// times as long as it is, beside it the height. Colours go from green to red at 5 mm.
///
/// Order  the same input gives the same picture, bit by bit.
Canvas DrawConsistency(const ConsistencyPicture& picture);

}  // namespace orvix::output
