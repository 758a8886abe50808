// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvix::test {

/// What a server said to one request.
struct Reply {
    int status = 0;      ///< 0: nothing was said
    std::string head;    ///< all header lines
    std::string body;    ///< chunks put together
    bool whole = false;  ///< as long as it was to be
};

/// A connection to this machine's own port that sends any bytes, well formed or not.
class PageClient {
public:
    explicit PageClient(std::uint16_t port) : socket_(context_) {
        socket_.connect({boost::asio::ip::address_v4::loopback(), port});
    }

    /// False once the server has closed the connection.
    bool Send(std::string_view bytes) {
        boost::system::error_code error;
        boost::asio::write(socket_, boost::asio::buffer(bytes.data(), bytes.size()), error);
        return !error;
    }
    void HangUp() {
        boost::system::error_code ignored;
        socket_.close(ignored);
    }
    /// Reads the next reply. Of a HEAD request there is no body.
    Reply Read(bool bodiless = false) {
        Reply reply;
        std::size_t end = 0;
        while ((end = read_.find("\r\n\r\n")) == std::string::npos)
            if (!More()) return reply;
        reply.head = read_.substr(0, end + 2);
        read_.erase(0, end + 4);
        reply.status = std::stoi(reply.head.substr(9, 3));
        if (bodiless) {
            reply.whole = true;
        } else if (reply.head.find("chunked") != std::string::npos) {
            ReadChunks(reply);
        } else {
            ReadLength(reply);
        }
        return reply;
    }
    /// Reads until something holds `text`; false where the server ends before.
    bool ReadUntil(std::string_view text) {
        while (read_.find(text) == std::string::npos)
            if (!More()) return false;
        return true;
    }

private:
    bool More() {
        char bytes[16'384];
        boost::system::error_code error;
        const std::size_t got = socket_.read_some(boost::asio::buffer(bytes), error);
        read_.append(bytes, got);
        return !error && got > 0;
    }

    void ReadLength(Reply& reply) {
        const std::size_t at = reply.head.find("Content-Length: ");
        std::size_t bytes = 0;
        const char* const digits = reply.head.data() + at + 16;
        std::from_chars(digits, reply.head.data() + reply.head.size(), bytes);
        reply.whole = true;
        while (reply.whole && read_.size() < bytes) reply.whole = More();
        reply.body = read_.substr(0, bytes);
        read_.erase(0, reply.body.size());
    }

    void ReadChunks(Reply& reply) {
        while (true) {
            std::size_t end = 0;
            while ((end = read_.find("\r\n")) == std::string::npos)
                if (!More()) return;
            const std::size_t bytes = std::stoull(read_.substr(0, end), nullptr, 16);
            while (read_.size() < end + 2 + bytes + 2)
                if (!More()) return;
            reply.body += read_.substr(end + 2, bytes);
            read_.erase(0, end + 2 + bytes + 2);
            reply.whole = bytes == 0;
            if (reply.whole) return;
        }
    }

    boost::asio::io_context context_;
    boost::asio::ip::tcp::socket socket_;
    std::string read_;
};

}  // namespace orvix::test
