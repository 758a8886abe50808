// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/program.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include "orvix/platform/text.h"

namespace orvix::platform {
namespace {

UINT codePageBefore = 0;

void RestoreCodePage() {
    SetConsoleOutputCP(codePageBefore);
}

/// A console keeps its code page when the program ends: the user's own is put back.
void ShowUtf8() {
    codePageBefore = GetConsoleOutputCP();
    if (codePageBefore == 0 || codePageBefore == CP_UTF8) return;
    SetConsoleOutputCP(CP_UTF8);
    std::atexit(&RestoreCodePage);
}

/// A console takes each write by itself; without a buffer, one byte of a letter at a time.
void WriteWhole(std::FILE* stream) {
    constexpr std::size_t kRoom = 16'384;
    std::setvbuf(stream, nullptr, _IOFBF, kRoom);
}

void ObeyControlSequences(DWORD stream) {
    constexpr DWORD kProcessing = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const HANDLE console = GetStdHandle(stream);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode)) SetConsoleMode(console, mode | kProcessing);
}

}  // namespace

std::vector<std::string> ProgramArguments(int, const char* const*) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) arguments.push_back(ToUtf8(words[i]));
    LocalFree(words);
    return arguments;
}

void PrepareStandardStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    WriteWhole(stdout);
    WriteWhole(stderr);
    ShowUtf8();
    ObeyControlSequences(STD_OUTPUT_HANDLE);
    ObeyControlSequences(STD_ERROR_HANDLE);
}

}  // namespace orvix::platform
