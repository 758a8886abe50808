// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

#include "orvix/points/records.h"

namespace orvix::importer {

/// A rotation as a unit quaternion w, x, y, z: the point p becomes q p q*.
struct Quaternion {
    double w = 1;
    double x = 0;
    double y = 0;
    double z = 0;
};

/// First `b`, then `a`.
Quaternion operator*(const Quaternion& a, const Quaternion& b);

/// The quaternion of length 1 in the same direction; empty for zero, an infinity or not-a-number.
std::optional<Quaternion> Normalised(const Quaternion& q);

/// An affine map in double precision, three rows of four.
struct AffineMap {
    std::array<double, 12> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

    [[nodiscard]] SimplePointT<double> Apply(double x, double y, double z) const {
        return {m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7],
                m[8] * x + m[9] * y + m[10] * z + m[11]};
    }
};

/// Where a scanner stood and how it was turned.
///
/// The rotation takes directions along the scanner's own axes to the frame of `position`.
struct ScanPose {
    SimplePointT<double> position{0, 0, 0};
    Quaternion rotation;
};

/// The map from the scanner's own coordinates into the frame of its pose; empty for the pose that
/// changes nothing, so that such coordinates keep their bits.
std::optional<AffineMap> MapOf(const ScanPose& pose);

/// The rotation of a matrix, without its scale and shear: its columns are made perpendicular one
/// after the other, x first. Empty where an axis vanishes or the matrix mirrors.
std::optional<Quaternion> RotationOf(const AffineMap& map);

/// A rotation as stored in station files: a unit axis and an angle in radians, 0 to pi.
///
/// Boundaries without a turn the axis is z; of the two axes of half a turn the one whose first
///            component that is not zero is positive.
struct AxisAngle {
    std::array<double, 3> axis{0, 0, 1};
    double angle = 0;
};
AxisAngle AxisAngleOf(const Quaternion& rotation);

}  // namespace orvix::importer
