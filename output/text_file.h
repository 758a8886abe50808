// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

#include "output/output_file.h"

namespace orvix::output {

/// Collects text or bytes for an OutputFile, and writes them in blocks of 1 MiB.
///
///     TextFile file(path);
///     file.Print("v {} {} {}\n", p.x, p.y, p.z);
///     return file.Commit();
class TextFile {
public:
    explicit TextFile(const CString& path) : file_(path) {}

    template <class... Arguments>
    void Print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Arguments>(arguments)...);
        if (buffer_.size() >= kBufferBytes) Flush();
    }
    void Append(const void* data, std::size_t bytes) {
        buffer_.append(static_cast<const char*>(data), bytes);
        if (buffer_.size() >= kBufferBytes) Flush();
    }
    Expected<void> Commit() {
        Flush();
        return file_.Commit();
    }

private:
    static constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

    void Flush() {
        file_.Append(buffer_.data(), buffer_.size());
        buffer_.clear();
    }

    OutputFile file_;
    std::string buffer_;
};

}  // namespace orvix::output
