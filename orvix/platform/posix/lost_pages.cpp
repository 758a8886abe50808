// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/lost_pages.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include "orvix/platform/lost_page_texts.h"
#include "orvix/platform/unfinished_file.h"

namespace orvix::platform {
namespace {

using detail::FixedText;

constinit detail::LostPageTexts texts;
constinit FixedText name;
constinit FixedText line;
constinit std::atomic_flag ending;

/// Reads /proc/self/maps byte by byte, with system calls alone.
class MapsReader {
public:
    MapsReader() : descriptor_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    ~MapsReader() {
        if (descriptor_ != -1) close(descriptor_);
    }
    /// False at the end.
    bool Next(char& c) {
        if (at_ == held_) {
            held_ = descriptor_ == -1 ? 0 : read(descriptor_, bytes_.data(), bytes_.size());
            at_ = 0;
            if (held_ <= 0) return false;
        }
        c = bytes_[static_cast<std::size_t>(at_++)];
        return true;
    }

private:
    int descriptor_;
    std::array<char, 4096> bytes_{};
    ssize_t held_ = 0;
    ssize_t at_ = 0;
};

/// A number in hexadecimal digits, and the character that ended it.
bool ReadAddress(MapsReader& maps, std::uintptr_t& value, char& last) {
    value = 0;
    while (maps.Next(last)) {
        const bool digit = last >= '0' && last <= '9';
        if (!digit && !(last >= 'a' && last <= 'f')) return true;
        value = value * 16 + static_cast<std::uintptr_t>(digit ? last - '0' : last - 'a' + 10);
    }
    return false;
}

/// The file's name follows four more words; lines without a file have none.
void ReadName(MapsReader& maps, FixedText& text) {
    text.Assign({});
    int words = 0;
    char before = ' ';
    for (char c = ' '; maps.Next(c) && c != '\n'; before = c) {
        if (words < 4 && c == ' ' && before != ' ') ++words;
        if (words == 4 && (c != ' ' || !text.View().empty())) text.Add(c);
    }
}

/// The file that is mapped at `address`; false where there is none.
bool FindFile(std::uintptr_t address, FixedText& text) {
    MapsReader maps;
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    for (char last = ' '; ReadAddress(maps, begin, last) && ReadAddress(maps, end, last);) {
        ReadName(maps, text);
        if (address < begin || address >= end) continue;
        constexpr std::string_view kGone = " (deleted)";
        std::string_view path = text.View();
        if (path.ends_with(kGone)) path.remove_suffix(kGone.size());
        text.Assign(path);
        return path.starts_with('/');
    }
    return false;
}

void WriteAll(int stream, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(stream, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace

extern "C" {
static void OrvixOnLostPage(int signal, siginfo_t* about, void*) {
    while (ending.test_and_set()) pause();  // another thread is at it, and ends them all
    // Who was sent the signal by a program has no address.
    if (about->si_code <= 0 || !FindFile(reinterpret_cast<std::uintptr_t>(about->si_addr), name)) {
        std::signal(signal, SIG_DFL);  // and meets the fault again
        return;
    }
    texts.Sentence(name.View(), line);
    WriteAll(STDERR_FILENO, line.View());
    texts.Json(name.View(), line);
    WriteAll(STDOUT_FILENO, line.View());
    RemoveUnfinishedFiles();
    _exit(texts.exitCode);
}
}

void EndOnLostPages(const LostPageEnd& end) {
    texts.Keep(end);
    struct sigaction action {};
    action.sa_sigaction = OrvixOnLostPage;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, nullptr);
}

}  // namespace orvix::platform
