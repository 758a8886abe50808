// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "building/building.h"

namespace orvix::building {

/// A room's faces over one list of corners, as formats of solids want them.
struct RoomShell {
    /// A face's outer ring and then its holes: places in `corners`, counter-clockwise seen from
    /// outside the room.
    struct Face {
        std::vector<std::vector<std::uint32_t>> rings;
        std::size_t source = 0;  ///< its place in Room::faces
    };
    std::vector<SimplePointT<double>> corners;
    std::vector<Face> faces;
};

/// The faces of a room, put together: corners nearer to each other than a micrometre are one, and a
/// corner of one face that lies on a side of another is a corner of both. So faces that close a
/// solid do so corner by corner, also where one wall meets two.
///
/// Boundaries rings of fewer than three different corners are left out, and a face without an outer
///            ring.
/// Cost       the square of the room's corners.
RoomShell ShellOf(const Room& room);

}  // namespace orvix::building
