// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <windows.h>

#include <vector>

#include "orvix/platform/row_window.h"

namespace orvix::platform::detail {

/// The control numbers of a RowWindow's dialog.
inline constexpr int kChoiceControl = 1001;
inline constexpr int kGroupNoteControl = 1002;
inline constexpr int kPictureControl = 1003;
inline constexpr int kTextControl = 1004;  ///< texts that stay as they are
inline constexpr int kGroupControl = 1005;
inline constexpr int kChoiceNoteControl = 1006;
/// One of each per row, the row's index added.
inline constexpr int kCaptionControls = 1100;
inline constexpr int kDownControls = 1200;
inline constexpr int kSliderControls = 1300;
inline constexpr int kUpControls = 1400;
inline constexpr int kValueControls = 1500;
/// The plain buttons, their index among all added; the others are IDOK and IDCANCEL.
inline constexpr int kButtonControls = 1600;
inline constexpr int kMaxOfEach = 100;

int ButtonControl(const RowWindowContent& content, std::size_t index);

/// A RowWindow's dialog as the system takes it (DLGTEMPLATEEX), with all its texts; entries of the
/// choice and ranges of sliders are set when it is open.
///
///     const std::vector<WORD> dialog = RowWindowTemplate(content);
///     DialogBoxIndirectParamW(module, reinterpret_cast<LPCDLGTEMPLATEW>(dialog.data()), ...);
///
/// Order      a caption stands right before the control that its key leads to. The buttons beside
///            a slider are drawn by the dialog and no Tab stops: the slider's arrow keys do the
///            same.
/// Boundaries columns grow with the number of characters in their longest text. At most
///            kMaxOfEach rows and buttons.
std::vector<WORD> RowWindowTemplate(const RowWindowContent& content);

}  // namespace orvix::platform::detail
