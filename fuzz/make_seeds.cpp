// SPDX-License-Identifier: GPL-3.0-or-later
// make_seeds CORPUS TARGET ...: writes what the files of the small project hold as the first inputs
// of the targets that replace them, CORPUS/TARGET/NUMBER.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fuzz/small_project.h"

int main(int count, char** values) {
    if (count < 3) {
        std::fputs("make_seeds CORPUS TARGET ...\n", stderr);
        return 2;
    }
    const orvix::fuzz::SmallProject project;
    for (int i = 2; i < count; ++i) {
        const auto folder = std::filesystem::path(values[1]) / values[i];
        std::filesystem::create_directories(folder);
        const auto files = project.FilesOf(values[i]);
        for (std::size_t which = 0; which < files.size(); ++which) {
            const auto bytes = orvix::test::ReadBytes(files[which]);
            std::ofstream seed(folder / std::to_string(which), std::ios::binary);
            if (files.size() > 1) seed.put(static_cast<char>(which));
            seed.write(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::streamsize>(bytes.size()));
        }
    }
    return 0;
}
