// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <boost/asio/ip/tcp.hpp>

#include <atomic>

#include "view/http/server.h"

namespace orvix::view {

/// Serves one connection, request after request, until either side has enough. It lives as long as
/// something of it is under way, and counts itself in `sessions` for as long.
///
/// Lifetime `answerTo` and `sessions` outlive the context that the socket belongs to.
void StartSession(boost::asio::ip::tcp::socket socket, const Server::AnswerTo& answerTo,
                  std::atomic<int>& sessions);

}  // namespace orvix::view
