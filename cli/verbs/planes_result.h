// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "cli/command_context.h"
#include "reports/planes_report.h"

namespace orvix::cli {

/// What `orvix planes` was asked for; an empty name asks for no file.
struct PlanesArguments {
    std::string project;
    std::string points;
    std::string mesh;
    std::string outlines;
    std::string picture;
    std::string explain;
    std::string memoryLimit = "1GiB";
    bool apply = false;
    detection::PlaneSearchOptions options;
};

/// What `orvix planes` prints; `place` is of the place to explain, where one was given.
Outcome OutcomeOf(const PlanesArguments& arguments, const reports::PlanesFinding& finding,
                  const std::optional<detection::PlaceReport>& place);

}  // namespace orvix::cli
