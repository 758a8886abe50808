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

/// What the points are held against. Of "model" the project may keep one, and one may be found now.
struct ElementsGiven {
    enum class Model { None, Saved, Found };

    std::vector<reports::DrawnElement> elements;
    Model model = Model::None;
    std::string notTaken;  ///< why a model that the project keeps was passed over
};

/// Empty for one that ElementsFrom takes, else a sentence.
std::string CheckElementsSource(const std::string& text);

/// The elements, world coordinates: the planes that the project keeps, or a search finds where it keeps
/// none; the building that it keeps, or a search finds where what it keeps is not of these points or of
/// a later version; the objects of a file.
///
/// IFC is read by the program orvix-ifc beside this one, on systems that have it.
///
/// Errors  those of reading and of the searches; BadInput where there is no element.
Expected<ElementsGiven> ElementsFrom(const ElementsRequest& request,
                                     const reports::WorldProject& project);

}  // namespace orvix::cli
