// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "view/http/answer.h"
#include "view/http/request.h"

namespace orvix::view {

/// Serves HTTP/1.1 on this machine's own address, 127.0.0.1, to many connections at once.
///
///     auto server = Server::Open(0);                  // any free port
///     (*server)->Run(answer, [] { return MayGoOn(); });
///
/// Boundaries headers of at most 8 KiB (else 431), a body of at most 64 KiB (else 413), 256
///            connections (else 503). A connection whose first request is not whole after 30 s is closed,
///            and one that takes no piece of its answer (256 KiB) in 30 s; between requests it
///            may rest for 60 s.
/// Errors     of Open: Failure with the port, where another program has it. A connection's faults end
///            that connection and nothing else.
/// Threads    Run serves on four threads, and returns when they have ended. `answer` is called on any
///            of them, several times at once.
/// Cost       the pieces of an answer, one at a time; nothing is kept of what was sent.
class Server {
public:
    using AnswerTo = std::function<Answer(const Request&)>;

    static Expected<std::unique_ptr<Server>> Open(std::uint16_t port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] std::uint16_t Port() const;
    /// Until `proceed`, which is asked every 0.1 s, returns false.
    void Run(const AnswerTo& answerTo, const std::function<bool()>& proceed);

private:
    struct State;

    explicit Server(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

}  // namespace orvix::view
