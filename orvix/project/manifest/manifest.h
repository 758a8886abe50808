// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// Bytes that one sum stands for; the last block of a file is what is left.
inline constexpr std::uint64_t kSumBlockBytes = 8'388'608;

/// How many blocks a file of that size has.
constexpr std::uint64_t SumBlocksOf(std::uint64_t bytes) {
    return bytes / kSumBlockBytes + (bytes % kSumBlockBytes != 0 ? 1 : 0);
}

/// What a manifest holds of one file.
struct FileSums {
    std::string name;  ///< UTF-8; CoveredFiles knows which file it is
    std::uint64_t bytes = 0;
    std::vector<std::uint32_t> sums;  ///< CRC-32C of each block
};

/// Sizes and sums of a project's files, as they were when Orvix wrote them (docs/FORMAT.md).
///
/// Boundaries a name may stand in it twice: a small file that is about to be replaced is sound as it
///            was and as it will be (AnnounceContent).
struct Manifest {
    std::vector<FileSums> files;
};

std::vector<std::uint8_t> EncodeManifest(const Manifest& manifest);
/// Errors   Damaged, with what is wrong, without the file's name.
Expected<Manifest> DecodeManifest(std::span<const std::uint8_t> bytes);

/// Nothing where there is no such file.
///
/// Errors   Damaged and Failure, with the path.
/// Cost     memory: the file's size, at most 64 MiB, which are the sums of 128 TiB; more is damage.
Expected<std::optional<Manifest>> ReadManifest(const CString& path);

/// Replaces the file in one step, once the new one is on the disk. Meanwhile that is
/// UnfinishedManifestPath.
Expected<void> WriteManifest(const CString& path, const Manifest& manifest);
CString UnfinishedManifestPath(const CString& path);
/// The lock of who changes a manifest that is there.
CString ManifestLockPath(const CString& path);
/// Waits for it, up to a second; none where another program has it longer. Who gets it clears away
/// what a writer left unfinished that was ended.
platform::PathLock LockManifest(const CString& path);
/// Clears it away where no writer is at work, for a verb that writes no manifest itself.
void RemoveUnfinishedManifest(const CString& path);

/// The sums of bytes that lie in memory.
FileSums SumsOf(const std::string& name, std::span<const std::uint8_t> bytes);

/// Announces that a small file is about to be replaced by `next`: from now on the manifest takes the
/// file as sound with the bytes `former`, which it holds now, and with the next ones. So it is true
/// before and after, and a replacement that ends half-way is found.
///
/// Boundaries nothing happens without a manifest, or where the bytes stay. What differs from its sum
///            already is not made sound: then the next bytes alone are. A manifest that is damaged
///            stays, and the check reports it.
/// Errors     returned: the manifest is as it was, and a file that is replaced all the same is then
///            reported by the check. `device_or_resource_busy`: another program changes it.
/// Threads    any number, and processes: a lock file is waited for, up to a second.
/// Cost       reads and replaces the manifest, and waits for the disk.
std::error_code AnnounceContent(const CString& manifestPath, const std::string& name,
                                std::span<const std::uint8_t> former,
                                std::span<const std::uint8_t> next);
/// The same for the record at `path`, which is read, and which is small.
std::error_code AnnounceRecord(const CString& manifestPath, const std::string& name,
                               const CString& path, std::span<const std::uint8_t> next);

}  // namespace orvix::detail
