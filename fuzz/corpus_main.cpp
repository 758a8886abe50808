// SPDX-License-Identifier: GPL-3.0-or-later
// fuzz_FORMAT FOLDER [TRUNCATIONS CHANGES]
//
// Runs a fuzz target without a fuzzer: every file of a corpus folder, every truncation of it (or
// TRUNCATIONS of them, evenly spread), and CHANGES (default 500) spoilt copies of each, the same
// ones in every run.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint64_t NextRandom(std::uint64_t& state) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return state >> 33;
}

/// Up to four faults: a bit, a byte that is often a limit, a run of one value, a doubled or a
/// lost stretch.
Bytes Spoil(Bytes bytes, std::uint64_t& state) {
    constexpr std::array<std::uint8_t, 8> kEdgeBytes = {0, 1, 0x7F, 0x80, 0xFE, 0xFF, '\n', '-'};
    for (std::uint64_t faults = 1 + NextRandom(state) % 4; faults > 0 && !bytes.empty(); --faults) {
        const auto at = static_cast<std::ptrdiff_t>(NextRandom(state) % bytes.size());
        const auto left = static_cast<std::ptrdiff_t>(bytes.size()) - at;
        const auto run = std::min(static_cast<std::ptrdiff_t>(NextRandom(state) % 9), left);
        const auto spot = bytes.begin() + at;
        const std::uint8_t edge = kEdgeBytes[NextRandom(state) % kEdgeBytes.size()];
        switch (NextRandom(state) % 5) {
            case 0:
                *spot = static_cast<std::uint8_t>(*spot ^ (1u << (NextRandom(state) % 8)));
                break;
            case 1:
                *spot = edge;
                break;
            case 2:
                std::fill(spot, spot + run, edge);
                break;
            case 3: {
                const Bytes copy(spot, spot + run);
                bytes.insert(spot, copy.begin(), copy.end());
                break;
            }
            default:
                bytes.erase(spot, spot + run);
                break;
        }
    }
    return bytes;
}

void Run(const Bytes& bytes) {
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int count, char** values) {
    if (count < 2) {
        std::fputs("fuzz_FORMAT FOLDER [TRUNCATIONS CHANGES]\n", stderr);
        return 2;
    }
    const std::filesystem::path folder(values[1]);
    const std::size_t truncations = count > 2 ? std::strtoul(values[2], nullptr, 10) : SIZE_MAX;
    const unsigned long changes = count > 3 ? std::strtoul(values[3], nullptr, 10) : 500;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    std::uint64_t state = 1;
    std::size_t runs = 0;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        Run(bytes);
        const std::size_t step = 1 + bytes.size() / std::max<std::size_t>(truncations, 1);
        for (std::size_t size = 0; size < bytes.size(); size += step, ++runs) {
            Run(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
        }
        for (unsigned long i = 0; i < changes; ++i, ++runs) Run(Spoil(bytes, state));
    }
    std::printf("%zu files, and %zu truncations and changes of them\n", paths.size(), runs);
    return paths.empty() ? 1 : 0;
}
