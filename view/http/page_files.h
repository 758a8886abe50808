// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "view/http/answer.h"

namespace orvix::view {

/// The files of the page: what a folder held when it was opened, and nothing else.
///
/// A request names a file by the path that the folder had for it. Names are looked up, not joined, so
/// that no name leads anywhere else.
///
/// Errors  of Open: BadInput for a folder without index.html. A file that is gone since is 404.
/// Cost    a file is read at each request: the page's few, once a visit.
class PageFiles {
public:
    static Expected<PageFiles> Open(const CString& folder);
    /// The folder of the page that came with this program.
    static CString InstalledFolder();

    /// "" is index.html.
    [[nodiscard]] Answer AnswerTo(const std::string& path) const;

private:
    void Add(const CString& folder, const std::string& before, int depth);

    std::map<std::string, CString> paths_;
};

}  // namespace orvix::view
