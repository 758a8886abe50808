// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/command_context.h"
#include "cli/results/deviation_elements.h"
#include "reports/deviation/deviation.h"

namespace orvix::cli {

/// What `orvix deviation` was asked for; an empty name asks for no file.
struct DeviationArguments {
    std::string project;
    std::string from;
    std::string picture;
    std::string memoryLimit = "256MiB";
    reports::DeviationOptions options;
};

/// What `orvix deviation` prints.
Outcome OutcomeOf(const DeviationArguments& arguments, const ElementsGiven& given,
                  const reports::DeviationReport& report);

}  // namespace orvix::cli
