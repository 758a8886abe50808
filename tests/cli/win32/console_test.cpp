// SPDX-License-Identifier: GPL-3.0-or-later
// What a user of a console sees: every script, whatever code page the console is in.
#include <gtest/gtest.h>

#include "orvix/platform/text.h"
#include "tests/cli/command_runner.h"
#include "tests/support/win32/child_process.h"

namespace orvix::test {
namespace {

constexpr SHORT kColumns = 120;
constexpr SHORT kRows = 50;

/// A console's screen of its own, which programs can be given as their output.
class Screen {
public:
    Screen() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        buffer_ = CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                            CONSOLE_TEXTMODE_BUFFER, nullptr);
        SetConsoleScreenBufferSize(buffer_, {kColumns, kRows});
    }
    ~Screen() { CloseHandle(buffer_); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[nodiscard]] HANDLE Get() const { return buffer_; }
    [[nodiscard]] CString Text() const {
        CString text(std::size_t{kColumns} * kRows, L' ');
        DWORD read = 0;
        ReadConsoleOutputCharacterW(buffer_, text.data(), static_cast<DWORD>(text.size()), {0, 0},
                                    &read);
        return text;
    }

private:
    HANDLE buffer_;
};

TEST(Console, ShowsNamesInAnyScriptAndKeepsItsCodePage) {
    if (!HaveOwnConsole()) GTEST_SKIP() << "no console to write to";
    constexpr UINT kWesternDos = 850;
    const UINT before = GetConsoleOutputCP();
    SetConsoleOutputCP(kWesternDos);
    const Screen screen;
    const std::vector<std::string> arguments{ORVIX_COMMAND, "info",
                                             platform::ToUtf8(L"Größe файл.prj")};
    EXPECT_NE(ExitCodeOf(Spawn(arguments, screen.Get(), screen.Get())), 0);
    const CString text = screen.Text();
    EXPECT_NE(text.find(L"Größe файл.prj"), CString::npos) << platform::ToUtf8(text);
    EXPECT_EQ(GetConsoleOutputCP(), kWesternDos);
    SetConsoleOutputCP(before);
}

}  // namespace
}  // namespace orvix::test
