// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/gate.h"

#include <array>
#include <system_error>
#include <utility>

#include "orvix/platform/desktop.h"

namespace orvix::view {

namespace {

constexpr std::size_t kTokenBytes = 16;

bool SameToken(std::string_view given, std::string_view token) {
    if (given.size() != token.size()) return false;
    unsigned different = 0;
    for (std::size_t i = 0; i < token.size(); ++i)
        different |= static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(token[i]);
    return different == 0;
}

}  // namespace

Expected<std::string> Gate::NewToken() {
    std::array<unsigned char, kTokenBytes> random{};
    std::error_code error;
    platform::FillRandom(random.data(), random.size(), error);
    if (error) return FailSystem(error, "the system gives no random numbers");
    std::string token;
    for (const unsigned char byte : random) {
        token += "0123456789abcdef"[byte >> 4];
        token += "0123456789abcdef"[byte & 15];
    }
    return token;
}

Gate::Gate(std::string token, std::uint16_t port)
    : token_(std::move(token)), port_(":" + std::to_string(port)) {}

// BEHAVIOUR L1
std::optional<std::string> Gate::PathOf(const Request& request) const {
    const std::string address = "127.0.0.1" + port_;
    const std::string name = "localhost" + port_;
    if (!request.host || (*request.host != address && *request.host != name)) return std::nullopt;
    if (request.origin && *request.origin != "http://" + address &&
        *request.origin != "http://" + name)
        return std::nullopt;
    const std::string_view target = request.target;
    const std::size_t end = target.find('/', 1);
    if (!target.starts_with('/') || end == std::string_view::npos) return std::nullopt;
    if (!SameToken(target.substr(1, end - 1), token_)) return std::nullopt;
    return std::string(target.substr(end + 1));
}

}  // namespace orvix::view
