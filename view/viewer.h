// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/text.h"
#include "view/http/answer.h"
#include "view/http/gate.h"
#include "view/http/page_files.h"
#include "view/http/presence.h"

namespace orvix::view {

/// Answers what a page asks about one project. docs/VIEW.md has all of it.
///
///     auto viewer = Viewer::Open(path, folder);
///     Answer answer = (*viewer)->AnswerTo(gate, request);
///
/// Errors   of Open: those of WorldProject::Open and of PageFiles::Open. Of requests: answers.
/// Lifetime answers may be sent after it, but for lines: those end with it, or with EndSearches.
/// Threads  AnswerTo is called from any number of them at once. Searches have a thread of their own.
/// Cost     what is being sent, some 256 KiB an answer, and what the settings and names of a project
///          take. A search takes what FindPlane and FindPlanes take, and the latest list of planes stays.
class Viewer {
public:
    static Expected<std::unique_ptr<Viewer>> Open(const CString& project,
                                                  const CString& pageFolder);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    Answer AnswerTo(const Gate& gate, const Request& request);
    [[nodiscard]] Presence& Pages();
    /// Ends all searches. To be called before what sends their lines goes.
    void EndSearches();

private:
    struct State;

    explicit Viewer(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

}  // namespace orvix::view
