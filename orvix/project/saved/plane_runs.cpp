// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/plane_runs.h"

namespace orvix::detail {
namespace {

constexpr std::uint32_t kMore = 0x80;
constexpr unsigned kBits = 7;
constexpr unsigned kLastShift = 28;  // of the fifth byte, which holds four bits

void Put(std::uint32_t value, std::vector<std::uint8_t>& bytes) {
    for (; value >= kMore; value >>= kBits)
        bytes.push_back(static_cast<std::uint8_t>(value | kMore));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

// A number in its shortest form, below 2^32.
bool Take(std::span<const std::uint8_t>& bytes, std::uint32_t& value) {
    value = 0;
    for (unsigned shift = 0; shift <= kLastShift; shift += kBits) {
        if (bytes.empty()) return false;
        const std::uint32_t byte = bytes.front();
        bytes = bytes.subspan(1);
        if (shift == kLastShift && byte > 0x0F) return false;
        value |= (byte & (kMore - 1)) << shift;
        if (byte < kMore) return byte != 0 || shift == 0;
    }
    return false;
}

}  // namespace

std::vector<PlaneRun> RunsOf(std::span<const std::int32_t> planes) {
    std::vector<PlaneRun> runs;
    for (const std::int32_t plane : planes) {
        if (runs.empty() || runs.back().plane != plane) runs.push_back({plane, 0});
        ++runs.back().count;
    }
    return runs;
}

void EncodeRuns(std::span<const PlaneRun> runs, std::vector<std::uint8_t>& bytes) {
    for (const PlaneRun& run : runs) {
        Put(static_cast<std::uint32_t>(run.plane + 1), bytes);
        Put(run.count, bytes);
    }
}

bool DecodeRuns(std::span<const std::uint8_t> bytes, std::size_t planes, std::uint32_t count,
                std::vector<PlaneRun>& runs) {
    runs.clear();
    while (count > 0) {
        std::uint32_t plane = 0;
        PlaneRun run;
        if (!Take(bytes, plane) || plane > planes) return false;
        if (!Take(bytes, run.count) || run.count == 0 || run.count > count) return false;
        run.plane = static_cast<std::int32_t>(plane) - 1;
        if (!runs.empty() && runs.back().plane == run.plane) return false;
        count -= run.count;
        runs.push_back(run);
    }
    return bytes.empty();
}

}  // namespace orvix::detail
