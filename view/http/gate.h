// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "view/http/request.h"

namespace orvix::view {

/// Decides which requests are answered at all: those that know the token, and come from a page of
/// this server or from no page.
///
/// The token keeps out other users of the machine, who can reach the port as well. `Host` keeps out a
/// page of another site whose name was made to lead to 127.0.0.1; `Origin` a page of another site
/// that knows the port.
///
/// Cost  the token is compared in a time that does not depend on where it differs.
class Gate {
public:
    /// Of 32 hexadecimal digits from the system's random source.
    static Expected<std::string> NewToken();

    Gate(std::string token, std::uint16_t port);
    /// What follows "/TOKEN/", with its parameters; nothing for a request that is not let in.
    [[nodiscard]] std::optional<std::string> PathOf(const Request& request) const;

private:
    std::string token_;
    std::string port_;
};

}  // namespace orvix::view
