// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/files/whole_file.h"

#include <fmt/format.h>

#include <cstring>
#include <vector>

#include "orvix/platform/file.h"

namespace orvix::importer {
namespace {

using platform::File;
using platform::ToUtf8;

tl::unexpected<Error> FailTo(const char* verb, const CString& path, std::error_code cause) {
    auto failure = FailSystem(cause, fmt::format("cannot {} {}", verb, ToUtf8(path)));
    if (failure.value().code == ErrorCode::NoSpace) {
        failure.value().message += "; free some space, or import to another disk";
    }
    return failure;
}

Expected<void> ReadBack(const CString& path, const void* data, std::size_t bytes) {
    std::error_code error;
    const File file = File::OpenRead(path, error);
    std::vector<char> read(bytes + 1);  // one more than there should be
    std::size_t size = 0;
    if (!error) size = file.ReadAt(0, read.data(), read.size(), error);
    if (error) return FailTo("read back", path, error);
    if (size == bytes && std::memcmp(read.data(), data, bytes) == 0) return {};
    return Fail(
        ErrorCode::Failure,
        fmt::format("{} does not read back as it was written; check its device, and whether "
                    "another program is at work in its folder",
                    ToUtf8(path)));
}

Expected<void> Fill(File file, const CString& path, const void* data, std::size_t bytes) {
    std::error_code error;
    file.WriteAt(0, data, bytes, error);
    if (!error) file.Sync(error);
    if (!error) file.Close(error);
    if (error) return FailTo("write", path, error);
    return bytes == 0 ? Expected<void>() : ReadBack(path, data, bytes);
}

}  // namespace

Expected<void> WriteWholeFile(const CString& path, const void* data, std::size_t bytes) {
    std::error_code error;
    File file = File::Create(path, error);
    if (error) return FailTo("create", path, error);
    return Fill(std::move(file), path, data, bytes);
}

Expected<void> WriteNewFile(const CString& path, const void* data, std::size_t bytes) {
    std::error_code error;
    File file = File::CreateNew(path, error);
    if (error) return FailTo("create", path, error);
    return Fill(std::move(file), path, data, bytes);
}

}  // namespace orvix::importer
