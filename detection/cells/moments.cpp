// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/moments.h"

namespace orvix::detection {

SymmetricMatrix MomentSum::Covariance() const {
    const double share = 1 / count;
    const Vector mean = sum * share;
    return {squares.xx * share - mean.x * mean.x, squares.xy * share - mean.x * mean.y,
            squares.xz * share - mean.x * mean.z, squares.yy * share - mean.y * mean.y,
            squares.yz * share - mean.y * mean.z, squares.zz * share - mean.z * mean.z};
}

MomentSum MomentSum::About(const Vector& o) const {
    MomentSum moved = *this;
    moved.sum = sum - o * count;
    moved.squares.xx += o.x * o.x * count - 2 * o.x * sum.x;
    moved.squares.xy += o.x * o.y * count - o.x * sum.y - o.y * sum.x;
    moved.squares.xz += o.x * o.z * count - o.x * sum.z - o.z * sum.x;
    moved.squares.yy += o.y * o.y * count - 2 * o.y * sum.y;
    moved.squares.yz += o.y * o.z * count - o.y * sum.z - o.z * sum.y;
    moved.squares.zz += o.z * o.z * count - 2 * o.z * sum.z;
    return moved;
}

}  // namespace orvix::detection
