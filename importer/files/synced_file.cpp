// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/files/synced_file.h"

#include <fmt/format.h>

#include <system_error>

namespace orvix::importer {
namespace {

constexpr std::uint64_t kSyncBytes = 32u << 20;

}  // namespace

tl::unexpected<Error> SyncedFile::FailTo(const char* verb, std::error_code cause) const {
    auto failure = FailSystem(cause, fmt::format("cannot {} {}", verb, platform::ToUtf8(path_)));
    if (failure.value().code == ErrorCode::NoSpace) {
        failure.value().message += "; free some space, or import to another disk";
    }
    return failure;
}

Expected<void> SyncedFile::Create(const CString& path, Durability durability) {
    path_ = path;
    durability_ = durability;
    std::error_code error;
    file_ = platform::File::Create(path, error);
    if (error) return FailTo("create", error);
    return {};
}

Expected<void> SyncedFile::OpenWrite(const CString& path) {
    path_ = path;
    durability_ = Durability::Lasting;
    std::error_code error;
    file_ = platform::File::OpenReadWrite(path, error);
    if (error) return FailTo("write", error);
    return {};
}

Expected<void> SyncedFile::OpenRead(const CString& path) {
    path_ = path;
    std::error_code error;
    file_ = platform::File::OpenRead(path, error);
    if (error) return FailTo("read", error);
    return {};
}

Expected<void> SyncedFile::WriteAt(std::uint64_t offset, const void* data, std::size_t bytes) {
    std::error_code error;
    file_.WriteAt(offset, data, bytes, error);
    if (error) return FailTo("write", error);
    if (durability_ == Durability::Temporary) return {};
    if (pending_.fetch_add(bytes) + bytes < kSyncBytes) return {};
    const std::lock_guard<std::mutex> lock(syncing_);
    if (pending_.load() < kSyncBytes) return {};
    pending_ = 0;
    auto synced = AwaitSync();
    if (synced) StartSync();
    return synced;
}

// Where the system has no thread to give, the wait is here.
void SyncedFile::StartSync() {
    const auto sync = [this] {
        std::error_code error;
        file_.Sync(error);
        return error;
    };
    try {
        sync_ = std::async(std::launch::async, sync);
    } catch (const std::system_error&) {
        sync_ = std::async(std::launch::deferred, sync);
        sync_.wait();
    }
}

Expected<void> SyncedFile::AwaitSync() {
    if (!sync_.valid()) return {};
    if (const std::error_code error = sync_.get(); error) return FailTo("write", error);
    return {};
}

Expected<void> SyncedFile::ReadAt(std::uint64_t offset, void* data, std::size_t bytes) const {
    std::error_code error;
    const std::size_t read = file_.ReadAt(offset, data, bytes, error);
    if (error) return FailTo("read back", error);
    if (read != bytes) {
        return Fail(ErrorCode::Failure,
                    fmt::format("{} lost bytes while it was being written: {} of {} at {}; is "
                                "another program at work in its folder?",
                                platform::ToUtf8(path_), bytes - read, bytes, offset));
    }
    return {};
}

Expected<void> SyncedFile::Finish() {
    if (durability_ == Durability::Temporary) return {};
    if (auto synced = AwaitSync(); !synced) return synced;
    std::error_code error;
    file_.Sync(error);
    if (error) return FailTo("write", error);
    return {};
}

Expected<void> SyncedFile::Close() {
    if (auto synced = AwaitSync(); !synced) return synced;
    std::error_code error;
    file_.Close(error);
    if (error) return FailTo("close", error);
    return {};
}

}  // namespace orvix::importer
