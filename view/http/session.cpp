// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/session.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <fmt/format.h>

#include <array>
#include <chrono>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace orvix::view {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr int kMostSessions = 256;
constexpr std::uint32_t kHeaderBytes = 8192;
constexpr std::uint64_t kBodyBytes = 65'536;
constexpr auto kRest = std::chrono::seconds(60);
constexpr auto kPatience = std::chrono::seconds(30);

const char* WordOf(unsigned status) {
    return http::obsolete_reason(static_cast<http::status>(status)).data();
}

Method MethodOf(http::verb verb) {
    if (verb == http::verb::get) return Method::Get;
    if (verb == http::verb::head) return Method::Head;
    return verb == http::verb::post ? Method::Post : Method::Other;
}

using Parser = http::request_parser<http::string_body>;

Request RequestOf(Parser& parser) {
    auto& message = parser.get();
    Request request;
    request.method = MethodOf(message.method());
    request.target = std::string(message.target());
    const auto only = [&message](http::field field) -> std::optional<std::string> {
        if (message.count(field) != 1) return std::nullopt;
        return std::string(message[field]);
    };
    request.host = only(http::field::host);
    // Two of them are as good as a wrong one.
    if (message.count(http::field::origin) > 0)
        request.origin = only(http::field::origin).value_or("null");
    request.body = std::move(message.body());
    return request;
}

// What a request was that could not be read to its end; nothing where the connection just ended.
std::optional<Answer> AnswerTo(beast::error_code error) {
    if (error == http::error::header_limit)
        return Refusal(431, "the headers are longer than 8 KiB");
    if (error == http::error::body_limit) return Refusal(413, "the body is longer than 64 KiB");
    const bool ofSyntax = error.category() == beast::error_code(http::error::bad_method).category();
    if (!ofSyntax || error == http::error::end_of_stream || error == http::error::partial_message)
        return std::nullopt;
    return Refusal(400, "this is no HTTP request: " + error.message());
}

Answer Guarded(const Server::AnswerTo& answerTo, const Request& request) {
    try {
        return answerTo(request);
    } catch (const std::bad_alloc&) {
        return Refusal(500, "memory ran out; close other programs and try again");
    } catch (const std::exception& error) {
        return Refusal(500, std::string("the work ended early: ") + error.what());
    }
}

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(asio::ip::tcp::socket socket, const Server::AnswerTo& answerTo,
            std::atomic<int>& sessions)
        : stream_(std::move(socket)), answerTo_(answerTo), sessions_(sessions) {
        crowded_ = sessions_.fetch_add(1) >= kMostSessions;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        if (answer_.lines) answer_.lines->Leave();
        sessions_.fetch_sub(1);
    }

    void Start() {
        beast::error_code ignored;
        stream_.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
        asio::dispatch(stream_.get_executor(), [self = shared_from_this()] {
            if (self->crowded_) {
                self->keep_ = false;
                self->Send(Refusal(503, "too many connections are open; close some pages"));
            } else {
                self->Read();
            }
        });
    }

private:
    void Read() {
        parser_.emplace();
        parser_->header_limit(kHeaderBytes);
        parser_->body_limit(kBodyBytes);
        stream_.expires_after(first_ ? kPatience : kRest);
        first_ = false;
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             self->OnRead(error);
                         });
    }

    void OnRead(beast::error_code error) {
        if (error) {
            keep_ = false;
            if (auto answer = AnswerTo(error)) return Send(std::move(*answer));
            return Close();
        }
        keep_ = parser_->get().keep_alive();
        modern_ = parser_->get().version() >= 11;
        const Request request = RequestOf(*parser_);
        bodiless_ = request.method == Method::Head;
        parser_.reset();
        Send(Guarded(answerTo_, request));
    }

    void Send(Answer answer) {
        answer_ = std::move(answer);
        std::span<const std::uint8_t> piece;
        // The first piece is made before anything is said, so that its failure can be.
        if (answer_.pieces && !bodiless_) {
            auto next = answer_.pieces->Next();
            if (!next) {
                answer_ = Refusal(next.error());
            } else {
                piece = *next;
            }
        }
        const bool streams = answer_.lines != nullptr;
        if (streams && !modern_) keep_ = false;
        if (answer_.status >= 400 && answer_.status != 404) keep_ = false;
        WriteHead(piece);
    }

    void WriteHead(std::span<const std::uint8_t> piece) {
        head_ = fmt::format("HTTP/1.1 {} {}\r\n", answer_.status, WordOf(answer_.status));
        head_ += keep_ ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
        head_ +=
            "X-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer\r\n"
            "Cross-Origin-Resource-Policy: same-origin\r\n";
        if (answer_.lines) {
            if (modern_) head_ += "Transfer-Encoding: chunked\r\n";
        } else {
            head_ += fmt::format("Content-Length: {}\r\n",
                                 answer_.pieces ? answer_.bytes : answer_.text.size());
        }
        if (!answer_.type.empty()) head_ += fmt::format("Content-Type: {}\r\n", answer_.type);
        for (const auto& [name, value] : answer_.headers)
            head_ += fmt::format("{}: {}\r\n", name, value);
        head_ += "\r\n";
        if (!answer_.pieces && !answer_.lines && !bodiless_) head_ += answer_.text;
        const std::array<asio::const_buffer, 2> buffers{asio::buffer(head_),
                                                        asio::buffer(piece.data(), piece.size())};
        const bool more = answer_.pieces && !bodiless_ && !piece.empty();
        Write(buffers, [more](Session& self) {
            if (self.answer_.lines) return self.StartLines();
            if (more) return self.WritePieces();
            self.Finish();
        });
    }

    void WritePieces() {
        auto next = answer_.pieces->Next();
        // Cut short: who reads sees it by the length.
        if (!next) return Close();
        if (next->empty()) return Finish();
        const std::array<asio::const_buffer, 1> buffers{asio::buffer(next->data(), next->size())};
        Write(buffers, [](Session& self) { self.WritePieces(); });
    }

    void StartLines() {
        stream_.expires_never();
        WatchForEnd();
        answer_.lines->Listen([weak = weak_from_this()] {
            if (const auto self = weak.lock())
                asio::post(self->stream_.get_executor(), [self] { self->WriteLines(); });
        });
    }

    // A client that goes away ends what works for it, and one that talks in between is sent home.
    void WatchForEnd() {
        watching_ = true;
        stream_.async_read_some(asio::buffer(watched_),
                                [self = shared_from_this()](beast::error_code, std::size_t) {
                                    self->watching_ = false;
                                    self->finished_ ? self->Drain() : self->Close();
                                });
    }

    void WriteLines() {
        if (writing_ || finished_) return;
        std::string text;
        const bool more = answer_.lines->Take(text);
        if (more && text.empty()) return;
        if (!more) finished_ = true;
        chunk_ = text;
        if (modern_) {
            chunk_ = text.empty() ? "" : fmt::format("{:x}\r\n{}\r\n", text.size(), text);
            if (!more) chunk_ += "0\r\n\r\n";
        }
        writing_ = true;
        const std::array<asio::const_buffer, 1> buffers{asio::buffer(chunk_)};
        Write(buffers, [](Session& self) {
            self.writing_ = false;
            // The read that watched cannot be taken back for another request.
            if (self.finished_) return self.Close();
            self.WriteLines();
        });
    }

    template <class Buffers, class Then>
    void Write(const Buffers& buffers, Then then) {
        stream_.expires_after(kPatience);
        asio::async_write(stream_, buffers,
                          [self = shared_from_this(), then](beast::error_code error, std::size_t) {
                              if (error) return self->Close();
                              then(*self);
                          });
    }

    void Finish() {
        answer_ = {};
        if (!keep_) return Close();
        Read();
    }

    void Close() {
        if (answer_.lines) answer_.lines->Leave();
        finished_ = true;
        beast::error_code ignored;
        stream_.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
        watching_ ? stream_.cancel() : Drain();
    }

    // What the client still sends would turn the end into a reset, which takes the answer along.
    void Drain() {
        if (drained_ > 64 || draining_) return;
        draining_ = true;
        ++drained_;
        stream_.expires_after(std::chrono::seconds(2));
        stream_.async_read_some(asio::buffer(watched_),
                                [self = shared_from_this()](beast::error_code error, std::size_t) {
                                    self->draining_ = false;
                                    if (!error) self->Drain();
                                });
    }

    beast::tcp_stream stream_;
    const Server::AnswerTo& answerTo_;
    std::atomic<int>& sessions_;
    beast::flat_buffer buffer_{std::size_t{kHeaderBytes} + kBodyBytes};
    std::optional<Parser> parser_;
    Answer answer_;
    std::string head_;
    std::string chunk_;
    std::array<char, 4096> watched_{};
    bool crowded_ = false;
    bool first_ = true;
    bool keep_ = true;
    bool modern_ = true;
    bool bodiless_ = false;
    bool writing_ = false;
    bool watching_ = false;
    bool finished_ = false;
    bool draining_ = false;
    int drained_ = 0;
};

}  // namespace

void StartSession(asio::ip::tcp::socket socket, const Server::AnswerTo& answerTo,
                  std::atomic<int>& sessions) {
    std::make_shared<Session>(std::move(socket), answerTo, sessions)->Start();
}

}  // namespace orvix::view
