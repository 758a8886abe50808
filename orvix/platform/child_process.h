// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// The path of the running program's own file.
CString ProgramPath();

/// A program that runs beside this one, what it says in files.
///
///     auto child = ChildProcess::Start({program, "info", "scan.prj"}, output, errors, error);
///     if (error) return FailSystem(error, program);
///     std::optional<int> code;
///     while (!(code = child.WaitFor(100))) if (stop) child.AskToEnd();
///
/// Boundaries words are UTF-8, the first one is the program's path; both files are made or emptied;
///            it reads nothing. It belongs to a group of its own, so that Ctrl-C in this program's
///            terminal is this program's to answer.
/// Errors     `error` is set where the program cannot be started; a program that a signal ended has the
///            code 128 + its number.
/// Lifetime   a program that still runs when its object dies goes on by itself.
/// Threads    any number may start programs; an object is used by one.
class ChildProcess {
public:
    static ChildProcess Start(const std::vector<std::string>& words, const CString& output,
                              const CString& errors, std::error_code& error);
    ChildProcess(ChildProcess&& other) noexcept
        : process_(std::exchange(other.process_, nullptr)) {}
    ChildProcess& operator=(ChildProcess&& other) noexcept {
        std::swap(process_, other.process_);
        return *this;
    }
    ~ChildProcess();

    /// Its exit code once it has ended; none where it still runs after so long.
    std::optional<int> WaitFor(unsigned milliseconds);
    /// Asks it to end in order, as the system does.
    void AskToEnd();

private:
    struct Process;
    explicit ChildProcess(Process* process) : process_(process) {}

    Process* process_ = nullptr;
};

}  // namespace orvix::platform
