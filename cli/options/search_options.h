// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/verbs.h"
#include "detection/plane_search.h"

namespace orvix::cli {

/// What a search for planes is asked for, as typed.
struct SearchArguments {
    std::string memoryLimit = "1GiB";
    std::string detail = "normal";
    detection::PlaneSearchOptions options;

    /// The options that they stand for; `proceed` is set.
    [[nodiscard]] detection::PlaneSearchOptions Options() const;
};

/// The options that say what is looked for, and --memory-limit.
void AddSearchOptions(CLI::App& verb, SearchArguments& arguments);
/// The names of those that say what is looked for.
inline constexpr const char* kSearchOptions[] = {
    "--detail", "--cell", "--distance", "--angle", "--min-area", "--min-points", "--bridge"};

}  // namespace orvix::cli
