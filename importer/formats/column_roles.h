// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Which part of a point a column of a text file or a property of a PLY vertex holds.
enum class Role : std::uint8_t { X, Y, Z, Intensity, Red, Green, Blue, Class, None };
inline constexpr std::size_t kRoles = 8;  ///< without None

/// Which column has which role.
struct RoleColumns {
    std::array<std::optional<std::size_t>, kRoles> column;

    [[nodiscard]] bool Has(Role role) const {
        return column[static_cast<std::size_t>(role)].has_value();
    }
    [[nodiscard]] std::size_t Of(Role role) const {
        return *column[static_cast<std::size_t>(role)];
    }
    void Set(Role role, std::size_t index) { column[static_cast<std::size_t>(role)] = index; }
    [[nodiscard]] bool HasPosition() const { return Has(Role::X) && Has(Role::Y) && Has(Role::Z); }
    [[nodiscard]] bool HasColour() const { return Has(Role::Red); }

    /// The role of each column, up to the last that has one.
    [[nodiscard]] std::vector<Role> ByColumn() const;
};

/// Finds the roles of columns by their names.
///
/// Boundaries case, quotes and a unit in brackets ("X [m]") do not matter. Of several names for one
///            role the plainest wins ("z" before "height"), of equal ones the first column.
///            Colours count only when all three are there.
RoleColumns FindRoles(std::span<const std::string> names);

/// Enters into `info` which attributes a file with these columns has.
void DescribeRoles(const RoleColumns& columns, ScanInfo& info);

/// Stores any value read from a file in the member that its role names.
///
/// Boundaries coordinates are kept as they are, not-a-number included; an intensity that is none
///            becomes 0; a colour (after `colourScale`) is rounded and clamped to 0..65535; a
///            class outside 0..255 becomes 0, which means "never classified".
inline void StoreValue(Role role, double value, double colourScale, ScanPoint& point) {
    const auto colour = [&] {
        const double scaled = value * colourScale;
        if (!(scaled > 0)) return std::uint16_t{0};
        return static_cast<std::uint16_t>(std::min(scaled, 65535.0) + 0.5);
    };
    switch (role) {
        case Role::X:
            point.x = value;
            break;
        case Role::Y:
            point.y = value;
            break;
        case Role::Z:
            point.z = value;
            break;
        case Role::Intensity:
            point.intensity = std::isfinite(value)
                                  ? static_cast<float>(std::clamp<double>(value, -FLT_MAX, FLT_MAX))
                                  : 0.0F;
            break;
        case Role::Red:
            point.red = colour();
            break;
        case Role::Green:
            point.green = colour();
            break;
        case Role::Blue:
            point.blue = colour();
            break;
        // BEHAVIOUR X8
        case Role::Class:
            point.classification =
                value >= 0 && value < 256 ? static_cast<std::uint8_t>(value) : std::uint8_t{0};
            break;
        case Role::None:
            break;
    }
}

}  // namespace orvix::importer
