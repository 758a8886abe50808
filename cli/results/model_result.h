// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "cli/command_context.h"
#include "cli/options/search_options.h"
#include "orvix/project/transform_file.h"
#include "output/plans/draw_plans.h"
#include "reports/building_report.h"

namespace orvix::cli {

/// What `orvix model` was asked for.
struct ModelArguments {
    std::string project;
    std::vector<std::string> files;
    SearchArguments search;
    bool searched = false;  ///< planes are searched, whatever the project keeps
    bool orthogonal = false;
    std::string picture;
    output::PlanOptions plans;
    bool save = false;
    bool saved = false;
};

/// What `orvix model` prints.
Outcome OutcomeOf(const ModelArguments& arguments, const reports::BuildingFinding& finding,
                  const detail::LocalToWorld& frame);

}  // namespace orvix::cli
