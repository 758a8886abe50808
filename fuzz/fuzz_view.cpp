// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes are what a page asks of the server of `orvix view`: a line "GET points?first=0" or
// "POST plane", and then a body. What waits on the other side is told at once that nobody reads.
#include <algorithm>
#include <memory>
#include <string>

#include "fuzz/small_project.h"
#include "view/viewer.h"

namespace {

using namespace orvix;
using fuzz::Require;

constexpr std::uint16_t kPort = 8020;
constexpr const char* kToken = "0123456789abcdef0123456789abcdef";

// A project and its page, once for all inputs.
struct Served {
    fuzz::SmallProject project;
    test::ScratchFolder page;
    std::unique_ptr<view::Viewer> viewer;
    view::Gate gate{kToken, kPort};

    Served() {
        test::WriteText(page / L"index.html", "<!doctype html>");
        auto opened = view::Viewer::Open(project.File(), page.Path());
        Require(opened.has_value(), "the project is served");
        viewer = std::move(*opened);
    }
};

view::Request RequestOf(const std::string& input) {
    const std::size_t line = std::min(input.find('\n'), input.size());
    const std::size_t blank = std::min(input.find(' '), line);
    const std::string method = input.substr(0, blank);
    view::Request request;
    request.method = method == "GET"    ? view::Method::Get
                     : method == "HEAD" ? view::Method::Head
                     : method == "POST" ? view::Method::Post
                                        : view::Method::Other;
    request.host = "127.0.0.1:" + std::to_string(kPort);
    request.target = std::string("/") + kToken + "/" +
                     input.substr(std::min(blank + 1, line), line - std::min(blank + 1, line));
    request.body = input.substr(std::min(line + 1, input.size()));
    return request;
}

void ReadPieces(view::Answer& answer) {
    std::uint64_t bytes = 0;
    while (true) {
        const auto piece = answer.pieces->Next();
        if (!piece) return Require(!piece.error().message.empty(), "an error has a sentence");
        if (piece->empty()) break;
        bytes += piece->size();
    }
    Require(bytes == answer.bytes, "as many bytes as were announced");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Served served;
    const view::Request request = RequestOf({reinterpret_cast<const char*>(data), size});
    view::Answer answer = served.viewer->AnswerTo(served.gate, request);
    Require(answer.status == 200 || !answer.text.empty(), "a refusal has a sentence");
    Require(answer.status == 200 || answer.text.starts_with("{\"error\":"), "as an object");
    if (answer.pieces) ReadPieces(answer);
    if (answer.lines) answer.lines->Leave();
    return 0;
}
