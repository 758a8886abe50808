// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include "cli/site/site_plan.h"

namespace orvix::cli {

/// A scan and how far its steps are.
struct SiteResult {
    const SiteScan* scan = nullptr;
    std::vector<SiteStep> steps;

    [[nodiscard]] const SiteStep* Failed() const;  ///< null where none has failed
    [[nodiscard]] bool HasToDo() const;
};

/// How the steps are run: so many scans at a time, each with so many threads.
struct SiteWork {
    unsigned jobs = 1;
    unsigned threads = 0;
    /// Called as each step ends, one call at a time, from any thread.
    std::function<void(const SiteScan&, const SiteStep&)> ended;
};

/// How far the steps are, without doing anything.
SiteResult LookAt(const SiteOptions& options, const SiteScan& scan);

/// Does what is left of each scan's steps, in processes of this command's own program: the largest scans
/// first. A step that fails ends its scan and no other one.
///
/// Order    results as `scans`.
/// Errors   Cancelled; those of making folders. A failed step is a result.
Expected<std::vector<SiteResult>> RunSite(const SiteOptions& options,
                                          const std::vector<SiteScan>& scans, const SiteWork& work);

}  // namespace orvix::cli
