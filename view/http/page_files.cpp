// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/page_files.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <system_error>
#include <utility>

#include "orvix/platform/desktop.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::view {

namespace {

constexpr int kDeepest = 4;
constexpr std::uint64_t kLargest = std::uint64_t{32} << 20;
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
    "font-src 'self'; connect-src 'self'; worker-src 'self' blob:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'";

constexpr std::array kTypes{std::pair{".html", "text/html; charset=utf-8"},
                            std::pair{".js", "text/javascript; charset=utf-8"},
                            std::pair{".css", "text/css; charset=utf-8"},
                            std::pair{".svg", "image/svg+xml"},
                            std::pair{".png", "image/png"},
                            std::pair{".ico", "image/x-icon"},
                            std::pair{".woff2", "font/woff2"},
                            std::pair{".json", "application/json"},
                            std::pair{".wasm", "application/wasm"},
                            std::pair{".txt", "text/plain; charset=utf-8"}};

const char* TypeOf(std::string_view path) {
    for (const auto& [ending, type] : kTypes)
        if (path.ends_with(ending)) return type;
    return "application/octet-stream";
}

}  // namespace

Expected<PageFiles> PageFiles::Open(const CString& folder) {
    PageFiles files;
    files.Add(folder, "", 0);
    if (files.paths_.contains("index.html")) return files;
    return Fail(ErrorCode::BadInput,
                fmt::format("the page of the viewer is not in {}: it holds no index.html; build it "
                            "as docs/VIEW.md says, or name its folder with --page",
                            platform::ToUtf8(folder)));
}

CString PageFiles::InstalledFolder() {
    CString folder = platform::ParentOf(platform::ProgramFolder());
    for (const wchar_t* name : {L"share", L"orvix", L"view"})
        folder = platform::JoinPath(folder, name);
    return folder;
}

void PageFiles::Add(const CString& folder, const std::string& before, int depth) {
    std::error_code ignored;
    for (const CString& name : platform::ListFolder(folder, ignored)) {
        const CString path = platform::JoinPath(folder, name);
        const std::string asked = before + platform::ToUtf8(name);
        if (!platform::IsFolder(path)) {
            paths_.emplace(asked, path);
        } else if (depth < kDeepest) {
            Add(path, asked + "/", depth + 1);
        }
    }
}

Answer PageFiles::AnswerTo(const std::string& path) const {
    const auto found = paths_.find(path.empty() ? "index.html" : path);
    if (found == paths_.end()) return Refusal(404, "there is no such page");
    std::error_code error;
    const platform::File file = platform::File::OpenRead(found->second, error);
    Answer answer;
    if (!error && file.Size() <= kLargest) {
        answer.text.resize(static_cast<std::size_t>(file.Size()));
        answer.text.resize(file.ReadAt(0, answer.text.data(), answer.text.size(), error));
    }
    if (error || file.Size() > kLargest)
        return Refusal(404, "this part of the page cannot be read any more; start it again");
    answer.type = TypeOf(found->first);
    answer.headers.emplace_back("Cache-Control", "no-cache");
    answer.headers.emplace_back("Content-Security-Policy", kPolicy);
    return answer;
}

}  // namespace orvix::view
