// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/repair_files.h"

#include <cstddef>
#include <cstring>

#include "importer/files/synced_file.h"
#include "orvix/platform/file.h"
#include "orvix/points/records.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

constexpr std::uint64_t kSmallBytes = 8'192;

// A host sets the pairs of skeleton points, which the points do not determine.
void ClearPairs(std::vector<std::uint8_t>& records) {
    constexpr std::size_t kPair = offsetof(CPointDataFull, dclcFirst);
    for (std::size_t at = kPair; at + 3 <= records.size(); at += sizeof(CPointDataFull)) {
        std::memset(records.data() + at, 0, 3);
    }
}

tl::unexpected<Error> CannotRead(const CString& path, std::error_code cause) {
    return FailSystem(cause, "nothing was changed, since this cannot be read: " + ToUtf8(path));
}

}  // namespace

Expected<std::vector<std::uint8_t>> ReadSmall(const CString& path) {
    std::error_code error;
    const auto file = platform::File::OpenRead(path, error);
    if (error == std::errc::no_such_file_or_directory || error == std::errc::is_a_directory)
        return std::vector<std::uint8_t>();
    std::vector<std::uint8_t> bytes;
    if (!error && file.Size() <= kSmallBytes) {
        bytes.resize(static_cast<std::size_t>(file.Size()));
        bytes.resize(file.ReadAt(0, bytes.data(), bytes.size(), error));
    }
    if (error) return CannotRead(path, error);
    return bytes;
}

Expected<void> WriteNew(const CString& path, std::span<const std::uint8_t> bytes) {
    std::error_code ignored;
    platform::RemoveFile(path, ignored);  // of a repair that was ended, or a link to elsewhere
    SyncedFile file;
    Expected<void> done = file.Create(path, Durability::Lasting);
    if (done) done = file.WriteAt(0, bytes.data(), bytes.size());
    if (done) done = file.Finish();
    return done ? file.Close() : done;
}

Expected<bool> AreAlike(const CString& a, const CString& b, bool withoutPairs) {
    constexpr std::size_t kBytes = sizeof(CPointDataFull) << 16;
    std::error_code error;
    const auto first = platform::File::OpenRead(a, error);
    if (error) return CannotRead(a, error);
    const auto second = platform::File::OpenRead(b, error);
    if (error) return CannotRead(b, error);
    if (first.Size() != second.Size()) return false;
    std::vector<std::uint8_t> left(kBytes);
    std::vector<std::uint8_t> right(kBytes);
    for (std::uint64_t at = 0; at < first.Size(); at += kBytes) {
        left.resize(first.ReadAt(at, left.data(), kBytes, error));
        if (error) return CannotRead(a, error);
        right.resize(second.ReadAt(at, right.data(), kBytes, error));
        if (error) return CannotRead(b, error);
        if (withoutPairs) ClearPairs(left);
        if (withoutPairs) ClearPairs(right);
        if (left != right) return false;
        left.resize(kBytes);
        right.resize(kBytes);
    }
    return true;
}

}  // namespace orvix::importer
