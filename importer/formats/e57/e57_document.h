// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importer/formats/e57/xml_tree.h"
#include "importer/scans/scan_pose.h"

namespace orvix::importer {

/// A field of a scan's records. Each is a stream of its own in the file.
struct E57Field {
    enum class Kind : std::uint8_t { Integer, ScaledInteger, Single, Double, String };

    std::string name;
    Kind kind = Kind::Double;
    std::int64_t minimum = 0;  ///< of integers: what a stored 0 means
    std::int64_t maximum = 0;
    double scale = 1;  ///< of scaled integers
    double offset = 0;
    unsigned bits = 64;  ///< per record, 0 to 64; of a string the minimum

    [[nodiscard]] bool IsWhole() const {
        return kind == Kind::Integer || kind == Kind::ScaledInteger;
    }
    /// The value that a stored number of an integer field stands for.
    [[nodiscard]] double ValueOf(std::uint64_t stored) const {
        const auto whole = static_cast<double>(
            static_cast<std::int64_t>(static_cast<std::uint64_t>(minimum) + stored));
        return kind == Kind::Integer ? whole : whole * scale + offset;
    }
};

/// The range of values that a scan's attribute can take.
struct E57Limits {
    double low = 0;
    double high = 0;
};

/// One scan, as the file's XML describes it.
struct E57Scan {
    std::string name;
    std::string guid;
    ScanPose pose;  ///< the identity where the file holds none
    std::optional<E57Limits> intensity;
    std::array<std::optional<E57Limits>, 3> colour;  ///< red, green, blue
    std::uint64_t sectionPhysical = 0;               ///< where its points are
    std::uint64_t records = 0;
    std::vector<E57Field> fields;

    [[nodiscard]] std::optional<std::size_t> Find(std::string_view field) const;
};

/// Reads the scans out of an E57 file's XML.
///
/// What is not needed for points (pictures, groups, bounds, sensors, extensions under prefixes of
/// their own) is passed over. Limits come from the scan's limits element, else from the range of
/// an integer field; ones that span nothing are none.
///
/// Units    radians, metres.
/// Errors   BadInput with the scan's number and the element: XML that is none (see ParseXml), a
///          root that is not e57Root, a field of unknown type or with an impossible range, a pose
///          that does not turn, points packed by an unknown codec.
Expected<std::vector<E57Scan>> ReadE57Scans(std::string_view xml);

}  // namespace orvix::importer
