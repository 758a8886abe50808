// SPDX-License-Identifier: GPL-3.0-or-later
// lost_page_victim FILE: ends as a program does that loses a page of FILE while it reads it.
// lost_page_victim: the same of memory that is no file's; ends with 7 where others are asked then.
#include <windows.h>

#include <array>
#include <cstdlib>
#include <memory>

#include "orvix/platform/lost_pages.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/program.h"
#include "orvix/platform/text.h"
#include "orvix/platform/unfinished_file.h"

namespace {

using namespace orvix;

// As the memory manager words it: read or written, where, and why not.
void RaiseLostPage(const void* address) {
    const std::array<ULONG_PTR, 3> about = {0, reinterpret_cast<ULONG_PTR>(address),
                                            0xC000020C};  // the network is gone
    RaiseException(static_cast<DWORD>(EXCEPTION_IN_PAGE_ERROR), 0, static_cast<DWORD>(about.size()),
                   about.data());
}

void LoseMappedPage(const CString& path) {
    std::error_code error;
    const platform::UnfinishedFile half(path + L".half", L".part", error);
    const platform::MappedFile mapped = platform::MappedFile::Open(path, error);
    if (!error) RaiseLostPage(mapped.Data() + 300'000);
}

LONG CALLBACK EndWithSeven(EXCEPTION_POINTERS* about) {
    if (about->ExceptionRecord->ExceptionCode == EXCEPTION_IN_PAGE_ERROR) std::_Exit(7);
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

int main(int argc, char** argv) {
    const auto words = platform::ProgramArguments(argc, argv);
    platform::EndOnLostPages({"walk: ", " is gone\n", "{\"file\": \"", "\"}\n", 5});
    if (words.size() > 1) {
        LoseMappedPage(platform::FromUtf8(words[1]));
    } else {
        AddVectoredExceptionHandler(0, &EndWithSeven);
        // The program's own data lie in a mapped file too: its own.
        const auto own = std::make_unique<int>(0);
        RaiseLostPage(own.get());
    }
    return 9;
}
