// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "orvix/platform/desktop.h"
#include "view/http/session.h"

namespace orvix::view {

namespace asio = boost::asio;
using asio::ip::tcp;
using ErrorCodeOfSystem = boost::system::error_code;

namespace {

constexpr int kThreads = 4;
constexpr auto kLook = std::chrono::milliseconds(100);

}  // namespace

struct Server::State {
    AnswerTo answerTo;
    std::function<bool()> proceed;
    std::atomic<int> sessions{0};
    // After what the sessions use, which end with it.
    asio::io_context context{kThreads};
    tcp::acceptor acceptor{context};
    asio::steady_timer timer{context};

    void Accept() {
        acceptor.async_accept(asio::make_strand(context),
                              [this](ErrorCodeOfSystem error, tcp::socket socket) {
                                  if (error == asio::error::operation_aborted) return;
                                  if (!error) StartSession(std::move(socket), answerTo, sessions);
                                  Accept();
                              });
    }

    void Look() {
        timer.expires_after(kLook);
        timer.async_wait([this](ErrorCodeOfSystem) {
            if (proceed()) {
                Look();
            } else {
                context.stop();
            }
        });
    }
};

Server::Server(std::unique_ptr<State> state) : state_(std::move(state)) {}
Server::~Server() = default;

Expected<std::unique_ptr<Server>> Server::Open(std::uint16_t port) {
    auto state = std::make_unique<State>();
    const tcp::endpoint place(asio::ip::address_v4::loopback(), port);
    ErrorCodeOfSystem error;
    state->acceptor.open(place.protocol(), error);
    if (!error && platform::ServedPortsRest())
        state->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error) state->acceptor.bind(place, error);
    if (!error) state->acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error)
        return Fail(ErrorCode::Failure,
                    fmt::format("port {} of this machine cannot be served: {}; choose another one "
                                "with --port, or leave it out",
                                port, error.message()));
    return std::unique_ptr<Server>(new Server(std::move(state)));
}

std::uint16_t Server::Port() const {
    ErrorCodeOfSystem ignored;
    return state_->acceptor.local_endpoint(ignored).port();
}

void Server::Run(const AnswerTo& answerTo, const std::function<bool()>& proceed) {
    state_->answerTo = answerTo;
    state_->proceed = proceed;
    state_->Accept();
    state_->Look();
    std::vector<std::thread> threads;
    for (int i = 1; i < kThreads; ++i) threads.emplace_back([this] { state_->context.run(); });
    state_->context.run();
    for (std::thread& thread : threads) thread.join();
}

}  // namespace orvix::view
