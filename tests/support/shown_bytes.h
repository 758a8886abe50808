// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orvix::test {

/// Appends the bytes of a line of docs/FORMAT.md's examples: their offset, the bytes, "|" and words.
inline void AddHexLine(const std::string& line, std::vector<std::uint8_t>& bytes) {
    std::istringstream words(line.substr(0, line.find('|')));
    std::string word;
    words >> word;
    EXPECT_EQ(std::stoul(word, nullptr, 16), bytes.size()) << line;
    while (words >> word) bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
}

/// The bytes of one file that a document shows under "```hex NAME".
inline std::vector<std::uint8_t> HexShown(const char* document, const std::string& name) {
    std::ifstream file(document);
    std::vector<std::uint8_t> shown;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```"))
            inside = line == "```hex " + name;
        else if (inside)
            AddHexLine(line, shown);
    }
    return shown;
}

}  // namespace orvix::test
