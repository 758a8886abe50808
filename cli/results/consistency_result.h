// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/command_context.h"
#include "reports/registration/consistency.h"

namespace orvix::cli {

/// What `orvix stations --consistency` prints beside the stations.
Json JsonOf(const reports::ConsistencyReport& report);
std::string TextOf(const reports::ConsistencyReport& report);

}  // namespace orvix::cli
