// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "importer/write/project_target.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// How far an import came, as far as it is known.
enum class ImportStage {
    Unknown,    ///< it was ended, or failed while it published
    Working,    ///< the target is as it was
    Published,  ///< the project has appeared
};

/// The report of an import in tasks, in its folder: written last, removed last.
inline constexpr const wchar_t* kReportName = L"finish.json";
/// What such an import was asked for: written first. Without it there is nothing to go on with.
inline constexpr const wchar_t* kJobName = L"job.json";

/// Settles what the import of a note's text left beside its target, whatever step it came to: one
/// whole project is there afterwards, or none, and nothing of the import beside it.
///
/// A new folder that took the target's name while the project file did not is exchanged for the
/// former one again. The target's folder itself is never removed: a marker in it, of whichever import,
/// is no reason to. The note goes last, so that a call that is ended on the way can be repeated.
///
/// Returns   the paths that could not be removed, the note among them; empty when all are gone.
/// Precondition the lock of the target is held.
std::vector<CString> ClearRemains(const TargetNames& names, const std::string& text,
                                  ImportStage stage);

/// Puts the target back to what it was where the import of a note's text was ended while it
/// published; the import's own folder and project file have their working names then.
///
/// Returns   false where that could not be done, or nothing can be told: nothing may be removed then.
/// Precondition the lock of the target is held.
bool MadeWhole(const TargetNames& names, const std::string& text);

/// "; A, B stay beside it until ..." for a message; empty for none.
std::string RemainsSentence(const std::vector<CString>& paths);

}  // namespace orvix::importer
