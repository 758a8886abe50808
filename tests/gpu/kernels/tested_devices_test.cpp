// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/gpu/kernels/tested_devices.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/dice.h"

namespace orvix::test {
namespace {

constexpr char kProbe[] = R"(
#ifndef CONTRACT
#pragma OPENCL FP_CONTRACT OFF
#endif
typedef struct { uint word[32]; } Words;
__kernel __attribute__((reqd_work_group_size(256, 1, 1))) void probe(
    __global const uint* In0, __global const uint* In1, __global uint* Out0, __global uint* Out1,
    Words Par) {
    uint item = get_global_id(0);
    float x = as_float(In0[3 * item]), y = as_float(In0[3 * item + 1]);
    Out0[item] = as_uint(x * y + as_float(In0[3 * item + 2]));
})";

/// How many of 2,560 sums x y + z come out otherwise than on the processor; -1 without a device.
int SumsThatDiffer(const TestedWay& way) {
    platform::ComputeDeviceOptions options = TestedOptions(way.api);
    options.contract = way.contract;
    options.openClOptions = way.options;
    const platform::ComputeKernel kernel{"probe", {}};
    const auto device = platform::OpenComputeDevice({kProbe, {&kernel, 1}}, options);
    if (!device) return -1;
    constexpr std::size_t kCount = 2560;
    std::uint64_t seed = 31;
    Dice dice(seed);
    std::vector<float> values(kCount * 3);
    for (float& value : values) value = static_cast<float>(dice.Share() - 0.5);
    std::vector<float> sums(kCount);
    const auto in = (*device)->CreateBuffer(kCount * 12);
    const auto out = (*device)->CreateBuffer(kCount * 4);
    const std::array<std::uint32_t, platform::kComputeParameters> words{};
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(values.data());
    if (!in || !out || !(*device)->Upload(*in, 0, {bytes, kCount * 12}) ||
        !(*device)->Launch(0, *in, *in, *out, *out, words, 10) ||
        !(*device)->Download(*out, 0, {reinterpret_cast<std::uint8_t*>(sums.data()), kCount * 4})) {
        return -1;
    }
    int differ = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
        const float product = values[3 * i] * values[3 * i + 1];
        if (BitsOf(sums[i]) != BitsOf(product + values[3 * i + 2])) ++differ;
    }
    return differ;
}

TEST(TestedDevices, RoundAsTheyAreMadeTo) {
    const TestedWay& plain = kEveryWay[0];
    const TestedWay& fused = kEveryWay[1];
    const int differ[] = {SumsThatDiffer(plain), SumsThatDiffer(fused)};
    if (differ[0] < 0 || differ[1] < 0) {
        ASSERT_FALSE(IsPromised(platform::ComputeApi::OpenCl)) << "a device was promised";
        GTEST_SKIP() << "no device to test with";
    }
    std::printf("of 2560 sums differ: %d, fused %d\n", differ[0], differ[1]);
    // The processor as a device heeds both; what others do is theirs to choose.
    if (DeviceOf(plain) && (*DeviceOf(plain))->IsSoftware()) {
        EXPECT_EQ(differ[0], 0);
        EXPECT_GT(differ[1], 100) << "the other tests' device that fuses does not";
    }
}

}  // namespace
}  // namespace orvix::test
