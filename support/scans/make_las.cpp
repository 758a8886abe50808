// SPDX-License-Identifier: GPL-3.0-or-later
// make_las OUT.las POINTS [--format 0..10] [--order scan|random] [--seed N]
//
// Writes a LAS file of a building, three storeys of rooms with floors, ceilings, walls and a few
// millimetres of noise, for measurements: as many points as wanted in seconds, the same bytes
// for the same arguments everywhere. "scan" visits room after room, "random" jumps about.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/scans/las_writer.h"

namespace {

using orvix::test::LasLayout;
using orvix::test::LasPoint;

struct Arguments {
    std::string output;
    std::uint64_t points = 0;
    std::uint64_t seed = 1;
    bool random = false;
    LasLayout layout{.minorVersion = 4, .pointFormat = 7, .offset = {85'000, 447'500, 0}};
};

/// SplitMix64: number i of a stream without the numbers before it.
std::uint64_t Mixed(std::uint64_t i) {
    i = (i + 1) * 0x9E3779B97F4A7C15u;
    i = (i ^ (i >> 30)) * 0xBF58476D1CE4E5B9u;
    i = (i ^ (i >> 27)) * 0x94D049BB133111EBu;
    return i ^ (i >> 31);
}

constexpr std::uint64_t kRoomsX = 12;
constexpr std::uint64_t kRoomsY = 8;
constexpr std::uint64_t kStoreys = 3;
constexpr std::uint64_t kRooms = kRoomsX * kRoomsY * kStoreys;
constexpr double kRoomSize[3] = {6.2, 5.1, 3.3};

LasPoint PointOf(const Arguments& arguments, std::uint64_t i) {
    const std::uint64_t a = Mixed(arguments.seed * 0x100000001u + 2 * i);
    const std::uint64_t b = Mixed(arguments.seed * 0x100000001u + 2 * i + 1);
    const std::uint64_t room =
        arguments.random ? b % kRooms
                         : static_cast<std::uint64_t>(static_cast<double>(i) /
                                                      static_cast<double>(arguments.points) *
                                                      static_cast<double>(kRooms));
    const double u = static_cast<double>(a & 0xFFFFFF) / 0x1000000;
    const double v = static_cast<double>((a >> 24) & 0xFFFFFF) / 0x1000000;
    const double noise = (static_cast<double>((b >> 32) & 0xFFFF) / 0x10000 - 0.5) * 0.006;
    const auto surface = static_cast<unsigned>(a >> 48) % 6;  // two a direction
    double local[3];
    const unsigned normal = surface / 2;
    local[normal] = (surface % 2 == 0 ? 0.1 : kRoomSize[normal] - 0.1) + noise;
    local[(normal + 1) % 3] = 0.1 + u * (kRoomSize[(normal + 1) % 3] - 0.2);
    local[(normal + 2) % 3] = 0.1 + v * (kRoomSize[(normal + 2) % 3] - 0.2);
    const std::uint64_t cell[3] = {room % kRoomsX, room / kRoomsX % kRoomsY,
                                   room / (kRoomsX * kRoomsY)};
    std::int32_t stored[3];
    for (unsigned axis = 0; axis < 3; ++axis) {
        const double at = static_cast<double>(cell[axis]) * kRoomSize[axis] + local[axis];
        stored[axis] = static_cast<std::int32_t>(std::lround(at * 1000));
    }
    LasPoint point{stored[0], stored[1], stored[2]};
    point.intensity = static_cast<std::uint16_t>(b >> 48);
    point.classification = static_cast<std::uint8_t>(normal == 2 ? 2 : 6);
    point.red = static_cast<std::uint16_t>(surface * 9000 + ((b >> 16) & 0x1FFF));
    point.green = static_cast<std::uint16_t>(cell[2] * 20'000 + ((b >> 16) & 0x1FFF));
    point.blue = static_cast<std::uint16_t>(0x4000 + ((b >> 16) & 0x1FFF));
    return point;
}

bool Parse(int count, char** values, Arguments& arguments) {
    if (count < 3) return false;
    arguments.output = values[1];
    arguments.points = std::strtoull(values[2], nullptr, 10);
    for (int i = 3; i + 1 < count; i += 2) {
        const std::string name = values[i];
        const std::string value = values[i + 1];
        if (name == "--format") {
            const unsigned long format = std::strtoul(value.c_str(), nullptr, 10);
            if (format > 10) return false;
            arguments.layout.pointFormat = static_cast<std::uint8_t>(format);
        } else if (name == "--order") {
            arguments.random = value == "random";
        } else if (name == "--seed") {
            arguments.seed = std::strtoull(value.c_str(), nullptr, 10);
        } else {
            return false;
        }
    }
    return count % 2 == 1;
}

}  // namespace

int main(int count, char** values) {
    Arguments arguments;
    if (!Parse(count, values, arguments)) {
        std::fputs("make_las OUT.las POINTS [--format 0..10] [--order scan|random] [--seed N]\n",
                   stderr);
        return 2;
    }
    constexpr std::size_t kBlockBytes = 4u << 20;
    std::ofstream file(arguments.output, std::ios::binary | std::ios::trunc);
    std::vector<std::uint8_t> block = orvix::test::LasHeaderOf(arguments.layout, arguments.points);
    for (std::uint64_t i = 0; i <= arguments.points; ++i) {
        if (i == arguments.points || block.size() > kBlockBytes) {
            file.write(reinterpret_cast<const char*>(block.data()),
                       static_cast<std::streamsize>(block.size()));
            block.clear();
        }
        if (i < arguments.points) AppendLasPoint(arguments.layout, PointOf(arguments, i), block);
    }
    file.close();
    if (!file) std::fprintf(stderr, "%s cannot be written\n", arguments.output.c_str());
    return file ? 0 : 1;
}
