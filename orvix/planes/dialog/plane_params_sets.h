// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "orvix/planes/plane_worm_settings.h"

namespace orvix::detail {

/// One parameter set of the plane search, and what the third speed stands for in it.
struct ParameterSet {
    double splitSize = 0;
    std::array<double, 3> diffs{};  ///< DiffA, DiffB, DiffC
    std::int32_t minPlane = 0;
    std::int32_t thirdMinPlane = 0;
};

enum class WhichSet { Alive, Skeleton };

/// The split size that suits the cloud. Settings of a project have four of its base steps for the
/// alive set, as an import has it, and for the skeleton set that times the spacing of its points in
/// spacings of all points, to the centimetre. Others have the default steps of their grid.
double DefaultSplitSize(const PlaneWormSettings& settings, WhichSet which);

/// Working copies of both parameter sets, one of them shown.
///
///     ParameterSets sets(settings);
///     sets.Show(WhichSet::Skeleton);
///     sets.Shown().splitSize = 0.3;
///     sets.StoreInto(settings);  // both sets, and the one shown becomes current
///
/// Boundaries a usage other than 0 and 1 stands for the skeleton set too, and stays as long as that
///            set is not left.
class ParameterSets {
public:
    ParameterSets() = default;
    explicit ParameterSets(const PlaneWormSettings& settings);

    [[nodiscard]] WhichSet Which() const {
        return usage_ == 0 ? WhichSet::Alive : WhichSet::Skeleton;
    }
    ParameterSet& Shown() { return usage_ == 0 ? alive_ : skelet_; }
    void Show(WhichSet which);
    void StoreInto(PlaneWormSettings& settings) const;

private:
    ParameterSet alive_;
    ParameterSet skelet_;
    std::int32_t usage_ = 0;
};

}  // namespace orvix::detail
