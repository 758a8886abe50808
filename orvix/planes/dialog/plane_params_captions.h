// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/row_window.h"

namespace orvix::detail {

/// The plane parameters window in the current language: rows as PlaneRow, buttons as PlaneButton
/// names them, keys marked. `stepClass` picks the line that says how far the project's skeleton is
/// thinned.
platform::RowWindowContent PlaneParamsContent(std::int32_t stepClass);

/// How far the thinned cloud is thinned.
CString ThinnedText(std::int32_t stepClass);
CString MetresText(int position);       ///< "3 m"
CString DecimetresText(int position);   ///< "3 dcm"
CString CentimetresText(int position);  ///< "3 cm"
/// "10 (8.6°)": the position, and the turn that no normal fails at.
CString AngleText(int position, double degrees);
CString SpeedText(int position);
CString StepText(double splitSize);  ///< "Step: 0.14 m"

}  // namespace orvix::detail
