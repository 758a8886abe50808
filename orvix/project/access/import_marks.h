// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// Where an import leaves word of itself while it is under way.
///
/// The note stands beside the target, from before anything else is made until all else is gone: what
/// has a working name beside it is the import's own. The marker lies in the new folder until the
/// project has appeared. Both hold the same text; a marker with another text stems from another
/// import and says nothing about this one.
struct ImportMarks {
    explicit ImportMarks(const CString& project);

    CString note;            ///< scan.importing.note
    CString workingProject;  ///< scan.importing.prj
    CString workingFiles;    ///< scan.importing_Project_Files
    CString aside;           ///< scan.importing_Replaced_Files
    CString tasks;           ///< scan.importing_Tasks: what a continued import need not do again
    CString lock;            ///< scan.importing.lock

    /// The folder in `tasks` of the import with this text: what another left is never taken for its own.
    [[nodiscard]] CString TasksOf(const std::string& text) const;

    /// The marker's path in a project-files folder.
    static CString MarkerIn(const CString& folder);
};

/// The text of a new import's note and marker: what made it, when, and a number of its own.
std::string NewImportText();

/// The text of a note or marker; empty where there is none that an import wrote as a whole.
std::string ReadImportText(const CString& path);

/// Whether the marker in a folder is that of the import with this text. A marker that cannot be read
/// proves nothing, and nobody acts on it.
enum class MarkerState { None, Own, Other, Unreadable };
MarkerState MarkerStateOf(const CString& folder, const std::string& text);

/// Whether a file is the start of such a text, as an import that was ended at once left it.
bool IsUnfinishedImportText(const CString& path);

/// Whether the project's folder is the new one while the project file is still the former one: an
/// import was ended between its last two steps. The next import of the project brings the former
/// folder back.
// BEHAVIOUR I22
bool IsHalfReplaced(const CString& project);

/// The sentence for a project that is half replaced. Errors: Damaged; none otherwise.
Expected<void> RequireNotHalfReplaced(const CString& project);

}  // namespace orvix::detail
