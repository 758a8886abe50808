// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::view {

struct ServeOptions {
    std::uint16_t port = 0;  ///< 0: any free one
    CString pageFolder;      ///< of index.html; empty: that of the page that came with this program
    bool stay = false;       ///< serve on when the last page has been closed for 15 s
    std::function<void(const std::string& address)> started;  ///< once pages can come
    std::function<bool()> proceed;  ///< asked ten times a second; false ends it
};

enum class ServeEnd { Asked, PagesClosed };

/// Serves a project to pages on this machine, until asked to end or until they have been closed.
///
/// Errors  those of Viewer::Open and of Server::Open.
Expected<ServeEnd> ServeProject(const CString& project, const ServeOptions& options);

}  // namespace orvix::view
