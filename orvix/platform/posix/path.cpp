// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/path.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <stdio.h>
#include <unistd.h>

#include "orvix/platform/posix/native.h"

namespace orvix::platform {
namespace {

using namespace detail;

bool Status(const CString& path, struct stat& status) {
    return stat(NativePath(path).c_str(), &status) == 0;
}

bool SameInode(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

namespace detail {

bool IsNamed(const std::string& path, int descriptor) {
    struct stat named;
    struct stat held;
    return fstat(descriptor, &held) == 0 && lstat(path.c_str(), &named) == 0 &&
           SameInode(named, held);
}

std::wstring_view PathSeparators() {
    return L"/";
}

}  // namespace detail

CString AbsolutePath(const CString& path) {
    if (!path.empty() && path.front() == PathSeparator()) return path;
    std::error_code error;
    const std::filesystem::path current = std::filesystem::current_path(error);
    if (error) return path;
    const CString folder = FromUtf8(current.native());
    if (path.empty()) return folder;
    return folder == L"/" ? folder + path : JoinPath(folder, path);
}

bool PathExists(const CString& path) {
    struct stat status;
    return Status(path, status);
}

bool IsFolder(const CString& path) {
    struct stat status;
    return Status(path, status) && S_ISDIR(status.st_mode);
}

bool IsLink(const CString& path) {
    struct stat status;
    return lstat(NativePath(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool IsSameFile(const CString& a, const CString& b) {
    struct stat statusA;
    struct stat statusB;
    return Status(a, statusA) && Status(b, statusB) && SameInode(statusA, statusB);
}

bool QueryFileSize(const CString& path, std::uint64_t& bytes) {
    struct stat status;
    if (!Status(path, status)) return false;
    bytes = S_ISDIR(status.st_mode) ? 0 : static_cast<std::uint64_t>(status.st_size);
    return true;
}

void MakeFolder(const CString& path, std::error_code& error) {
    if (Succeeded(mkdir(NativePath(path).c_str(), 0777), error)) return;
    if (error == std::errc::file_exists && IsFolder(path)) error.clear();
}

void RemoveFolder(const CString& path, std::error_code& error) {
    Succeeded(rmdir(NativePath(path).c_str()), error);
}

void RemoveFile(const CString& path, std::error_code& error) {
    Succeeded(unlink(NativePath(path).c_str()), error);
}

namespace {

/// Keeps the first of several errors.
void Keep(std::error_code& first, int cause) {
    if (!first) first = {cause, std::system_category()};
}

/// Removes an entry of an open folder, with all that it holds. What cannot be removed does not keep
/// the rest from going. Folders are entered by their descriptors, so that one that becomes a link
/// meanwhile is not followed; nothing here throws.
void RemoveEntry(int folder, const char* name, std::error_code& first) {
    if (unlinkat(folder, name, 0) == 0 || errno == ENOENT) return;
    const int cause = errno;
    const int inner = Retry(
        [&] { return openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
    if (inner == -1) return Keep(first, errno == ENOTDIR || errno == ELOOP ? cause : errno);
    DIR* const list = fdopendir(inner);
    if (list == nullptr) {
        Keep(first, errno);
        close(inner);
        return;
    }
    while (const dirent* const entry = readdir(list)) {
        const std::string_view inside = entry->d_name;
        if (inside != "." && inside != "..") RemoveEntry(inner, entry->d_name, first);
    }
    closedir(list);
    if (unlinkat(folder, name, AT_REMOVEDIR) == -1 && errno != ENOENT) Keep(first, errno);
}

}  // namespace

void RemoveTree(const CString& path, std::error_code& error) {
    error.clear();
    RemoveEntry(AT_FDCWD, NativePath(path).c_str(), error);
}

std::vector<CString> ListFolder(const CString& path, std::error_code& error) {
    std::vector<CString> names;
    // Closed on every way out: memory may end while names are collected.
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(NativePath(path).c_str()), &closedir);
    if (!Succeeded(folder != nullptr ? 0 : -1, error)) return names;
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(folder.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.push_back(FromUtf8(name));
    }
    if (errno != 0) error = LastError();
    std::sort(names.begin(), names.end());
    return names;
}

void Rename(const CString& from, const CString& to, std::error_code& error) {
    // The system's own rename lets a folder replace an empty one.
    if (IsFolder(from)) {
        const int result = renameat2(AT_FDCWD, NativePath(from).c_str(), AT_FDCWD,
                                     NativePath(to).c_str(), RENAME_NOREPLACE);
        if (Succeeded(result, error) || error != std::errc::invalid_argument) return;
        if (PathExists(to)) {
            error = std::make_error_code(std::errc::file_exists);
            return;
        }
    }
    Succeeded(rename(NativePath(from).c_str(), NativePath(to).c_str()), error);
}

void ExchangePaths(const CString& a, const CString& b, std::error_code& error) {
    const int result = renameat2(AT_FDCWD, NativePath(a).c_str(), AT_FDCWD, NativePath(b).c_str(),
                                 RENAME_EXCHANGE);
    if (Succeeded(result, error)) return;
    if (error == std::errc::invalid_argument || error == std::errc::function_not_supported) {
        error = std::make_error_code(std::errc::operation_not_supported);
    }
}

void SyncFolder(const CString& path, std::error_code& error) {
    const int folder =
        Retry([&] { return open(NativePath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (!Succeeded(folder, error)) return;
    Succeeded(Retry([&] { return fsync(folder); }), error);
    // Some network file systems have nothing to wait for and say so in this way.
    if (error == std::errc::invalid_argument) error.clear();
    close(folder);
}

std::uint64_t FreeSpace(const CString& path, std::error_code& error) {
    struct statvfs status;
    const std::string native = NativePath(path);
    if (!Succeeded(Retry([&] { return statvfs(native.c_str(), &status); }), error)) return 0;
    return static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
}

namespace {

struct HeldLock {
    int descriptor;
    std::string path;
};

/// Longer than any lock file: those hold a number and a line's end.
constexpr off_t kMaxLockFileBytes = 64;

bool MayBeLockFile(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size <= kMaxLockFileBytes;
}

/// The lock holds without the note too, as on a full disk.
void NoteHolder(int descriptor) {
    std::array<char, 24> text{};
    char* const end = std::to_chars(text.data(), text.data() + text.size() - 1, getpid()).ptr;
    *end = '\n';
    const auto bytes = static_cast<std::size_t>(end - text.data()) + 1;
    if (pwrite(descriptor, text.data(), bytes, 0) == static_cast<ssize_t>(bytes)) {
        static_cast<void>(!ftruncate(descriptor, static_cast<off_t>(bytes)));
    }
}

/// The lock file goes before the lock does, and only while it is this one: whoever locks a file
/// that is no longer named starts over.
void Release(void* handle) {
    if (handle == nullptr) return;
    auto* const lock = static_cast<HeldLock*>(handle);
    if (IsNamed(lock->path, lock->descriptor)) unlink(lock->path.c_str());
    close(lock->descriptor);
    delete lock;
}

}  // namespace

PathLock::~PathLock() {
    Release(handle_);
}

// BEHAVIOUR O8
PathLock PathLock::TryAcquire(const CString& path, std::error_code& error) {
    constexpr int kLockFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    PathLock lock;
    // Made first: once the lock is held, nothing may fail any more.
    auto held = std::make_unique<HeldLock>(HeldLock{-1, NativePath(path)});
    const std::string& native = held->path;
    for (;;) {
        const int descriptor = Retry([&] { return open(native.c_str(), kLockFlags, 0666); });
        if (!Succeeded(descriptor, error)) return lock;
        if (!MayBeLockFile(descriptor)) {
            error = std::make_error_code(std::errc::file_exists);
            close(descriptor);
            return lock;
        }
        if (!Succeeded(Retry([&] { return flock(descriptor, LOCK_EX | LOCK_NB); }), error)) {
            if (error == std::errc::operation_would_block) error.clear();
            close(descriptor);
            return lock;
        }
        if (IsNamed(native, descriptor)) {
            NoteHolder(descriptor);
            held->descriptor = descriptor;
            lock.handle_ = held.release();
            return lock;
        }
        close(descriptor);
    }
}

}  // namespace orvix::platform
