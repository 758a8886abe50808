// SPDX-License-Identifier: GPL-3.0-or-later
// A host that goes to the folder of its first argument and prints the text of its second.
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "orvix/platform/utility_lib.h"

int main(int argc, char** argv) {
    if (argc != 3 || chdir(argv[1]) != 0) return 2;
    orvix::UtilityLib::OverrideLocale(0x409);
    const wchar_t* const text =
        orvix::UtilityLib::LocaleString(static_cast<unsigned>(std::atoi(argv[2])));
    return std::printf("%ls\n", text) > 0 ? 0 : 1;
}
