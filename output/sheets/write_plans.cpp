// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/sheets/write_plans.h"

#include "output/drawing/png_writer.h"
#include "output/file_ending.h"
#include "output/sheets/plan_formats.h"
#include "output/text_file.h"

namespace orvix::output {

bool IsPlansName(const CString& path) {
    return HasEnding(path, L".svg") || HasEnding(path, L".dxf") || HasEnding(path, L".png");
}

Expected<void> WritePlans(const CString& path, const building::Building& building,
                          const detail::LocalToWorld& frame, const PlanOptions& options) {
    if (!IsPlansName(path))
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(path) + " must end in .svg, .dxf or .png to hold plans");
    const PlanSheet sheet = SheetOf(DrawPlans(building, options));
    if (HasEnding(path, L".png")) return WritePng(path, PaintPlans(sheet));
    TextFile file(path);
    if (HasEnding(path, L".svg"))
        PrintPlanSvg(file, sheet);
    else
        PrintPlanDxf(file, sheet, frame);
    return file.Commit();
}

}  // namespace orvix::output
