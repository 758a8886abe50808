// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_sets.h"

#include <algorithm>
#include <cmath>

#include "orvix/planes/dialog/plane_params_values.h"

namespace orvix::detail {
namespace {

std::int32_t ThirdOf(std::int32_t minPlane) {
    return SpeedOf(minPlane) == 2 ? minPlane : kFastMinPlane;
}

/// How many times as far apart as all points the skeleton's are, on surfaces; 1 where the head file
/// does not say.
double SkeletonSpacing(const CLOUD_HEADER& head) {
    if (IsAbsent(head) || head.skeletonCount == 0 || head.pointCount < head.skeletonCount) return 1;
    return std::sqrt(static_cast<double>(head.pointCount) /
                     static_cast<double>(head.skeletonCount));
}

constexpr double kMaxDefaultSplitSize = 10.0;  // of the sliders, and of an import

}  // namespace

// BEHAVIOUR D7
double DefaultSplitSize(const PlaneWormSettings& settings, WhichSet which) {
    const bool alive = which == WhichSet::Alive;
    if (!settings.project || !(settings.project->projectSettings.baseStep > 0))
        return alive ? settings.defaultStepB : settings.defaultStepA;
    const double full = kBaseStepsPerSplitSize * settings.project->projectSettings.baseStep;
    if (alive) return full;
    const double wider =
        std::min(full * SkeletonSpacing(settings.project->cloudHeader), kMaxDefaultSplitSize);
    return SplitSizeOf(static_cast<std::int32_t>(std::max(wider * 100 + 0.5, 1.0)));
}

ParameterSets::ParameterSets(const PlaneWormSettings& s)
    : alive_{s.aliveSplitSize,
             {s.aliveDiffA, s.aliveDiffB, s.aliveDiffC},
             s.aliveMinPlane,
             ThirdOf(s.aliveMinPlane)},
      skelet_{s.skeletSplitSize,
              {s.skeletDiffA, s.skeletDiffB, s.skeletDiffC},
              s.skeletMinPlane,
              ThirdOf(s.skeletMinPlane)},
      usage_(s.usage) {}

void ParameterSets::Show(WhichSet which) {
    if (which != Which()) usage_ = which == WhichSet::Alive ? 0 : 1;
}

void ParameterSets::StoreInto(PlaneWormSettings& s) const {
    s.SetAliveSplitSize(alive_.splitSize);
    s.aliveDiffA = alive_.diffs[0];
    s.aliveDiffB = alive_.diffs[1];
    s.aliveDiffC = alive_.diffs[2];
    s.aliveMinPlane = alive_.minPlane;
    s.SetSkeletSplitSize(skelet_.splitSize);
    s.skeletDiffA = skelet_.diffs[0];
    s.skeletDiffB = skelet_.diffs[1];
    s.skeletDiffC = skelet_.diffs[2];
    s.skeletMinPlane = skelet_.minPlane;
    s.usage = usage_;
    s.SetUsage();
}

}  // namespace orvix::detail
