// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/child_process.h"

#include <windows.h>

#include <array>

namespace orvix::platform {

struct ChildProcess::Process {
    HANDLE handle = nullptr;
    DWORD id = 0;
};

namespace {

// A word as a program's runtime takes it apart again.
std::wstring Quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring::npos) return word;
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

/// A file that the program inherits, closed here afterwards.
struct Inherited {
    HANDLE handle;
    Inherited(const wchar_t* path, DWORD access, DWORD disposition) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        handle = CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             &inherited, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    ~Inherited() {
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    }
};

std::error_code LastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

/// The three handles and no others: several threads start programs at a time.
struct HandleList {
    std::vector<char> bytes;
    LPPROC_THREAD_ATTRIBUTE_LIST list = nullptr;
    explicit HandleList(std::array<HANDLE, 3>& handles) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes.resize(size);
        list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes.data());
        InitializeProcThreadAttributeList(list, 1, 0, &size);
        UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                  sizeof handles, nullptr, nullptr);
    }
    ~HandleList() { DeleteProcThreadAttributeList(list); }
};

}  // namespace

CString ProgramPath() {
    std::array<wchar_t, 32'768> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), path.size());
    return {path.data(), length};
}

ChildProcess ChildProcess::Start(const std::vector<std::string>& words, const CString& output,
                                 const CString& errors, std::error_code& error) {
    const Inherited in(L"NUL", GENERIC_READ, OPEN_EXISTING);
    const Inherited out(output.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
    if (out.handle == INVALID_HANDLE_VALUE) error = LastError();
    const Inherited err(errors.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
    if (err.handle == INVALID_HANDLE_VALUE) error = LastError();
    if (error) return ChildProcess(nullptr);
    std::wstring line;
    for (const std::string& word : words)
        line += (line.empty() ? L"" : L" ") + Quoted(FromUtf8(word));
    std::array<HANDLE, 3> handles{in.handle, out.handle, err.handle};
    const HandleList inherited(handles);
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = in.handle;
    startup.StartupInfo.hStdOutput = out.handle;
    startup.StartupInfo.hStdError = err.handle;
    startup.lpAttributeList = inherited.list;
    PROCESS_INFORMATION child{};
    if (!CreateProcessW(FromUtf8(words[0]).c_str(), line.data(), nullptr, nullptr, TRUE,
                        CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                        &startup.StartupInfo, &child)) {
        error = LastError();
        return ChildProcess(nullptr);
    }
    error.clear();
    CloseHandle(child.hThread);
    return ChildProcess(new Process{child.hProcess, child.dwProcessId});
}

std::optional<int> ChildProcess::WaitFor(unsigned milliseconds) {
    if (WaitForSingleObject(process_->handle, milliseconds) != WAIT_OBJECT_0) return std::nullopt;
    DWORD code = 0;
    GetExitCodeProcess(process_->handle, &code);
    return static_cast<int>(code);
}

// Goes through the console; without one the program runs on to its end.
void ChildProcess::AskToEnd() {
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, process_->id);
}

ChildProcess::~ChildProcess() {
    if (process_ == nullptr) return;
    CloseHandle(process_->handle);
    delete process_;
}

}  // namespace orvix::platform
