// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: at which pace do points reach a client through the server of `orvix view`?
// Ceiling:  a bare socket on the same machine that is handed the same bytes from memory in pieces of the
//           same size, to the same client; and, for scale, a copy of them in memory.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_support.h"
#include "bench/points/alive_file.h"
#include "orvix/points/records.h"
#include "view/data/record_file.h"
#include "view/http/server.h"

namespace {

namespace bench = orvix::bench;
namespace asio = boost::asio;
using asio::ip::tcp;
using namespace orvix;

constexpr std::size_t kPiece = 262'144;

// What reads: a buffer of 1 MiB, and a sum of what came, of its first bytes alone.
class Client {
public:
    explicit Client(std::uint16_t port) : socket_(context_), buffer_(std::size_t{1} << 20) {
        socket_.connect({asio::ip::address_v4::loopback(), port});
    }
    void Ask(const std::string& request) { asio::write(socket_, asio::buffer(request)); }
    // Reads `bytes` bytes after a head, if there is one; into `keep` where it is given.
    void Read(std::uint64_t bytes, bool head, std::vector<std::uint8_t>* keep = nullptr) {
        std::uint64_t got = 0;
        std::string start;
        bool open = head;
        while (got < bytes) {
            const std::size_t read = socket_.read_some(asio::buffer(buffer_));
            std::size_t from = 0;
            if (open) {
                start.append(reinterpret_cast<const char*>(buffer_.data()), read);
                const std::size_t end = start.find("\r\n\r\n");
                if (end == std::string::npos) continue;
                open = false;
                from = read - (start.size() - end - 4);
            }
            if (keep != nullptr)
                keep->insert(keep->end(), buffer_.data() + from, buffer_.data() + read);
            got += read - from;
        }
    }

private:
    asio::io_context context_;
    tcp::socket socket_;
    std::vector<std::uint8_t> buffer_;
};

// A socket that sends a stretch of memory whenever it hears a byte.
class BareSender {
public:
    BareSender(const std::uint8_t* data, std::uint64_t bytes)
        : acceptor_(context_, {asio::ip::address_v4::loopback(), 0}),
          thread_([this, data, bytes] { Serve(data, bytes); }) {}
    ~BareSender() { thread_.join(); }
    [[nodiscard]] std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

private:
    void Serve(const std::uint8_t* data, std::uint64_t bytes) {
        tcp::socket socket = acceptor_.accept();
        char asked = 0;
        boost::system::error_code error;
        while (socket.read_some(asio::buffer(&asked, 1), error) == 1)
            for (std::uint64_t at = 0; at < bytes && !error; at += kPiece)
                asio::write(socket,
                            asio::buffer(data + at, std::min<std::uint64_t>(kPiece, bytes - at)),
                            error);
    }

    asio::io_context context_;
    tcp::acceptor acceptor_;
    std::thread thread_;
};

}  // namespace

int main(int argc, char** argv) {
    auto options = bench::ParseOptions(argc, argv);
    const bench::AliveFile file(options.points);
    const auto records = view::RecordFile::Open(file.Path(), kAlivePointBytes);
    bench::Require(records.has_value(), "the point file cannot be read");
    auto server = view::Server::Open(0);
    bench::Require(server.has_value(), "no port can be served");
    std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> every{1};
    std::thread serving([&] {
        (*server)->Run(
            [&](const view::Request&) {
                const view::RecordRange range{0, records->Records(), every};
                return view::AnswerOf(records->PiecesOf(range), range.Taken() * kAlivePointBytes);
            },
            [&] { return !stop; });
    });
    const std::string request = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";
    {
        Client client((*server)->Port());
        const BareSender bare(file.Whole(), file.Size());
        Client plain(bare.Port());
        std::vector<std::uint8_t> got;
        client.Ask(request);
        client.Read(file.Size(), true, &got);
        bench::Require(
            got.size() == file.Size() && std::memcmp(got.data(), file.Whole(), got.size()) == 0,
            "other bytes came than are in the file");
        bench::Report report("send_points", options);
        const auto send = [&] {
            client.Ask(request);
            client.Read(records->Records() / every * kAlivePointBytes, true);
        };
        report.Compare(
            "whole runs over a bare socket", file.Size(),
            [&] {
                plain.Ask("x");
                plain.Read(file.Size(), false);
            },
            send);
        report.Compare(
            "whole runs over a copy in memory", file.Size(),
            [&] {
                std::memcpy(got.data(), file.Whole(), got.size());
                bench::Keep(got.front());
            },
            send);
        every = 10;
        if (records->Records() % 10 == 0)
            report.Compare(
                "every tenth point over a bare loop on the mapped file", file.Size() / 10,
                [&] {
                    const std::uint8_t* from = file.Whole();
                    for (std::uint64_t i = 0; i < records->Records(); i += 10)
                        std::memcpy(got.data() + i / 10 * kAlivePointBytes,
                                    from + i * kAlivePointBytes, kAlivePointBytes);
                    bench::Keep(got.front());
                },
                send);
    }
    stop = true;
    serving.join();
    return 0;
}
