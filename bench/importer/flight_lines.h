// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "support/scans/laz_writer.h"

namespace orvix::bench {

template <class T>
void Put(std::uint8_t* bytes, T value) {
    std::memcpy(bytes, &value, sizeof(value));
}

/// Zigzag lines of pulses, some with two returns.
inline std::vector<std::uint8_t> FlightLines(std::uint8_t format, std::uint64_t points) {
    const std::size_t stride = test::LasRecordBytes(format);
    std::vector<std::uint8_t> records(points * stride);
    std::mt19937_64 random(1);
    double time = 3.5e5;
    int returns = 1;
    int number = 1;
    for (std::uint64_t i = 0; i < points; ++i) {
        if (++number > returns) {
            number = 1;
            returns = random() % 10 == 0 ? 2 : 1;
            time += 4e-6 * static_cast<double>(1 + random() % 2);
        }
        const double sweep = std::sin(static_cast<double>(i) / 1500);
        const bool roof = std::sin(static_cast<double>(i) / 400) > 0.6;
        std::uint8_t* record = records.data() + i * stride;
        const auto noise = [&] { return static_cast<std::int32_t>(random() % 31); };
        Put(record, static_cast<std::int32_t>(sweep * 250'000) + noise());
        Put(record + 4, static_cast<std::int32_t>(i / 8) + noise());
        Put(record + 8, (roof ? 9'000 : 1'000) + (number == 1 ? 0 : -2'500) + noise());
        Put(record + 12, static_cast<std::uint16_t>(600 + random() % 300));
        const std::uint8_t kind = roof ? 6 : 2;
        if (format < 6) {
            record[14] = static_cast<std::uint8_t>(number | returns << 3);
            record[15] = kind;
            record[16] = static_cast<std::uint8_t>(static_cast<int>(sweep * 20));
            Put(record + 20, time);
        } else {
            record[14] = static_cast<std::uint8_t>(number | returns << 4);
            record[16] = kind;
            Put(record + 18, static_cast<std::int16_t>(sweep * 3'300));
            Put(record + 22, time);
        }
    }
    return records;
}

}  // namespace orvix::bench
