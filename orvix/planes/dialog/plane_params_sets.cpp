// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_sets.h"

#include "orvix/planes/dialog/plane_params_values.h"

namespace orvix::detail {
namespace {

std::int32_t ThirdOf(std::int32_t minPlane) {
    return SpeedOf(minPlane) == 2 ? minPlane : kFastMinPlane;
}

}  // namespace

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
