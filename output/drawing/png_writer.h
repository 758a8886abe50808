// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// Writes the picture as a PNG file, replacing what was there once the new one is whole.
///
/// Errors  NoSpace or Failure, with the path, when writing fails.
/// Source  stb_image_write (S. Barrett), public domain.
Expected<void> WritePng(const CString& path, const Canvas& canvas);

}  // namespace orvix::output
