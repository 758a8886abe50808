// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "importer/formats/scan_file.h"

namespace orvix::importer {

/// Unpacks an LZF stream of a file, stretch by stretch.
///
/// A copy of a stream goes on from where the other stood: so several stretches of one stream are
/// unpacked side by side. The format's references reach 8 KiB back, which is all
/// that is kept. (A decoder of our own: the library of the format works on whole buffers of up to
/// 4 GiB, and there is none for every system that we build for.)
///
///     LzfStream stream(file, firstByte, packedBytes);
///     stream.Take(out, bytes);
///
/// Errors   BadInput: a stream that ends early, a reference to before its start.
/// Lifetime borrows the file.
/// Threads  one at a time; copies are independent.
/// Cost     a nanosecond per byte, 72 KiB of memory.
/// Source   M. Lehmann, LibLZF: the description of its format in lzf_d.c.
class LzfStream {
public:
    LzfStream(const ScanFile& file, std::uint64_t firstByte, std::uint64_t packedBytes)
        : file_(&file), at_(firstByte), end_(firstByte + packedBytes), window_(kWindow) {}

    Expected<void> Take(std::uint8_t* out, std::size_t bytes);
    Expected<void> Skip(std::uint64_t bytes);

private:
    static constexpr std::size_t kWindow = 8192;

    Expected<void> ReadByte(std::uint8_t& byte);
    Expected<void> ReadToken();
    Expected<void> CopyLiterals(std::uint8_t* out, std::size_t bytes);
    void CopyMatch(std::uint8_t* out, std::size_t bytes);

    const ScanFile* file_;
    std::uint64_t at_;   // of the file: what comes after the buffer
    std::uint64_t end_;  // of the stream
    std::vector<std::uint8_t> buffer_;
    std::size_t next_ = 0;  // in the buffer
    std::vector<std::uint8_t> window_;
    std::uint64_t made_ = 0;
    std::size_t literals_ = 0;  // left to copy
    std::size_t match_ = 0;     // left to copy
    std::uint64_t distance_ = 0;
};

}  // namespace orvix::importer
