// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/lost_pages.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <psapi.h>
#include <string_view>

#include "orvix/platform/lost_page_texts.h"

namespace orvix::platform {
namespace {

using detail::FixedText;

constinit detail::LostPageTexts texts;
constinit FixedText line;
constinit std::array<wchar_t, 4096> wideName{};
constinit std::array<char, 3 * 4096> name{};
constinit std::atomic_flag ending;

/// The file that is mapped at `address`, as the system's devices name it; empty where there is none.
std::string_view FindFile(void* address) {
    const DWORD units = K32GetMappedFileNameW(GetCurrentProcess(), address, wideName.data(),
                                              static_cast<DWORD>(wideName.size()));
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, wideName.data(), static_cast<int>(units), name.data(),
                            static_cast<int>(name.size()), nullptr, nullptr);
    return {name.data(), bytes > 0 ? static_cast<std::size_t>(bytes) : 0};
}

void WriteAll(DWORD stream, std::string_view text) {
    DWORD written = 0;
    if (!text.empty())
        WriteFile(GetStdHandle(stream), text.data(), static_cast<DWORD>(text.size()), &written,
                  nullptr);
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* about) {
    const EXCEPTION_RECORD& record = *about->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_IN_PAGE_ERROR || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::string_view file = FindFile(reinterpret_cast<void*>(record.ExceptionInformation[1]));
    if (file.empty()) return EXCEPTION_CONTINUE_SEARCH;
    while (ending.test_and_set()) Sleep(INFINITE);  // another thread is at it, and ends them all
    texts.Sentence(file, line);
    WriteAll(STD_ERROR_HANDLE, line.View());
    texts.Json(file, line);
    WriteAll(STD_OUTPUT_HANDLE, line.View());
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(texts.exitCode));
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void EndOnLostPages(const LostPageEnd& end) {
    static const bool watching = [] {
        return AddVectoredExceptionHandler(1, &OnException) != nullptr;
    }();
    static_cast<void>(watching);
    texts.Keep(end);
}

}  // namespace orvix::platform
