// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scratch_folder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "orvix/platform/path.h"

namespace orvix::test {
namespace {

std::filesystem::path Native(const CString& path) {
    return std::filesystem::path(
        std::u8string_view(reinterpret_cast<const char8_t*>(platform::ToUtf8(path).c_str())));
}

}  // namespace

ScratchFolder::ScratchFolder() {
    static std::atomic<unsigned> number{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto folder = std::filesystem::temp_directory_path() /
                        ("orvix-test-" + std::to_string(now) + "-" + std::to_string(number++));
    std::filesystem::create_directories(folder);
    const auto utf8 = folder.u8string();
    path_ = platform::FromUtf8({reinterpret_cast<const char*>(utf8.data()), utf8.size()});
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(Native(path_), ignored);
}

CString ScratchFolder::operator/(std::wstring_view name) const {
    return platform::JoinPath(path_, CString(name));
}

std::vector<CString> ScratchFolder::Names() const {
    std::error_code error;
    return platform::ListFolder(path_, error);
}

void WriteBytes(const CString& path, const void* data, std::size_t bytes) {
    std::ofstream file(Native(path), std::ios::binary | std::ios::trunc);
    file.write(static_cast<const char*>(data), static_cast<std::streamsize>(bytes));
}

void WriteText(const CString& path, std::string_view text) {
    WriteBytes(path, text.data(), text.size());
}

std::vector<std::uint8_t> ReadBytes(const CString& path) {
    std::ifstream file(Native(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace orvix::test
