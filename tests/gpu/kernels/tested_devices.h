// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "tests/support/compute_devices.h"

namespace orvix::test {

/// A way to run the kernels: besides the two interfaces as they are, devices that are made to round as
/// others might.
struct TestedWay {
    const char* name;
    platform::ComputeApi api;
    bool contract = false;
    const char* options = "-cl-std=CL1.2";
};

inline void PrintTo(const TestedWay& way, std::ostream* out) {
    *out << way.name;
}

inline constexpr TestedWay kEveryWay[] = {
    {"OpenCl", platform::ComputeApi::OpenCl},
    {"Fused", platform::ComputeApi::OpenCl, true, "-cl-std=CL1.2 -cl-mad-enable"},
    {"Relaxed", platform::ComputeApi::OpenCl, true, "-cl-std=CL1.2 -cl-fast-relaxed-math"},
    {"Flushed", platform::ComputeApi::OpenCl, false, "-cl-std=CL1.2 -cl-denorms-are-zero"},
    {"Direct3D11", platform::ComputeApi::Direct3D11},
};
inline constexpr std::span kTestedWays(kEveryWay, kHasDirect3d ? 5 : 4);

/// Each is opened once, at its first use.
inline const OpenedDevice& DeviceOf(const TestedWay& way) {
    static std::map<std::string, OpenedDevice> opened;
    const auto known = opened.find(way.name);
    if (known != opened.end()) return known->second;
    platform::ComputeDeviceOptions options = TestedOptions(way.api);
    options.contract = way.contract;
    options.openClOptions = way.options;
    return opened.emplace(way.name, OpenTested(options)).first->second;
}

class EachWay : public ::testing::TestWithParam<TestedWay> {
protected:
    void SetUp() override {
        const OpenedDevice& opened = DeviceOf(GetParam());
        ORVIX_NEEDS_DEVICE(opened, GetParam().api);
        device_ = opened->get();
    }

    /// Runs a kernel once over whole buffers; `out` words of each output, which begin as 0xEEEEEEEE.
    struct Outputs {
        std::vector<std::uint32_t> first;
        std::vector<std::uint32_t> second;
    };
    Outputs Run(std::size_t kernel, std::span<const float> positions,
                std::span<const std::uint32_t> numbers,
                std::span<const std::uint32_t, platform::kComputeParameters> words,
                std::uint32_t groups, std::size_t out) {
        Outputs outputs{std::vector<std::uint32_t>(out, 0xEEEEEEEE),
                        std::vector<std::uint32_t>(out, 0xEEEEEEEE)};
        const auto in0 = device_->CreateBuffer(positions.size_bytes());
        const auto in1 = device_->CreateBuffer(std::max<std::size_t>(numbers.size_bytes(), 4));
        const auto out0 = device_->CreateBuffer(out * 4);
        const auto out1 = device_->CreateBuffer(out * 4);
        const bool done =
            in0 && in1 && out0 && out1 && device_->Upload(*in0, 0, BytesOf(positions)) &&
            device_->Upload(*in1, 0, BytesOf(numbers)) &&
            device_->Upload(*out0, 0, BytesOf(std::span<const std::uint32_t>(outputs.first))) &&
            device_->Upload(*out1, 0, BytesOf(std::span<const std::uint32_t>(outputs.second))) &&
            device_->Launch(kernel, *in0, *in1, *out0, *out1, words, groups) &&
            device_->Download(*out0, 0, RoomOf(outputs.first)) &&
            device_->Download(*out1, 0, RoomOf(outputs.second));
        EXPECT_TRUE(done) << "the device failed";
        return outputs;
    }

    platform::ComputeDevice* device_ = nullptr;

private:
    template <class T>
    static std::span<const std::uint8_t> BytesOf(std::span<const T> values) {
        return {reinterpret_cast<const std::uint8_t*>(values.data()), values.size_bytes()};
    }
    static std::span<std::uint8_t> RoomOf(std::vector<std::uint32_t>& words) {
        return {reinterpret_cast<std::uint8_t*>(words.data()), words.size() * 4};
    }
};

inline std::uint32_t BitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}
inline float FloatOf(std::uint32_t bits) {
    return std::bit_cast<float>(bits);
}

/// The float `steps` places above `value` among the finite ones.
inline float Stepped(float value, int steps) {
    for (; steps > 0; --steps) value = std::nextafter(value, 3e38F);
    for (; steps < 0; ++steps) value = std::nextafter(value, -3e38F);
    return value;
}

}  // namespace orvix::test
