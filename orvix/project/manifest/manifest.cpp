// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/manifest/manifest.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/points/byte_codec.h"

namespace orvix::detail {
namespace {

using platform::ToUtf8;

constexpr std::array<char, 8> kMark{'O', 'r', 'v', 'i', 'x', 'S', 'u', 'm'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kStartBytes = 24;
constexpr std::size_t kEndBytes = 4;
constexpr std::size_t kMaxNameBytes = 256;
constexpr std::uint64_t kMaxBytes = 64u << 20;

tl::unexpected<Error> Damaged(std::string what) {
    return Fail(ErrorCode::Damaged, std::move(what));
}

bool TakeName(ByteTaker& taker, std::string& name) {
    std::uint32_t bytes = 0;
    if (!taker.Take(bytes) || bytes > kMaxNameBytes || bytes > taker.Left()) return false;
    name.resize(bytes);
    for (char& letter : name) {
        if (!taker.Take(letter)) return false;
    }
    return true;
}

bool TakeFile(ByteTaker& taker, FileSums& file) {
    if (!taker.Take(file.bytes) || !TakeName(taker, file.name)) return false;
    const std::uint64_t blocks = SumBlocksOf(file.bytes);
    if (blocks > taker.Left() / sizeof(std::uint32_t)) return false;
    file.sums.resize(static_cast<std::size_t>(blocks));
    return std::all_of(file.sums.begin(), file.sums.end(),
                       [&](std::uint32_t& sum) { return taker.Take(sum); });
}

bool Holds(const Manifest& manifest, const FileSums& wanted) {
    return std::any_of(manifest.files.begin(), manifest.files.end(), [&](const FileSums& file) {
        return file.name == wanted.name && file.bytes == wanted.bytes && file.sums == wanted.sums;
    });
}

// Where the file stood, the sums that it may have now.
void Exchange(Manifest& manifest, const std::string& name, std::vector<FileSums> sums) {
    const auto isIt = [&](const FileSums& file) { return file.name == name; };
    const auto first = std::find_if(manifest.files.begin(), manifest.files.end(), isIt);
    const auto place = first - manifest.files.begin();
    manifest.files.erase(std::remove_if(first, manifest.files.end(), isIt), manifest.files.end());
    manifest.files.insert(manifest.files.begin() + place, sums.begin(), sums.end());
}

}  // namespace

std::vector<std::uint8_t> EncodeManifest(const Manifest& manifest) {
    std::vector<std::uint8_t> bytes;
    PutValue(bytes, kMark);
    PutValue(bytes, kVersion);
    PutValue(bytes, static_cast<std::uint32_t>(kSumBlockBytes));
    PutValue(bytes, static_cast<std::uint64_t>(manifest.files.size()));
    for (const FileSums& file : manifest.files) {
        PutValue(bytes, file.bytes);
        PutValue(bytes, static_cast<std::uint32_t>(file.name.size()));
        bytes.insert(bytes.end(), file.name.begin(), file.name.end());
        for (const std::uint32_t sum : file.sums) PutValue(bytes, sum);
    }
    PutValue(bytes, platform::Crc32c(bytes));
    return bytes;
}

Expected<Manifest> DecodeManifest(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kStartBytes + kEndBytes) {
        return Damaged(fmt::format("holds {} bytes, which is no whole manifest", bytes.size()));
    }
    std::uint32_t stored = 0;
    const auto content = bytes.first(bytes.size() - kEndBytes);
    std::memcpy(&stored, bytes.data() + content.size(), sizeof stored);
    ByteTaker taker(content);
    std::array<char, 8> mark{};
    std::uint32_t version = 0;
    std::uint32_t blockBytes = 0;
    std::uint64_t count = 0;
    (void)(taker.Take(mark) && taker.Take(version) && taker.Take(blockBytes) && taker.Take(count));
    if (mark != kMark) return Damaged("does not begin as a manifest does");
    if (platform::Crc32c(content) != stored) return Damaged("does not have its own checksum");
    if (version != kVersion || blockBytes != kSumBlockBytes) {
        return Damaged(
            fmt::format("is of version {} with blocks of {} bytes; version {} with {} is "
                        "known",
                        version, blockBytes, kVersion, kSumBlockBytes));
    }
    Manifest manifest;
    while (taker.Left() > 0) {
        if (!TakeFile(taker, manifest.files.emplace_back())) {
            return Damaged(fmt::format("ends inside its entry {}", manifest.files.size() - 1));
        }
    }
    if (manifest.files.size() != count) {
        return Damaged(fmt::format("holds {} entries of {}", manifest.files.size(), count));
    }
    return manifest;
}

Expected<std::optional<Manifest>> ReadManifest(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error == std::errc::no_such_file_or_directory) return std::nullopt;
    if (error) return FailSystem(error, ToUtf8(path) + " cannot be read; check its permissions");
    if (file.Size() > kMaxBytes) return Damaged(ToUtf8(path) + ": is too large for a manifest");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.Size()));
    bytes.resize(file.ReadAt(0, bytes.data(), bytes.size(), error));
    if (error) return FailSystem(error, ToUtf8(path) + " cannot be read; check its disk");
    auto manifest = DecodeManifest(bytes);
    if (!manifest) return Damaged(ToUtf8(path) + ": " + manifest.error().message);
    return std::optional<Manifest>(std::move(*manifest));
}

namespace {

void WriteAndRename(const CString& path, const CString& part, const Manifest& manifest,
                    std::error_code& error) {
    const std::vector<std::uint8_t> bytes = EncodeManifest(manifest);
    platform::RemoveFile(part, error);  // of a writer that was ended, or a link to elsewhere
    platform::File file = platform::File::CreateNew(part, error);
    if (!error) file.Append(bytes.data(), bytes.size(), error);
    if (!error) file.Sync(error);
    if (!error) file.Close(error);
    if (!error) platform::Rename(part, path, error);
    if (!error) platform::SyncFolder(platform::ParentOf(path), error);
}

// What could not be finished goes, where memory ran out as well.
void ReplaceManifest(const CString& path, const Manifest& manifest, std::error_code& error) {
    const CString part = UnfinishedManifestPath(path);
    std::error_code ignored;
    try {
        WriteAndRename(path, part, manifest, error);
    } catch (const std::bad_alloc&) {
        platform::RemoveFile(part, ignored);
        throw;
    }
    if (error) platform::RemoveFile(part, ignored);
}

// None with `error` clear: another program has it.
platform::PathLock WaitForLock(const CString& path, std::error_code& error) {
    constexpr int kTries = 200;
    constexpr std::chrono::milliseconds kPause{5};
    for (int i = 0; i < kTries; ++i) {
        auto lock = platform::PathLock::TryAcquire(ManifestLockPath(path), error);
        std::error_code ignored;
        if (lock) platform::RemoveFile(UnfinishedManifestPath(path), ignored);
        if (lock || error) return lock;
        std::this_thread::sleep_for(kPause);
    }
    return {};
}

}  // namespace

Expected<void> WriteManifest(const CString& path, const Manifest& manifest) {
    std::error_code error;
    ReplaceManifest(path, manifest, error);
    if (!error) return {};
    return FailSystem(error, ToUtf8(path) + " could not be written");
}

CString UnfinishedManifestPath(const CString& path) {
    return path + L".orvix-part";
}

CString ManifestLockPath(const CString& path) {
    return path + L".lock";
}

platform::PathLock LockManifest(const CString& path) {
    std::error_code ignored;
    return WaitForLock(path, ignored);
}

void RemoveUnfinishedManifest(const CString& path) {
    if (platform::PathExists(UnfinishedManifestPath(path))) (void)LockManifest(path);
}

FileSums SumsOf(const std::string& name, std::span<const std::uint8_t> bytes) {
    FileSums file{name, bytes.size(), {}};
    while (!bytes.empty()) {
        const std::size_t block = std::min<std::size_t>(bytes.size(), kSumBlockBytes);
        file.sums.push_back(platform::Crc32c(bytes.first(block)));
        bytes = bytes.subspan(block);
    }
    return file;
}

std::error_code AnnounceContent(const CString& manifestPath, const std::string& name,
                                std::span<const std::uint8_t> former,
                                std::span<const std::uint8_t> next) {
    if (!platform::PathExists(manifestPath)) return {};
    std::error_code error;
    const platform::PathLock lock = WaitForLock(manifestPath, error);
    if (!lock) return error ? error : std::make_error_code(std::errc::device_or_resource_busy);
    auto manifest = ReadManifest(manifestPath);
    if (!manifest && manifest.error().code != ErrorCode::Damaged)
        return std::make_error_code(std::errc::io_error);
    if (!manifest || !*manifest) return {};
    const FileSums present = SumsOf(name, former);
    const FileSums coming = SumsOf(name, next);
    if (Holds(**manifest, coming)) return {};
    std::vector<FileSums> sums;
    if (Holds(**manifest, present)) sums.push_back(present);
    sums.push_back(coming);
    Exchange(**manifest, name, std::move(sums));
    ReplaceManifest(manifestPath, **manifest, error);
    return error;
}

std::error_code AnnounceRecord(const CString& manifestPath, const std::string& name,
                               const CString& path, std::span<const std::uint8_t> next) {
    if (!platform::PathExists(manifestPath)) return {};
    std::array<std::uint8_t, 1024> former{};  // longer than any sound record
    std::error_code ignored;
    const platform::File file = platform::File::OpenRead(path, ignored);
    const std::size_t read = ignored ? 0 : file.ReadAt(0, former.data(), former.size(), ignored);
    return AnnounceContent(manifestPath, name, {former.data(), read}, next);
}

}  // namespace orvix::detail
