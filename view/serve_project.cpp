// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/serve_project.h"

#include <fmt/format.h>

#include <chrono>

#include "view/http/gate.h"
#include "view/http/server.h"
#include "view/viewer.h"

namespace orvix::view {

namespace {

// A page that is loaded again is away for a moment; a browser that starts anew for longer.
constexpr auto kMostAway = std::chrono::seconds(15);

}  // namespace

Expected<ServeEnd> ServeProject(const CString& project, const ServeOptions& options) {
    auto viewer = Viewer::Open(
        project, options.pageFolder.empty() ? PageFiles::InstalledFolder() : options.pageFolder);
    if (!viewer) return ErrorOf(viewer);
    auto server = Server::Open(options.port);
    if (!server) return ErrorOf(server);
    const auto token = Gate::NewToken();
    if (!token) return ErrorOf(token);
    const std::uint16_t port = (*server)->Port();
    const Gate gate(*token, port);
    options.started(fmt::format("http://127.0.0.1:{}/{}/", port, *token));
    ServeEnd end = ServeEnd::Asked;
    Presence& pages = (*viewer)->Pages();
    (*server)->Run([&](const Request& request) { return (*viewer)->AnswerTo(gate, request); },
                   [&] {
                       const auto now = Presence::Clock::now();
                       pages.Look(now);
                       // BEHAVIOUR L4
                       const bool left = !options.stay && pages.LeftFor(kMostAway, now);
                       if (left) end = ServeEnd::PagesClosed;
                       return !left && options.proceed();
                   });
    (*viewer)->EndSearches();
    return end;
}

}  // namespace orvix::view
