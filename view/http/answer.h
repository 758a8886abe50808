// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "orvix/platform/error.h"
#include "view/http/lines.h"

namespace orvix::view {

using Json = nlohmann::ordered_json;

/// Bytes of an answer that are made while they are sent.
class Pieces {
public:
    Pieces() = default;
    virtual ~Pieces() = default;
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;

    /// The next bytes, which last until the next call; empty after the last.
    virtual Expected<std::span<const std::uint8_t>> Next() = 0;
};

/// What the server says to a request: a text, or `bytes` bytes in pieces, or lines as they come.
struct Answer {
    unsigned status = 200;
    std::string type = "application/json";
    std::vector<std::pair<std::string, std::string>> headers;  ///< beside those of every answer
    std::string text;
    std::unique_ptr<Pieces> pieces;
    std::uint64_t bytes = 0;  ///< of all pieces
    std::shared_ptr<Lines> lines;
};

/// `bytes` bytes of data that no cache may keep.
Answer AnswerOf(std::unique_ptr<Pieces> pieces, std::uint64_t bytes);
Answer AnswerOf(const Json& json);
/// {"error": sentence}
Answer Refusal(unsigned status, const std::string& sentence);
/// Of what went wrong while a project was read: 409 where its files are damaged, 400 where the
/// request asked for what cannot be, else 500.
Answer Refusal(const Error& error);

/// One line of JSON, with its line break; bytes that are no UTF-8 become U+FFFD.
std::string LineOf(const Json& json);

}  // namespace orvix::view
