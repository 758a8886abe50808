// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/answer.h"

namespace orvix::view {

namespace {

unsigned StatusOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::BadInput:
            return 400;
        case ErrorCode::Damaged:
            return 409;
        case ErrorCode::Failure:
        case ErrorCode::NoSpace:
        case ErrorCode::Cancelled:
        case ErrorCode::NoMemory:
            break;
    }
    return 500;
}

std::string TextOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

Answer AnswerOf(std::unique_ptr<Pieces> pieces, std::uint64_t bytes) {
    Answer answer;
    answer.type = "application/octet-stream";
    answer.headers.emplace_back("Cache-Control", "no-store");
    answer.pieces = std::move(pieces);
    answer.bytes = bytes;
    return answer;
}

Answer AnswerOf(const Json& json) {
    Answer answer;
    answer.headers.emplace_back("Cache-Control", "no-store");
    answer.text = TextOf(json);
    return answer;
}

Answer Refusal(unsigned status, const std::string& sentence) {
    Answer answer = AnswerOf(Json{{"error", sentence}});
    answer.status = status;
    return answer;
}

Answer Refusal(const Error& error) {
    return Refusal(StatusOf(error.code), error.message);
}

std::string LineOf(const Json& json) {
    return TextOf(json) + "\n";
}

}  // namespace orvix::view
