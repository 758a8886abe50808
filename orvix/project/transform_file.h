// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// Where a project's own frame lies in the world: a 4x4 affine matrix, row by row, whose last
/// row is 0, 0, 0, 1. Points are stored as floats near the project's origin; the matrix adds the
/// origin in double precision.
///
///     auto frame = ReadTransform(manager.transformFile);
///     SimplePointT<double> world = frame->ToWorld({point.x, point.y, point.z});
///
/// Units      metres on both sides.
/// Boundaries `ToLocal` needs a matrix that can be inverted; `ReadTransform` hands out no other.
///            For a pure translation both directions are one addition per coordinate, exact to the
///            last place.
/// Threads    a plain value.
struct LocalToWorld {
    std::array<double, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    static LocalToWorld Translation(const SimplePointT<double>& origin);

    /// The world position of the project frame's zero.
    [[nodiscard]] SimplePointT<double> Origin() const { return {m[3], m[7], m[11]}; }
    [[nodiscard]] SimplePointT<double> ToWorld(const SimplePointT<double>& local) const;
    [[nodiscard]] SimplePointT<double> ToLocal(const SimplePointT<double>& world) const;
    /// The bound of a bound's eight corners.
    [[nodiscard]] ExtendsT<double> ToWorld(const ExtendsT<double>& local) const;
};

/// Bytes of a transform file: the sixteen doubles, little-endian, no header.
inline constexpr std::uint64_t kTransformFileBytes = 128;

/// Reads a project's transform file.
///
/// Errors   a missing file is the identity. Damaged for a size other than 128 bytes, a number
///          that is not finite, a last row other than 0, 0, 0, 1, or a matrix that has no inverse.
Expected<LocalToWorld> ReadTransform(const CString& path);

/// Creates or replaces a transform file.
Expected<void> WriteTransform(const CString& path, const LocalToWorld& frame);

}  // namespace orvix::detail
