// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/building_words.h"

#include <array>

namespace orvix::building {

const char* WordOf(OpeningKind kind) {
    return std::array{"door", "window", "hole"}.at(static_cast<std::size_t>(kind));
}

const char* WordOf(OpeningState state) {
    return std::array{"free", "open", "closed", "unknown"}.at(static_cast<std::size_t>(state));
}

const char* WordOf(BoundKind kind) {
    return std::array{"floor", "ceiling", "wall"}.at(static_cast<std::size_t>(kind));
}

const char* WordOf(RoofEdgeKind kind) {
    return std::array{"ridge", "hip", "valley"}.at(static_cast<std::size_t>(kind));
}

std::vector<std::string> WordsOf(std::uint32_t inferred) {
    static constexpr std::array kWords{"other side",   "hidden part",   "free end",
                                       "floor level",  "ceiling level", "open bound",
                                       "kind by size", "squared"};
    std::vector<std::string> words;
    for (std::size_t bit = 0; bit < kWords.size(); ++bit)
        if ((inferred >> bit & 1U) != 0) words.emplace_back(kWords[bit]);
    return words;
}

}  // namespace orvix::building
