// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::cli {

/// What is done with each scan of a folder, one after the other.
inline constexpr const char* kSiteSteps[] = {"import", "check", "planes"};

/// What `orvix site` was asked for.
struct SiteOptions {
    CString folder;                   ///< of the scans; absolute
    CString to;                       ///< of the projects; absolute
    std::vector<std::string> steps;   ///< some of kSiteSteps, in that order
    std::vector<std::string> import;  ///< words for `import`
    std::vector<std::string> planes;  ///< words for `planes`
    std::vector<std::string> scans;   ///< these alone; none: all
};

/// A scan file and the project that it becomes.
struct SiteScan {
    std::string name;  ///< its path in the folder, with "/" between parts
    CString path;
    CString project;
    std::uint64_t bytes = 0;
};

/// Finds the scans of a folder and of those in it, by the ending of their names.
///
/// Order      by name.
/// Boundaries a project's files, results of tasks, the folder of stamps and links are passed over.
/// Errors     BadInput for a folder that is none, without scans, or without one that is asked for.
Expected<std::vector<SiteScan>> FindScans(const SiteOptions& options);

/// How far one step of one scan is.
struct SiteStep {
    enum class State { Done, ToDo, Ran, Failed, Left };
    std::string step;
    State state = State::ToDo;
    double seconds = 0;
    std::string message;  ///< of a failure
};

const char* WordOf(SiteStep::State state);

/// The stamps of a scan: which of its steps are done, and what they gave.
///
///     SiteStamps stamps(options, scan);
///     if (!stamps.IsDone("check")) ...; stamps.Stamp("check", result);
///
/// Boundaries a stamp holds as long as the scan has the same size and the same first and last
///            megabyte, the project is there, and the step is asked for with the same words.
class SiteStamps {
public:
    SiteStamps(const SiteOptions& options, const SiteScan& scan);

    [[nodiscard]] bool IsDone(const std::string& step) const;
    /// Why the step failed the last time; empty where it did not.
    [[nodiscard]] std::string FailureOf(const std::string& step) const;
    /// Whether a project that is there was made, or begun, by a site: then it may be replaced.
    [[nodiscard]] bool HasBegun() const;
    /// Notes that the step runs: its stamp and those of later steps go.
    [[nodiscard]] Expected<void> Begin(const std::string& step) const;
    [[nodiscard]] Expected<void> Finish(const std::string& step, const Json& result) const;
    [[nodiscard]] Expected<void> Fail(const std::string& step, int code,
                                      const std::string& message) const;
    /// A file of the scan and the step, beside its stamp.
    [[nodiscard]] CString PathOf(const std::string& step, const std::string& ending) const;

private:
    [[nodiscard]] Expected<void> Write(const std::string& step, const std::string& ending,
                                       Json content) const;

    const SiteOptions& options_;
    const SiteScan& scan_;
    CString folder_;
    std::string key_;  // of the scan
};

/// The folder of the stamps.
CString StampFolderOf(const SiteOptions& options);
/// The words of the command for a step, without the program: "check", "scan.las.prj".
std::vector<std::string> WordsOf(const SiteOptions& options, const SiteScan& scan,
                                 const std::string& step);

}  // namespace orvix::cli
