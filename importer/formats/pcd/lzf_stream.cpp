// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/pcd/lzf_stream.h"

#include <fmt/format.h>

#include <algorithm>

#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kBufferBytes = std::uint64_t{1} << 16;

}  // namespace

Expected<void> LzfStream::ReadByte(std::uint8_t& byte) {
    if (next_ == buffer_.size()) {
        const auto bytes = static_cast<std::size_t>(std::min(kBufferBytes, end_ - at_));
        if (bytes == 0) {
            return file_->Bad(fmt::format(
                "the compressed points end at byte {}, before the last of them. The file is cut "
                "short or damaged: copy or export it again.",
                platform::CountText(end_)));
        }
        if (auto read = file_->ReadBlock(at_, bytes, buffer_); !read) return read;
        at_ += bytes;
        next_ = 0;
    }
    byte = buffer_[next_++];
    return {};
}

// A control byte below 32 comes before that many literals and one more; else its upper three bits
// are a length (7: continued in the next byte), its lower five the upper part of a distance.
Expected<void> LzfStream::ReadToken() {
    std::uint8_t control = 0;
    std::uint8_t byte = 0;
    if (auto read = ReadByte(control); !read) return read;
    if (control < 32) {
        literals_ = std::size_t{control} + 1;
        return {};
    }
    std::size_t length = control >> 5;
    if (length == 7) {
        if (auto read = ReadByte(byte); !read) return read;
        length += byte;
    }
    if (auto read = ReadByte(byte); !read) return read;
    match_ = length + 2;
    distance_ = ((std::uint64_t{control} & 31) << 8) + byte + 1;
    if (distance_ <= made_) return {};
    return file_->Bad(
        "the compressed points refer to before their start. The file is damaged: copy or export it "
        "again.");
}

Expected<void> LzfStream::CopyLiterals(std::uint8_t* out, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        std::uint8_t byte = 0;
        if (auto read = ReadByte(byte); !read) return read;
        window_[made_++ % kWindow] = byte;
        if (out != nullptr) out[i] = byte;
    }
    literals_ -= bytes;
    return {};
}

void LzfStream::CopyMatch(std::uint8_t* out, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::uint8_t byte = window_[(made_ - distance_) % kWindow];
        window_[made_++ % kWindow] = byte;
        if (out != nullptr) out[i] = byte;
    }
    match_ -= bytes;
}

Expected<void> LzfStream::Take(std::uint8_t* out, std::size_t bytes) {
    while (bytes > 0) {
        if (literals_ == 0 && match_ == 0) {
            if (auto read = ReadToken(); !read) return read;
        }
        const std::size_t part = std::min(bytes, literals_ != 0 ? literals_ : match_);
        if (literals_ != 0) {
            if (auto copied = CopyLiterals(out, part); !copied) return copied;
        } else {
            CopyMatch(out, part);
        }
        if (out != nullptr) out += part;
        bytes -= part;
    }
    return {};
}

Expected<void> LzfStream::Skip(std::uint64_t bytes) {
    while (bytes > 0) {
        const auto part = static_cast<std::size_t>(std::min(bytes, kBufferBytes));
        if (auto taken = Take(nullptr, part); !taken) return taken;
        bytes -= part;
    }
    return {};
}

}  // namespace orvix::importer
