// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/point_assignment.h"

#include <algorithm>
#include <optional>

namespace orvix::detection {

// A place in a cell without points goes by the cells around it.
std::int32_t PointAssignment::At(const Vector& place, bool within) const {
    const CellMap& map = regions_.grown.map;
    const std::optional<CellPlace> home = map.Frame().PlaceOf(place);
    if (!home) return kNoRegion;
    std::uint32_t own = 0;
    if (const std::size_t tile = map.Find(*home, own); tile != map.Tiles())
        return NearestFace(place, regions_.choices.At(tile, own), within);
    std::vector<std::int32_t> choice;
    for (std::int32_t x = -1; x <= 1; ++x) {
        for (std::int32_t y = -1; y <= 1; ++y) {
            for (std::int32_t z = -1; z <= 1; ++z) {
                std::uint32_t cell = 0;
                const std::size_t tile =
                    map.Find({(*home)[0] + x, (*home)[1] + y, (*home)[2] + z}, cell);
                if (tile != map.Tiles() && map.RegionOf(tile, cell) != kNoRegion)
                    choice.push_back(map.RegionOf(tile, cell));
            }
        }
    }
    std::sort(choice.begin(), choice.end());
    return NearestFace(place, choice, within);
}

}  // namespace orvix::detection
