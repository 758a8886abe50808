// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/row_window.h"

namespace orvix::platform {

/// Makes the system's own RowWindow: on Windows a dialog, elsewhere one of Qt's from the library
/// "orvix_qt", which is loaded here and stays loaded. Without that call nothing of a toolkit is in
/// the process. `name` stands for the window in the sentences that say why it cannot open ("the
/// thickness window needs ...").
///
/// Errors  Failure: the library is not installed, or fits another version of this one.
Expected<std::unique_ptr<RowWindow>> MakeRowWindow(const std::string& name);

}  // namespace orvix::platform
