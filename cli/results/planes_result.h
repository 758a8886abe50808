// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "cli/command_context.h"
#include "cli/options/search_options.h"
#include "detection/saved_planes.h"
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
    SearchArguments search;
    bool apply = false;
    bool save = false;
    bool saved = false;
    bool tasks = false;
};

/// What `orvix planes` did beside finding planes, where it was asked to.
struct PlanesExtras {
    std::optional<detection::PlaceReport> place;  ///< of the place to explain
    std::optional<detection::SaveReport> save;
};

/// What `orvix planes` prints.
Outcome OutcomeOf(const PlanesArguments& arguments, const reports::PlanesFinding& finding,
                  const PlanesExtras& extras);

}  // namespace orvix::cli
