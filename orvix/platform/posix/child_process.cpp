// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/child_process.h"

#include <sys/wait.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace orvix::platform {

struct ChildProcess::Process {
    pid_t id = 0;
    std::optional<int> code;
};

namespace {

constexpr unsigned kStep = 10;  // milliseconds between two looks

struct FileActions {
    posix_spawn_file_actions_t list;
    FileActions() { ::posix_spawn_file_actions_init(&list); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&list); }
};

struct Attributes {
    posix_spawnattr_t list;
    Attributes() { ::posix_spawnattr_init(&list); }
    ~Attributes() { ::posix_spawnattr_destroy(&list); }
};

// A group of its own, no signal held back, and those that a program begins with.
void SetUp(posix_spawnattr_t& attributes) {
    sigset_t none, usual;
    ::sigemptyset(&none);
    ::sigemptyset(&usual);
    for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::sigaddset(&usual, each);
    ::posix_spawnattr_setpgroup(&attributes, 0);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

}  // namespace

CString ProgramPath() {
    std::array<char, 4096> path;
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? FromUtf8(std::string(path.data(), static_cast<std::size_t>(length)))
                      : CString();
}

ChildProcess ChildProcess::Start(const std::vector<std::string>& words, const CString& output,
                                 const CString& errors, std::error_code& error) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    FileActions files;
    constexpr int kNew = O_WRONLY | O_CREAT | O_TRUNC;
    ::posix_spawn_file_actions_addopen(&files.list, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files.list, STDOUT_FILENO, ToUtf8(output).c_str(), kNew,
                                       0666);
    ::posix_spawn_file_actions_addopen(&files.list, STDERR_FILENO, ToUtf8(errors).c_str(), kNew,
                                       0666);
    Attributes attributes;
    SetUp(attributes.list);
    pid_t id = 0;
    const int failure =
        ::posix_spawn(&id, arguments[0], &files.list, &attributes.list, arguments.data(), environ);
    error = std::error_code(failure, std::generic_category());
    return ChildProcess(failure == 0 ? new Process{id, {}} : nullptr);
}

// Without a thread or a signal handler of our own: a look now and then.
std::optional<int> ChildProcess::WaitFor(unsigned milliseconds) {
    for (unsigned waited = 0; !process_->code; waited += kStep) {
        int status = 0;
        const pid_t ended = ::waitpid(process_->id, &status, WNOHANG);
        if (ended == process_->id)
            process_->code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (ended < 0) process_->code = -1;  // somebody else has taken its code
        if (process_->code || waited >= milliseconds) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(kStep));
    }
    return process_->code;
}

void ChildProcess::AskToEnd() {
    if (!process_->code) ::kill(process_->id, SIGTERM);
}

ChildProcess::~ChildProcess() {
    delete process_;
}

}  // namespace orvix::platform
