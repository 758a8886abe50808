// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/geometry/pair.h"
#include "orvix/geometry/vector.h"
#include "orvix/points/records.h"

/// The rule by which points grow a plane's extents, and a fast way to follow it.
///
/// Order    as the points come: a coordinate that lowers the minimum never raises the maximum.
/// Threads  plain values.
namespace orvix::detail {

inline void Grow(double coordinate, double& min, double& max) {
    if (min > coordinate) {
        min = coordinate;
    } else if (coordinate > max) {  // BEHAVIOUR F3
        max = coordinate;
    }
}

inline void Grow(const Vector& p, ExtendsT<double>& extents) {
    Grow(p.x, extents.min.x, extents.max.x);
    Grow(p.y, extents.min.y, extents.max.y);
    Grow(p.z, extents.min.z, extents.max.z);
}

/// Whether each maximum has been raised. From then on the rule is that of a plain bounding box: the
/// minimum is at most the maximum, so that what lowers the one could not raise the other.
inline bool IsBox(const ExtendsT<double>& extents) {
    return extents.min.x <= extents.max.x && extents.min.y <= extents.max.y &&
           extents.min.z <= extents.max.z;
}

/// Extents that are a box, grown two coordinates at a time: half of the rule's time. A coordinate that
/// is not a number changes nothing.
class GrowingBox {
public:
    explicit GrowingBox(const ExtendsT<double>& extents)
        : minXY_{extents.min.x, extents.min.y},
          maxXY_{extents.max.x, extents.max.y},
          minZ_(extents.min.z),
          maxZ_(extents.max.z) {}

    void Add(const Vector& p) {
        const Pair xy{p.x, p.y};
        minXY_ = xy < minXY_ ? xy : minXY_;
        maxXY_ = xy > maxXY_ ? xy : maxXY_;
        minZ_ = p.z < minZ_ ? p.z : minZ_;
        maxZ_ = p.z > maxZ_ ? p.z : maxZ_;
    }
    [[nodiscard]] ExtendsT<double> Extents() const {
        return {{minXY_[0], minXY_[1], minZ_}, {maxXY_[0], maxXY_[1], maxZ_}};
    }

private:
    Pair minXY_;
    Pair maxXY_;
    double minZ_;
    double maxZ_;
};

}  // namespace orvix::detail
