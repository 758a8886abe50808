// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/sheets/plan_sheet.h"

#include <cmath>
#include <utility>

namespace orvix::output {

namespace {

constexpr double kBetween = 15;  // millimetres of paper, at least

}  // namespace

PlanSheet SheetOf(std::vector<PlanDrawing> plans) {
    PlanSheet sheet;
    for (const PlanDrawing& plan : plans) {
        double shift = 0;
        if (!sheet.shifts.empty())
            shift = std::ceil(sheet.bounds.high.x + plan.Paper(kBetween) - plan.bounds.low.x);
        sheet.shifts.push_back(shift);
        sheet.bounds.Add(plan.bounds.low + PlanPoint{shift, 0});
        sheet.bounds.Add(plan.bounds.high + PlanPoint{shift, 0});
    }
    sheet.plans = std::move(plans);
    return sheet;
}

}  // namespace orvix::output
