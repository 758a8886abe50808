// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/transform_file.h"
#include "output/drawing/canvas.h"
#include "output/sheets/plan_sheet.h"
#include "output/text_file.h"

namespace orvix::output {

/// Print a sheet in one format each; WritePlans chooses among them.
void PrintPlanSvg(TextFile& file, const PlanSheet& sheet);
/// In world coordinates.
void PrintPlanDxf(TextFile& file, const PlanSheet& sheet, const detail::LocalToWorld& frame);
/// 200 dots an inch, fewer where that were more than so many.
Canvas PaintPlans(const PlanSheet& sheet, double mostDots = 12e6);

/// Paints a drawing so that `bounds` of it fill `area`, at one scale, its middle in the middle.
void PaintPlan(Canvas& canvas, const PlanDrawing& plan, const PlanBounds& bounds,
               const PixelRect& area);

}  // namespace orvix::output
