// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/planes/fitted_plane.h"
#include "orvix/planes/seed/cloud_source.h"

namespace orvix::detail {

/// The points near a plane: within `halfThickness` of it and within `radius` of `centre`.
struct Slab {
    FittedPlane plane;
    double halfThickness = 0;
    SimplePointT<double> centre;
    double radius = 0;

    [[nodiscard]] bool Meets(const ExtendsT<double>& box) const;
    [[nodiscard]] bool Contains(const SimplePointT<double>& p) const;
};

struct SlabPoints {
    std::vector<SimplePointT<float>> points;
    std::vector<std::uint64_t> records;  ///< of the points
    std::uint32_t thinning = 1;          ///< k: every k-th record of each cell was looked at
};

/// The failure that a search ends with when its caller asks it to stop.
tl::unexpected<Error> CancelledSearch();

using Proceed = std::function<bool()>;
using TakePoint = std::function<void(const SimplePointT<float>& point, std::uint64_t record)>;

/// Calls `take` for every point of the slab, in record order of each cell.
/// Errors  Cancelled when `proceed` (empty: never asked) answers false; those of the cloud.
Expected<void> VisitSlab(CloudSource& cloud, const Slab& slab, const Proceed& proceed,
                         const TakePoint& take);

/// The slab's points; when the cells that meet it hold more points than the limit admits, at 160
/// bytes each, every k-th record of each cell from its first, with the smallest k that fits.
Expected<SlabPoints> LoadSlab(CloudSource& cloud, const Slab& slab, std::uint64_t memoryLimitBytes,
                              const Proceed& proceed);

}  // namespace orvix::detail
