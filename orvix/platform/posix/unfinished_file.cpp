// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/unfinished_file.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "orvix/platform/posix/native.h"

namespace orvix::platform {
namespace {

using namespace detail;

/// Removes a name under which a program that has ended left a file, or somebody planted a link;
/// false, with `error` set, where it is neither.
bool RemoveAbandoned(const std::string& path, std::error_code& error) {
    struct stat status;
    if (lstat(path.c_str(), &status) == -1) return errno == ENOENT;
    if (S_ISLNK(status.st_mode)) return Succeeded(unlink(path.c_str()), error);
    if (!S_ISREG(status.st_mode)) {
        error = std::make_error_code(std::errc::file_exists);
        return false;
    }
    const int left =
        Retry([&] { return open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); });
    if (left == -1 && errno == ENOENT) return true;
    if (!Succeeded(left, error)) return false;
    const bool abandoned = Succeeded(flock(left, LOCK_EX | LOCK_NB), error);
    if (error == std::errc::operation_would_block) {
        error = std::make_error_code(std::errc::device_or_resource_busy);
    }
    // Under its lock: nobody else takes the file away and puts another in its place.
    if (abandoned && IsNamed(path, left)) Succeeded(unlink(path.c_str()), error);
    close(left);
    return !error;
}

/// A note is written by the thread that owns it, and read by a signal handler.
struct RemovalNote {
    enum State { kFree, kTaken, kReady };
    std::atomic<int> state = kFree;
    char path[4096] = {};
};
constinit RemovalNote notes[16];
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");

}  // namespace

namespace detail {

Handle CreateHeldOwn(const CString& path, std::error_code& error) {
    const std::string native = NativePath(path);
    for (;;) {
        const int made = Retry([&] {
            return open(native.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        });
        if (made != -1) {
            // Where the file system knows no locks, it counts as held all the same.
            const bool held = flock(made, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
            error.clear();
            if (held && IsNamed(native, made)) return HandleOf(made);
            close(made);  // another program took it for abandoned before it was held
            continue;
        }
        error = LastError();
        if (error != std::errc::file_exists) return nullptr;
        error.clear();
        if (!RemoveAbandoned(native, error)) return nullptr;
    }
}

// Renamed and removed before it is closed: what is not held may be taken for abandoned.
void PublishHeld(Handle file, const CString& from, const CString& to, std::error_code& error) {
    const std::string native = NativePath(from);
    if (!Succeeded(rename(native.c_str(), NativePath(to).c_str()), error)) unlink(native.c_str());
    std::error_code closing;
    CloseOwn(file, closing);
    if (!error) error = closing;
}

void RemoveHeld(Handle file, const CString& path) {
    unlink(NativePath(path).c_str());
    CloseHandleOf(file);
}

void CopyPermissions(const CString& from, Handle file, std::error_code& error) {
    struct stat status;
    if (!Succeeded(stat(NativePath(from).c_str(), &status), error)) return;
    // Who may not give a file away keeps it.
    static_cast<void>(!fchown(DescriptorOf(file), status.st_uid, status.st_gid));
    Succeeded(fchmod(DescriptorOf(file), status.st_mode & 0777), error);
}

int NoteForRemoval(const CString& path) {
    const std::string native = NativePath(path);
    for (RemovalNote& note : notes) {
        int expected = RemovalNote::kFree;
        if (native.size() >= sizeof note.path ||
            !note.state.compare_exchange_strong(expected, RemovalNote::kTaken)) {
            continue;
        }
        std::copy_n(native.c_str(), native.size() + 1, note.path);
        note.state = RemovalNote::kReady;
        return static_cast<int>(&note - notes);
    }
    return -1;
}

void ForgetRemoval(int note) {
    if (note >= 0) notes[note].state = RemovalNote::kFree;
}

}  // namespace detail

void RemoveUnfinishedFiles() {
    for (RemovalNote& note : notes) {
        if (note.state == RemovalNote::kReady) unlink(note.path);
    }
}

}  // namespace orvix::platform
