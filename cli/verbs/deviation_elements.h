// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "reports/deviation/elements.h"
#include "reports/world_project.h"

namespace orvix::cli {

/// What `orvix deviation` holds the points against, as typed: "planes", "model", FILE.obj or FILE.ifc.
struct ElementsRequest {
    std::string from;
    unsigned threads = 0;
    std::function<void(const std::string& phase, double part)> progress;
};

/// Empty for one that ElementsFrom takes, else a sentence.
std::string CheckElementsSource(const std::string& text);

/// The elements, world coordinates: the planes that the project keeps, or a search finds where it keeps
/// none; the building found in it; the objects of a file.
///
/// IFC is read by the program orvix-ifc beside this one, on systems that have it.
///
/// Errors  those of reading and of the searches; BadInput where there is no element.
Expected<std::vector<reports::DrawnElement>> ElementsFrom(const ElementsRequest& request,
                                                          const reports::WorldProject& project);

}  // namespace orvix::cli
