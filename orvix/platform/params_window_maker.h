// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/error.h"
#include "orvix/platform/params_window.h"

namespace orvix::platform {

/// The system's own window for the plane parameters: on Windows a dialog from the resource of the
/// module that this code is part of, elsewhere one of Qt's from the library "orvix_qt", which is
/// loaded here and stays loaded. Without that call nothing of a toolkit is in the process.
///
/// Errors  Failure: the library is not installed, or fits another version of this one.
Expected<std::unique_ptr<ParamsWindow>> MakeParamsWindow();

}  // namespace orvix::platform
