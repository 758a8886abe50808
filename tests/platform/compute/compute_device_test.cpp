// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/compute/compute_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <vector>

#include "tests/support/compute_devices.h"

namespace orvix::platform {
namespace {

using orvix::test::NameOf;
using orvix::test::OpenedDevice;
using orvix::test::OpenTested;
using orvix::test::TestedOptions;

using Words = std::array<std::uint32_t, kComputeParameters>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t BitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

/// classify with a slab of 1 m and no bounds, in the points' own frame.
Words PlainSlab(std::uint32_t count) {
    Words words{};
    words[0] = words[5] = words[10] = BitsOf(1.0F);
    words[12] = BitsOf(1.0F);
    words[13] = words[15] = BitsOf(-1e30F);
    words[14] = words[16] = BitsOf(1e30F);
    words[17] = count;
    return words;
}

/// Records 0, 3, 6, ... along y, in metres.
Bytes PointsAlongY(std::uint32_t count) {
    std::vector<float> coordinates(std::size_t{3} * count);
    for (std::uint32_t i = 0; i < count; ++i) coordinates[3 * i + 1] = 3.0F * static_cast<float>(i);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(coordinates.data());
    return {bytes, bytes + coordinates.size() * sizeof(float)};
}

/// One device for all tests of an interface: some systems take seconds to make one.
const OpenedDevice& SharedDevice(ComputeApi api) {
    static const OpenedDevice openCl = OpenTested(TestedOptions(ComputeApi::OpenCl));
    static const OpenedDevice direct3d = OpenTested(TestedOptions(ComputeApi::Direct3D11));
    return api == ComputeApi::OpenCl ? openCl : direct3d;
}

class AComputeDevice : public ::testing::TestWithParam<ComputeApi> {
protected:
    void SetUp() override {
        ORVIX_NEEDS_DEVICE(SharedDevice(GetParam()), GetParam());
        device_ = SharedDevice(GetParam())->get();
    }
    ComputeDevice* device_ = nullptr;
};
constexpr ComputeApi kEveryApi[] = {ComputeApi::OpenCl, ComputeApi::Direct3D11};
INSTANTIATE_TEST_SUITE_P(Each, AComputeDevice,
                         ::testing::ValuesIn(kEveryApi, kEveryApi + (test::kHasDirect3d ? 2 : 1)),
                         [](const auto& tested) { return NameOf(tested.param); });

TEST_P(AComputeDevice, ReportsWhatItIs) {
    EXPECT_FALSE(device_->Name().empty());
    EXPECT_EQ(device_->Api(), GetParam());
    EXPECT_GE(device_->LargestBuffer(), std::uint64_t{128} << 20);
    std::printf("%s: %s%s, buffers up to %llu MiB\n", NameOf(GetParam()), device_->Name().c_str(),
                device_->IsSoftware() ? " (the processor)" : "",
                static_cast<unsigned long long>(device_->LargestBuffer() >> 20));
}

TEST_P(AComputeDevice, GivesBackWhatWasUploadedAtAnyOffset) {
    // Several pieces of the memory that transfers go through, and part of one.
    constexpr std::size_t kSize = (std::size_t{21} << 20) + 12;
    const auto buffer = device_->CreateBuffer(kSize);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->Size(), kSize);
    Bytes bytes(kSize);
    for (std::size_t i = 0; i < kSize; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7919 >> 8);
    ASSERT_TRUE(device_->Upload(*buffer, 0, bytes));
    const Bytes patch(4096, 0xAB);
    ASSERT_TRUE(device_->Upload(*buffer, kSize - patch.size(), patch));
    std::copy(patch.begin(), patch.end(), bytes.end() - static_cast<std::ptrdiff_t>(patch.size()));
    Bytes back(kSize);
    ASSERT_TRUE(device_->Download(*buffer, 0, back));
    EXPECT_TRUE(back == bytes);
    Bytes middle(std::size_t{9} << 20);
    ASSERT_TRUE(device_->Download(*buffer, 1'000'004, middle));
    EXPECT_TRUE(std::equal(middle.begin(), middle.end(), bytes.begin() + 1'000'004));
    EXPECT_TRUE(device_->Upload(*buffer, kSize, {}));
    EXPECT_TRUE(device_->Download(*buffer, 0, {}));
}

TEST_P(AComputeDevice, WorksInTheOrderOfTheCalls) {
    // More launches than are kept under way at a time, each over points that were just replaced.
    constexpr std::uint32_t kCount = 1024;
    const auto points = device_->CreateBuffer(kCount * 12);
    const auto classes = device_->CreateBuffer(200 * 256 * 4);
    ASSERT_TRUE(points && classes);
    const Bytes near(kCount * 12);
    Bytes far = PointsAlongY(kCount + 1);
    far.erase(far.begin(), far.begin() + 12);
    for (std::uint32_t i = 0; i < 200; ++i) {
        ASSERT_TRUE(device_->Upload(*points, 0, i % 2 == 0 ? near : far));
        Words words = PlainSlab(kCount);
        words[23] = 0;
        ASSERT_TRUE(device_->Launch(detail::kClassifyKernel, *points, *points, *classes, *classes,
                                    words, 1));
        if (i % 50 > 1) continue;
        Bytes answer(kCount);
        ASSERT_TRUE(device_->Download(*classes, 0, answer));
        const std::uint8_t expected = i % 2 == 0 ? 0 : 1;
        EXPECT_EQ(std::count(answer.begin(), answer.end(), expected), kCount) << "launch " << i;
    }
}

TEST_P(AComputeDevice, RunsALaunchOfTheMostGroupsToItsLastItem) {
    // Every item has four points; all but the last launch's end lie outside the count.
    constexpr std::uint32_t kItems = kMostComputeGroups * kComputeGroup;
    constexpr std::uint32_t kCount = kItems;  // one word an item, used for the last quarter
    const auto points = device_->CreateBuffer(12);
    const auto numbers = device_->CreateBuffer(std::uint64_t{kCount} * 4);
    const auto classes = device_->CreateBuffer(std::uint64_t{kItems} * 4);
    ASSERT_TRUE(points && numbers && classes);
    ASSERT_TRUE(device_->Upload(*points, 0, PointsAlongY(1)));
    ASSERT_TRUE(device_->Upload(*numbers, 0, Bytes(std::size_t{kCount} * 4)));
    ASSERT_TRUE(device_->Upload(*classes, 0, Bytes(std::size_t{kItems} * 4, 0xEE)));
    Words words = PlainSlab(kCount);
    words[19] = 1;
    ASSERT_TRUE(device_->Launch(detail::kClassifyKernel, *points, *numbers, *classes, *classes,
                                words, kMostComputeGroups));
    Bytes answer(std::size_t{kItems} * 4);
    ASSERT_TRUE(device_->Download(*classes, 0, answer));
    EXPECT_EQ(std::count(answer.begin(), answer.begin() + kCount, 0), kCount);
    EXPECT_EQ(std::count(answer.begin() + kCount, answer.end(), 0xEE), kItems * 3L)
        << "past the count nothing is written";
}

TEST_P(AComputeDevice, RefusesWhatLiesOutsideTheBoundariesAndGoesOn) {
    const auto buffer = device_->CreateBuffer(4096);
    const auto other = device_->CreateBuffer(4096);
    ASSERT_TRUE(buffer && other);
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{4098},
                                     device_->LargestBuffer() + 4, ~std::uint64_t{0} - 3})
        EXPECT_EQ(device_->CreateBuffer(size), nullptr) << size;
    Bytes room(8192);
    const std::span<std::uint8_t> bytes(room);
    for (const auto& [offset, count] : {std::pair<std::uint64_t, std::size_t>{0, 4100},
                                        {4096, 4},
                                        {4092, 8},
                                        {2, 4},
                                        {0, 3},
                                        {~std::uint64_t{0} - 3, 8},
                                        {std::uint64_t{1} << 63, 4}}) {
        EXPECT_FALSE(device_->Upload(*buffer, offset, bytes.first(count))) << offset;
        EXPECT_FALSE(device_->Download(*buffer, offset, bytes.first(count))) << offset;
    }
    const Words words = PlainSlab(1);
    const auto launch = [&](std::size_t kernel, std::uint32_t groups) {
        return device_->Launch(kernel, *buffer, *buffer, *other, *other, words, groups);
    };
    EXPECT_FALSE(launch(detail::kClassifyKernel, 0));
    EXPECT_FALSE(launch(detail::kClassifyKernel, kMostComputeGroups + 1));
    EXPECT_FALSE(launch(2, 1)) << "there are two kernels";
    EXPECT_FALSE(device_->Launch(0, *buffer, *other, *other, *other, words, 1));
    EXPECT_TRUE(launch(detail::kClassifyKernel, 1)) << "nothing of this was a failure";
    EXPECT_TRUE(device_->Download(*other, 0, bytes.first(4)));
}

TEST_P(AComputeDevice, SurvivesBuffersForWhichThereIsNoMemory) {
    // Two of the largest: refused at once, or at their first use, or granted without being there.
    std::vector<std::unique_ptr<ComputeBuffer>> held;
    for (int i = 0; i < 2; ++i) {
        auto buffer = device_->CreateBuffer(device_->LargestBuffer() / 4 * 4);
        if (buffer == nullptr) break;
        held.push_back(std::move(buffer));
    }
    held.clear();
    const auto small = device_->CreateBuffer(64);
    ASSERT_NE(small, nullptr);
    EXPECT_TRUE(device_->Upload(*small, 0, Bytes(64, 1)));
    Bytes back(64);
    EXPECT_TRUE(device_->Download(*small, 0, back));
    EXPECT_EQ(back, Bytes(64, 1));
}

TEST_P(AComputeDevice, GivesTheMemoryOfBuffersBack) {
    const Bytes bytes(std::size_t{16} << 20, 7);
    const auto holdOne = [&] {
        const auto buffer = device_->CreateBuffer(bytes.size());
        Bytes last(4);
        return buffer != nullptr && device_->Upload(*buffer, 0, bytes) &&
               device_->Download(*buffer, bytes.size() - 4, last) && last == Bytes(4, 7);
    };
    ASSERT_TRUE(holdOne());
    const std::uint64_t before = PeakMemory();
    for (int i = 0; i < 60; ++i) ASSERT_TRUE(holdOne()) << i;
    EXPECT_LT(PeakMemory() - before, std::uint64_t{500} << 20) << "of 960 MiB in all";
}

TEST_P(AComputeDevice, ThatTakesTooLongIsLostForGoodAndHoldsNobodyUp) {
    ComputeDeviceOptions options = TestedOptions(GetParam());
    options.patience = std::chrono::milliseconds(0);
    OpenedDevice opened = OpenTested(options);
    ORVIX_NEEDS_DEVICE(opened, GetParam());
    ComputeDevice& device = **opened;
    constexpr std::uint32_t kItems = 4096 * kComputeGroup;
    const auto points = device.CreateBuffer(std::uint64_t{kItems} * 4 * 12);  // whatever is there
    const auto classes = device.CreateBuffer(std::uint64_t{kItems} * 4);
    ASSERT_TRUE(points && classes);
    Bytes answer(std::size_t{kItems} * 4);
    const auto all = [&] {
        return device.Launch(detail::kClassifyKernel, *points, *points, *classes, *classes,
                             PlainSlab(kItems * 4), 4096) &&
               device.Download(*classes, 0, answer);
    };
    // Nothing of this much work is done within no time at all.
    EXPECT_FALSE(all());
    EXPECT_FALSE(device.Upload(*points, 0, PointsAlongY(1)));
    EXPECT_FALSE(device.Download(*points, 0, std::span(answer).first(4)));
    EXPECT_FALSE(device.Launch(detail::kClassifyKernel, *points, *points, *classes, *classes,
                               PlainSlab(4), 1));
    EXPECT_EQ(device.CreateBuffer(4), nullptr);
    opened->reset();
    const auto elsewhere = device_->CreateBuffer(64);
    ASSERT_NE(elsewhere, nullptr);
    EXPECT_TRUE(device_->Download(*elsewhere, 0, std::span(answer).first(64)))
        << "another device knows nothing of it";
}

TEST_P(AComputeDevice, TakesBuffersThatOutliveIt) {
    OpenedDevice opened = OpenTested(TestedOptions(GetParam()));
    ORVIX_NEEDS_DEVICE(opened, GetParam());
    auto foreign = (*opened)->CreateBuffer(64);
    ASSERT_NE(foreign, nullptr);
    EXPECT_TRUE((*opened)->Upload(*foreign, 0, Bytes(64)));
    EXPECT_FALSE(device_->Upload(*foreign, 0, Bytes(64))) << "a buffer is its own device's alone";
    opened->reset();
    foreign.reset();
}

// ---- no device

TEST(OpenComputeDevice, NamesTheReasonWhereAProgramIsRefused) {
    ComputeDeviceOptions options = TestedOptions(ComputeApi::OpenCl);
    ComputeKernel kernel{"add", {}};
    const ComputeProgram broken{"__kernel void add(__global uint* a) { a[0] = nothing; }",
                                {&kernel, 1}};
    const auto opened = OpenComputeDevice(broken, options);
    ASSERT_FALSE(opened);
    std::printf("%s\n", opened.error().c_str());
    EXPECT_TRUE(opened.error().starts_with("OpenCL: "));
    EXPECT_EQ(opened.error().find('\n'), std::string::npos);
    EXPECT_LT(opened.error().size(), 700U);
}

TEST(OpenComputeDevice, NamesTheReasonWhereBytesAreNoKernel) {
    const std::array<std::uint8_t, 8> bytes{'D', 'X', 'B', 'C', 1, 2, 3, 4};
    const ComputeKernel kernel{"classify", bytes};
    const auto opened =
        OpenComputeDevice({"", {&kernel, 1}}, TestedOptions(ComputeApi::Direct3D11));
    ASSERT_FALSE(opened);
    std::printf("%s\n", opened.error().c_str());
    EXPECT_TRUE(opened.error().starts_with("Direct3D 11: "));
}

// BEHAVIOUR O13
TEST(OpenComputeDevice, TakesNoProcessorInDisguiseUnlessAsked) {
    for (const ComputeApi api : {ComputeApi::OpenCl, ComputeApi::Direct3D11}) {
        ComputeDeviceOptions options;
        options.api = api;
        const auto opened = OpenTested(options);
        if (opened) {
            EXPECT_FALSE((*opened)->IsSoftware());
        } else {
            std::printf("%s\n", opened.error().c_str());
            EXPECT_FALSE(opened.error().empty());
        }
    }
}

}  // namespace
}  // namespace orvix::platform
