// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/process.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <unistd.h>

extern char** environ;

namespace orvix::test {

namespace {

struct Pipe {
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    ~Pipe() {
        CloseWriter();
        ::close(ends[0]);
    }
    void CloseWriter() {
        if (ends[1] >= 0) ::close(ends[1]);
        ends[1] = -1;
    }
    std::array<int, 2> ends{};
};

pid_t Spawn(const std::vector<std::string>& arguments, const Pipe& output, const Pipe& errors) {
    std::vector<char*> words;
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.ends[1], STDERR_FILENO);
    pid_t child = 0;
    const int failure = ::posix_spawn(&child, words[0], &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot run " + arguments[0]);
    return child;
}

// False at the end of the stream.
bool ReadSome(int descriptor, std::string& into) {
    std::array<char, 4096> buffer;
    const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
    if (got > 0) into.append(buffer.data(), static_cast<std::size_t>(got));
    return got > 0;
}

int CodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& arguments,
                         const InterruptWhen& interruptWhen) {
    Pipe output, errors;
    const pid_t child = Spawn(arguments, output, errors);
    output.CloseWriter();
    errors.CloseWriter();
    ProcessResult result;
    std::array<pollfd, 2> watched{{{output.ends[0], POLLIN, 0}, {errors.ends[0], POLLIN, 0}}};
    for (bool interrupted = false; watched[0].fd >= 0 || watched[1].fd >= 0;) {
        ::poll(watched.data(), watched.size(), -1);
        const std::array<std::string*, 2> texts{&result.output, &result.errors};
        for (std::size_t i = 0; i < watched.size(); ++i)
            if (watched[i].revents != 0 && !ReadSome(watched[i].fd, *texts[i])) watched[i].fd = -1;
        if (!interrupted && interruptWhen && interruptWhen(result.errors)) {
            interrupted = true;
            ::kill(child, SIGINT);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    result.exitCode = CodeOf(status);
    return result;
}

void KillThisProcess() {
    ::raise(SIGKILL);
    std::abort();
}

std::size_t ThreadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

bool LimitFileSize(std::uint64_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, RLIM_INFINITY};
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

}  // namespace orvix::test
