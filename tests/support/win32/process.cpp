// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/process.h"

#include <array>
#include <stdexcept>
#include <string>
#include <thread>

#include "orvix/platform/text.h"
#include "tests/support/win32/child_process.h"

// After windows.h, which the header above includes.
#include <tlhelp32.h>

namespace orvix::test {

namespace {

struct Pipe {
    Pipe() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        if (!CreatePipe(&reader, &writer, &inherited, 0)) throw std::runtime_error("no pipe");
        SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
    }
    ~Pipe() {
        CloseWriter();
        CloseHandle(reader);
    }
    void CloseWriter() {
        if (writer != nullptr) CloseHandle(writer);
        writer = nullptr;
    }
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
};

/// A word as the program's own runtime takes it apart again.
std::wstring Quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) return word;
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

BOOL WINAPI HeedNothing(DWORD) {
    return TRUE;
}

}  // namespace

bool HaveOwnConsole() {
    static const bool have = [] {
        FreeConsole();
        // Interrupts are meant for the others.
        return AllocConsole() && SetConsoleCtrlHandler(&HeedNothing, TRUE);
    }();
    return have;
}

PROCESS_INFORMATION Spawn(const std::vector<std::string>& arguments, HANDLE output, HANDLE errors) {
    std::wstring line;
    for (const std::string& argument : arguments) {
        line += (line.empty() ? L"" : L" ") + Quoted(platform::FromUtf8(argument));
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = errors;
    PROCESS_INFORMATION child{};
    DWORD failure = ERROR_SUCCESS;
    // Under wine one start in some ten thousand fails, of a program that starts the next time.
    for (const DWORD pause : {0, 200, 1000, 5000}) {
        Sleep(pause);
        std::wstring words = line;  // the call writes into it
        const BOOL started = CreateProcessW(nullptr, words.data(), nullptr, nullptr, TRUE, 0,
                                            nullptr, nullptr, &startup, &child);
        failure = started ? ERROR_SUCCESS : GetLastError();
        if (started || failure == ERROR_FILE_NOT_FOUND || failure == ERROR_PATH_NOT_FOUND) break;
    }
    if (failure != ERROR_SUCCESS) {
        throw std::runtime_error("cannot run " + arguments[0] + ": error " +
                                 std::to_string(failure));
    }
    CloseHandle(child.hThread);
    return child;
}

int ExitCodeOf(const PROCESS_INFORMATION& child) {
    WaitForSingleObject(child.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    CloseHandle(child.hProcess);
    return static_cast<int>(code);
}

namespace {

// False at the end of the stream.
bool ReadSome(HANDLE pipe, std::string& into) {
    std::array<char, 4096> buffer;
    DWORD got = 0;
    const BOOL read = ReadFile(pipe, buffer.data(), buffer.size(), &got, nullptr);
    into.append(buffer.data(), got);
    return read && got != 0;
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& arguments,
                         const InterruptWhen& interruptWhen) {
    Pipe output, errors;
    // A console that both share, and nobody else, is the way of an interrupt.
    const bool interruptible = interruptWhen && HaveOwnConsole();
    const PROCESS_INFORMATION child = Spawn(arguments, output.writer, errors.writer);
    output.CloseWriter();
    errors.CloseWriter();
    ProcessResult result;
    std::thread outputReader([&] {
        while (ReadSome(output.reader, result.output)) {
        }
    });
    bool interrupted = false;
    while (ReadSome(errors.reader, result.errors)) {
        if (interrupted || !interruptWhen || !interruptWhen(result.errors)) continue;
        interrupted = true;
        result.interruptRefused = !interruptible || !GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    }
    outputReader.join();
    result.exitCode = ExitCodeOf(child);
    return result;
}

void KillThisProcess() {
    TerminateProcess(GetCurrentProcess(), kKilled);
    for (;;) Sleep(INFINITE);
}

std::size_t ThreadCount() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    std::size_t own = 0;
    for (BOOL more = Thread32First(all, &thread); more != FALSE; more = Thread32Next(all, &thread))
        if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++own;
    CloseHandle(all);
    return own;
}

bool LimitFileSize(std::uint64_t) {
    return false;
}

}  // namespace orvix::test
