// SPDX-License-Identifier: GPL-3.0-or-later
// Stands between a program and the system (LD_PRELOAD) and fails, cuts short or ends the program at
// its N-th call on the files of one folder. Linux alone: the calls are the system's own.
//
//   ORVIX_FAULT_FOLDER  calls on paths in this folder are counted, from 1
//   ORVIX_FAULT_LOG     gets a line "N call path" for each of them, or, with a fault, for the calls
//                       that met it
//   ORVIX_FAULT_AT      the number of the call that meets the fault; 0 or none: calls are counted
//   ORVIX_FAULT_KIND    see kKinds; a kind with "+" also meets all later calls it is for
//   ORVIX_FAULT_SHADOW  a folder in which the state that survives a power cut is kept: f<inode> is
//                       the content of a file as last brought to the device, d<inode> the entries
//                       of a folder, k<inode> a link that keeps the number from being used again
#define _GNU_SOURCE
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum Call { kOpen, kMake, kRead, kWrite, kSize, kSync, kClose, kMap, kMove, kRemove, kList };
static const char* const kNames[] = {"open",  "make", "read", "write",  "size", "sync",
                                     "close", "map",  "move", "remove", "list"};

#define BIT(call) (1U << (call))
#define ALL 0x7FFU
#define CHANGES (BIT(kMake) | BIT(kWrite) | BIT(kSize))

struct Kind {
    const char* name;
    int error;       // 0: the program ends instead
    unsigned calls;  // those that can fail in this way
};
static const struct Kind kKinds[] = {
    {"eio", EIO, ALL},
    {"enospc", ENOSPC, CHANGES | BIT(kSync) | BIT(kMove) | BIT(kClose)},
    {"full", ENOSPC, CHANGES},  // a write is cut short first
    {"short", 0, BIT(kWrite)},  // half is written, the rest may follow
    {"enomem", ENOMEM, ALL & ~BIT(kClose)},
    {"eacces", EACCES, BIT(kOpen) | BIT(kMake) | BIT(kMove) | BIT(kRemove) | BIT(kList)},
    {"emfile", EMFILE, BIT(kOpen) | BIT(kMake) | BIT(kList)},
    {"stuck", EPERM, BIT(kRemove)},
    {"kill", 0, ALL},
};

#define MAX_VIEWS 256
static struct View {
    void* address;
    char path[PATH_MAX];
} views[MAX_VIEWS];

static char folder[PATH_MAX];
#define MAX_SHADOW 1024
#define MAX_NAME (MAX_SHADOW + 32)
static char shadow[MAX_SHADOW];
static size_t folderLength;
static int logFile = -1;
static long faultAt;
static int sticky;
static const struct Kind* kind;
static atomic_long count;

__attribute__((constructor)) static void Start(void) {
    const char* const root = getenv("ORVIX_FAULT_FOLDER");
    const char* const log = getenv("ORVIX_FAULT_LOG");
    if (root == NULL || log == NULL) return;
    snprintf(folder, sizeof folder, "%s", root);
    folderLength = strlen(folder);
    const char* const kept = getenv("ORVIX_FAULT_SHADOW");
    if (kept != NULL) snprintf(shadow, sizeof shadow, "%s", kept);
    const int file =
        (int)syscall(SYS_openat, AT_FDCWD, log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    logFile = fcntl(file, F_DUPFD_CLOEXEC, 900);  // out of the way of the program's own numbers
    syscall(SYS_close, file);
    const char* const at = getenv("ORVIX_FAULT_AT");
    faultAt = at == NULL ? 0 : atol(at);
    const char* const name = getenv("ORVIX_FAULT_KIND");
    for (size_t i = 0; name != NULL && i < sizeof kKinds / sizeof *kKinds; ++i) {
        const size_t length = strlen(kKinds[i].name);
        if (strncmp(name, kKinds[i].name, length) != 0) continue;
        if (name[length] == 0 || name[length] == '+') kind = &kKinds[i];
        sticky = name[length] == '+';
    }
}

static int InFolder(const char* path) {
    return folderLength != 0 && path != NULL && strncmp(path, folder, folderLength) == 0 &&
           (path[folderLength] == 0 || path[folderLength] == '/');
}

// The path of an open file, or of `name` in the open folder `at`.
static const char* PathOf(int at, const char* name, char* room) {
    if (name != NULL && (at == AT_FDCWD || name[0] == '/')) return name;
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", at);
    const ssize_t length = readlink(link, room, PATH_MAX - 1);
    room[length > 0 ? length : 0] = 0;
    if (name != NULL && length > 0 && (size_t)length + strlen(name) + 2 < PATH_MAX) {
        strcat(room, "/");
        strcat(room, name);
    }
    return room;
}

// A descriptor may be a copy of another: its path decides.
static int Counted(int file) {
    char room[PATH_MAX];
    return folderLength != 0 && file >= 0 && InFolder(PathOf(file, NULL, room));
}

static void WriteLine(long number, enum Call call, const char* path) {
    char line[PATH_MAX + 64];
    const int length = snprintf(line, sizeof line, "%ld %s %s\n", number, kNames[call], path);
    syscall(SYS_write, logFile, line, (size_t)length);
}

// Counts a call; what it is to do instead: NULL for nothing.
static const struct Kind* Meet(enum Call call, const char* path) {
    if (logFile == -1) return NULL;
    const long number = atomic_fetch_add(&count, 1) + 1;
    if (faultAt == 0) {
        WriteLine(number, call, path);
        return NULL;
    }
    if (kind == NULL || number < faultAt || (number > faultAt && !sticky)) return NULL;
    if ((kind->calls & BIT(call)) == 0) return NULL;
    WriteLine(number, call, path);
    if (strcmp(kind->name, "kill") == 0) syscall(SYS_kill, getpid(), SIGKILL);
    return kind;
}

// What survives a power cut.

static void ShadowName(char* name, char letter, unsigned long inode) {
    snprintf(name, MAX_NAME, "%s/%c%lu", shadow, letter, inode);
}

static void KeepNumber(const char* path) {
    struct stat status;
    char name[MAX_NAME];
    if (shadow[0] == 0 || lstat(path, &status) != 0) return;
    ShadowName(name, S_ISDIR(status.st_mode) ? 'd' : 'k', status.st_ino);
    if (S_ISDIR(status.st_mode)) {
        syscall(SYS_unlink, name);  // a new folder, whose number may have been another's
    } else {
        syscall(SYS_linkat, AT_FDCWD, path, AT_FDCWD, name, 0);
    }
}

static void CopyTo(const char* from, const char* to) {
    static char block[1 << 16];
    const int source = (int)syscall(SYS_openat, AT_FDCWD, from, O_RDONLY | O_CLOEXEC, 0);
    const int target =
        (int)syscall(SYS_openat, AT_FDCWD, to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (long bytes; (bytes = syscall(SYS_read, source, block, sizeof block)) > 0;)
        syscall(SYS_write, target, block, (size_t)bytes);
    syscall(SYS_close, source);
    syscall(SYS_close, target);
}

static void ListTo(const char* path, const char* to) {
    DIR* const list =
        fdopendir((int)syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    const int target =
        (int)syscall(SYS_openat, AT_FDCWD, to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (struct dirent* entry; list != NULL && (entry = readdir(list)) != NULL;) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
        char line[512];
        const int length =
            snprintf(line, sizeof line, "%c %lu %s\n", entry->d_type == DT_DIR ? 'd' : 'f',
                     (unsigned long)entry->d_ino, entry->d_name);
        syscall(SYS_write, target, line, (size_t)length);
    }
    if (list != NULL) closedir(list);
    syscall(SYS_close, target);
}

static void KeepState(const char* path) {
    static atomic_flag busy = ATOMIC_FLAG_INIT;
    struct stat status;
    char name[MAX_NAME];
    if (shadow[0] == 0 || stat(path, &status) != 0) return;
    while (atomic_flag_test_and_set(&busy)) {
    }
    ShadowName(name, S_ISDIR(status.st_mode) ? 'd' : 'f', status.st_ino);
    if (S_ISDIR(status.st_mode)) {
        ListTo(path, name);
    } else {
        CopyTo(path, name);
    }
    atomic_flag_clear(&busy);
}

// The calls.

static int Open(int at, const char* path, int flags, mode_t mode) {
    char room[PATH_MAX];
    const char* const whole = PathOf(at, path, room);
    const int inside = InFolder(whole);
    const int makes = (flags & O_CREAT) != 0;
    if (inside) {
        const struct Kind* const fault = Meet(makes ? kMake : kOpen, whole);
        if (fault != NULL && fault->error != 0) {
            errno = fault->error;
            return -1;
        }
    }
    const int file = (int)syscall(SYS_openat, at, path, flags, mode);
    if (file >= 0 && inside && makes) KeepNumber(whole);
    return file;
}

#define MODE_OF(flags, last)                      \
    mode_t mode = 0;                              \
    if (((flags) & (O_CREAT | O_TMPFILE)) != 0) { \
        va_list list;                             \
        va_start(list, last);                     \
        mode = va_arg(list, mode_t);              \
        va_end(list);                             \
    }

int open(const char* path, int flags, ...) {
    MODE_OF(flags, flags)
    return Open(AT_FDCWD, path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    MODE_OF(flags, flags)
    return Open(AT_FDCWD, path, flags, mode);
}
int openat(int at, const char* path, int flags, ...) {
    MODE_OF(flags, flags)
    return Open(at, path, flags, mode);
}
int openat64(int at, const char* path, int flags, ...) {
    MODE_OF(flags, flags)
    return Open(at, path, flags, mode);
}
int creat(const char* path, mode_t mode) {
    return Open(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

// Of an open file: -1 and the error where the call is to fail.
static const struct Kind* MeetFile(enum Call call, int file) {
    char room[PATH_MAX];
    return Counted(file) ? Meet(call, PathOf(file, NULL, room)) : NULL;
}

#define FAIL_FILE(call, file)                                                     \
    const struct Kind* const fault = MeetFile(call, file);                        \
    if (fault != NULL && fault->error != 0 && strcmp(fault->name, "full") != 0) { \
        errno = fault->error;                                                     \
        return -1;                                                                \
    }

// How many bytes a write may take: half of them for a short one, none on a full disk.
static ssize_t Allowed(const struct Kind* fault, size_t bytes) {
    if (fault == NULL) return (ssize_t)bytes;
    if (strcmp(fault->name, "full") == 0 && (atomic_load(&count) > faultAt || bytes < 2)) {
        errno = ENOSPC;
        return -1;
    }
    return (ssize_t)(bytes > 1 ? bytes / 2 : bytes);
}

ssize_t write(int file, const void* data, size_t bytes) {
    FAIL_FILE(kWrite, file)
    const ssize_t allowed = Allowed(fault, bytes);
    return allowed < 0 ? -1 : syscall(SYS_write, file, data, (size_t)allowed);
}
ssize_t pwrite(int file, const void* data, size_t bytes, off_t offset) {
    FAIL_FILE(kWrite, file)
    const ssize_t allowed = Allowed(fault, bytes);
    return allowed < 0 ? -1 : syscall(SYS_pwrite64, file, data, (size_t)allowed, offset);
}
ssize_t pwrite64(int file, const void* data, size_t bytes, off64_t offset) {
    return pwrite(file, data, bytes, offset);
}
ssize_t read(int file, void* data, size_t bytes) {
    FAIL_FILE(kRead, file)
    return syscall(SYS_read, file, data, bytes);
}
ssize_t pread(int file, void* data, size_t bytes, off_t offset) {
    FAIL_FILE(kRead, file)
    return syscall(SYS_pread64, file, data, bytes, offset);
}
ssize_t pread64(int file, void* data, size_t bytes, off64_t offset) {
    return pread(file, data, bytes, offset);
}

// Here a full disk fails at once.
#define FAIL_SIZE(call, file)                              \
    const struct Kind* const fault = MeetFile(call, file); \
    if (fault != NULL && fault->error != 0) {              \
        errno = fault->error;                              \
        return -1;                                         \
    }

int ftruncate(int file, off_t bytes) {
    FAIL_SIZE(kSize, file)
    return (int)syscall(SYS_ftruncate, file, bytes);
}
int ftruncate64(int file, off64_t bytes) {
    return ftruncate(file, bytes);
}
int fallocate(int file, int mode, off_t offset, off_t bytes) {
    FAIL_SIZE(kSize, file)
    return (int)syscall(SYS_fallocate, file, mode, offset, bytes);
}
int fallocate64(int file, int mode, off64_t offset, off64_t bytes) {
    return fallocate(file, mode, offset, bytes);
}

static int Sync(int file, long number) {
    FAIL_FILE(kSync, file)
    const int done = (int)syscall(number, file);
    char room[PATH_MAX];
    if (done == 0 && Counted(file)) KeepState(PathOf(file, NULL, room));
    return done;
}
int fsync(int file) {
    return Sync(file, SYS_fsync);
}
int fdatasync(int file) {
    return Sync(file, SYS_fdatasync);
}

int close(int file) {
    const struct Kind* const fault = MeetFile(kClose, file);
    if (file == logFile && file != -1) return 0;
    const int done = (int)syscall(SYS_close, file);
    if (fault == NULL || fault->error == 0) return done;
    errno = fault->error;
    return -1;
}

void* mmap(void* address, size_t bytes, int protection, int flags, int file, off_t offset) {
    const struct Kind* const fault = MeetFile(kMap, file);
    if (fault != NULL && fault->error != 0) {
        errno = fault->error;
        return MAP_FAILED;
    }
    void* const view = (void*)syscall(SYS_mmap, address, bytes, protection, flags, file, offset);
    if (view == MAP_FAILED || !Counted(file) || (protection & PROT_WRITE) == 0) return view;
    char room[PATH_MAX];
    static atomic_int next;
    struct View* const slot = &views[atomic_fetch_add(&next, 1) % MAX_VIEWS];
    snprintf(slot->path, sizeof slot->path, "%s", PathOf(file, NULL, room));
    slot->address = view;
    return view;
}
void* mmap64(void* address, size_t bytes, int protection, int flags, int file, off64_t offset) {
    return mmap(address, bytes, protection, flags, file, offset);
}
int msync(void* address, size_t bytes, int flags) {
    const char* path = NULL;
    for (int i = 0; i < MAX_VIEWS; ++i) {
        if (views[i].address == address) path = views[i].path;
    }
    const struct Kind* const fault = path == NULL ? NULL : Meet(kSync, path);
    if (fault != NULL && fault->error != 0) {
        errno = fault->error;
        return -1;
    }
    const int done = (int)syscall(SYS_msync, address, bytes, flags);
    if (done == 0 && path != NULL) KeepState(path);
    return done;
}

#define FAIL_PATH(call, at, path)                                                \
    char room[PATH_MAX];                                                         \
    const char* const whole = PathOf(at, path, room);                            \
    const struct Kind* const fault = InFolder(whole) ? Meet(call, whole) : NULL; \
    if (fault != NULL && fault->error != 0) {                                    \
        errno = fault->error;                                                    \
        return -1;                                                               \
    }

int renameat2(int from, const char* old, int to, const char* new, unsigned flags) {
    FAIL_PATH(kMove, from, old)
    return (int)syscall(SYS_renameat2, from, old, to, new, flags);
}
int renameat(int from, const char* old, int to, const char* new) {
    return renameat2(from, old, to, new, 0);
}
int rename(const char* old, const char* new) {
    return renameat2(AT_FDCWD, old, AT_FDCWD, new, 0);
}
int linkat(int from, const char* old, int to, const char* new, int flags) {
    FAIL_PATH(kMake, to, new)
    return (int)syscall(SYS_linkat, from, old, to, new, flags);
}
int link(const char* old, const char* new) {
    return linkat(AT_FDCWD, old, AT_FDCWD, new, 0);
}
int unlinkat(int at, const char* path, int flags) {
    FAIL_PATH(kRemove, at, path)
    return (int)syscall(SYS_unlinkat, at, path, flags);
}
int unlink(const char* path) {
    return unlinkat(AT_FDCWD, path, 0);
}
int rmdir(const char* path) {
    return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}
int remove(const char* path) {
    const int done = unlink(path);
    return done == -1 && errno == EISDIR ? rmdir(path) : done;
}
int mkdirat(int at, const char* path, mode_t mode) {
    FAIL_PATH(kMake, at, path)
    const int done = (int)syscall(SYS_mkdirat, at, path, mode);
    if (done == 0 && InFolder(whole)) KeepNumber(whole);
    return done;
}
int mkdir(const char* path, mode_t mode) {
    return mkdirat(AT_FDCWD, path, mode);
}

DIR* opendir(const char* path) {
    const struct Kind* const fault = InFolder(path) ? Meet(kList, path) : NULL;
    if (fault != NULL && fault->error != 0) {
        errno = fault->error;
        return NULL;
    }
    const int file =
        (int)syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    return file == -1 ? NULL : fdopendir(file);
}
