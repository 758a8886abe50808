// SPDX-License-Identifier: GPL-3.0-or-later
// word_sayer WORD...: says its words, <each> in these marks, and something on standard error. The last word
// is its exit code, or "sleep".
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "orvix/platform/program.h"

int main(int argc, char** argv) {
    orvix::platform::PrepareStandardStreams();
    const std::vector<std::string> words = orvix::platform::ProgramArguments(argc, argv);
    for (std::size_t i = 1; i < words.size(); ++i) std::printf("<%s>", words[i].c_str());
    std::fputs("an error", stderr);
    std::fflush(stdout);
    std::fflush(stderr);
    if (words.back() != "sleep") return std::atoi(words.back().c_str());
    std::this_thread::sleep_for(std::chrono::seconds(5));
    return 0;
}
