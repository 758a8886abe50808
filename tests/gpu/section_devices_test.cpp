// SPDX-License-Identifier: GPL-3.0-or-later
// SectionWork on devices: the same bytes as without one, also where the device fails.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "orvix/gpu/section_loop.h"
#include "orvix/gpu/section_work.h"
#include "tests/gpu/plain_section.h"
#include "tests/support/compute_devices.h"

namespace orvix::detail {
namespace {

using platform::ComputeBuffer;
using platform::ComputeDevice;

/// What a device does when it is not well.
struct Illness {
    int callsUntilFailure = -1;  // 0: the next call fails, and all after it; below 0: none
    bool wrongAnswers = false;   // flips a class from the known answers on
    bool badClasses = false;     // classes that do not exist, after the known answers
    int buffersUntilFull = -1;
    int downloads = 0;
};

/// A real device with an illness.
class IllDevice : public ComputeDevice {
public:
    IllDevice(ComputeDevice* device, Illness* illness)
        : ComputeDevice({device->Name(), device->Api(), true, device->LargestBuffer(), 0}),
          device_(device),
          illness_(illness) {}
    std::unique_ptr<ComputeBuffer> CreateBuffer(std::uint64_t bytes) override {
        if (illness_->buffersUntilFull == 0) return nullptr;
        if (illness_->buffersUntilFull > 0) --illness_->buffersUntilFull;
        return device_->CreateBuffer(bytes);
    }
    bool Upload(ComputeBuffer& buffer, std::uint64_t offset,
                std::span<const std::uint8_t> bytes) override {
        return !Fails() && device_->Upload(buffer, offset, bytes);
    }
    bool Launch(std::size_t kernel, const ComputeBuffer& in0, const ComputeBuffer& in1,
                ComputeBuffer& out0, ComputeBuffer& out1,
                std::span<const std::uint32_t, platform::kComputeParameters> parameters,
                std::uint32_t groups) override {
        return !Fails() && device_->Launch(kernel, in0, in1, out0, out1, parameters, groups);
    }
    bool Download(ComputeBuffer& buffer, std::uint64_t offset,
                  std::span<std::uint8_t> bytes) override {
        if (Fails() || !device_->Download(buffer, offset, bytes)) return false;
        ++illness_->downloads;
        if (illness_->wrongAnswers) bytes[bytes.size() / 2] ^= 1;
        // The known answers take 10 downloads: three jobs with a ramp and four rays.
        if (illness_->badClasses && illness_->downloads > 10) bytes[bytes.size() / 2] = 9;
        return true;
    }

private:
    bool Fails() {
        if (illness_->callsUntilFailure == 0) return true;
        if (illness_->callsUntilFailure > 0) --illness_->callsUntilFailure;
        return false;
    }
    ComputeDevice* device_;
    Illness* illness_;
};

constexpr platform::ComputeApi kTestedApi =
    test::kHasDirect3d ? platform::ComputeApi::Direct3D11 : platform::ComputeApi::OpenCl;

/// One for all tests: on some systems a device takes a second to open.
const test::OpenedDevice& SharedDevice() {
    static const test::OpenedDevice opened = test::OpenTested(test::TestedOptions(kTestedApi));
    return opened;
}

/// The tested device, with an illness, until it is given up.
class IllDevices : public SectionDevices {
public:
    std::unique_ptr<ComputeDevice> Open(bool) override {
        if (givenUp > 0) return nullptr;
        ++opened;
        if (!SharedDevice()) return nullptr;
        return std::make_unique<IllDevice>(SharedDevice()->get(), &illness);
    }
    void GiveUp(platform::ComputeApi) override { ++givenUp; }

    Illness illness;
    int opened = 0;
    int givenUp = 0;
};

struct Answer {
    std::vector<SectionClass> classes;
    std::vector<std::uint8_t> steps;
    std::vector<std::uint64_t> indices;
    SectionCounts counts;
    friend bool operator==(const Answer&, const Answer&) = default;
};

Answer Ask(SectionWork& work, const SectionRule& rule) {
    Answer answer;
    answer.classes.resize(work.Entries().Count());
    std::uint64_t next = 0;
    answer.counts = work.Classify(rule, answer.classes.data(), [&](const SectionPiece& piece) {
        EXPECT_EQ(piece.first, next) << "pieces follow each other";
        next += piece.classes.size();
        for (std::size_t k = 0; k < piece.classes.size(); ++k) {
            if (piece.steps != nullptr) answer.steps.push_back(piece.steps[k]);
            answer.indices.push_back(piece.indices != nullptr ? piece.indices[k] : piece.first + k);
        }
    });
    EXPECT_EQ(next, answer.classes.size());
    return answer;
}

class SectionDevicesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ORVIX_NEEDS_DEVICE(SharedDevice(), kTestedApi);
        const std::array<double, 16> matrix{0.8, 0.6, 0, 1.25, -0.6, 0.8, 0, 0.3,
                                            0,   0,   1, -2,   0,    0,   0, 1};
        rule_ = ComposedRule(matrix, {}, {.halfThickness = 0.25, .xLow = -4, .zHigh = 3.5});
        ramped_ = rule_;
        static const std::vector<SectionColour> colours(31);
        SetRamp(ramped_, {-1.5, 2, colours});
        points_ = test::PointsAround(rule_, 70'003, 5);
        for (std::uint64_t k = 0; k < 30'000; ++k) scattered_.push_back(k * 48'271 % 70'003);
        for (std::uint64_t k = 0; k < 9'001; ++k) near_.push_back(9'000 - k);
        lists_ = {near_, {}, scattered_};
        options_.device = SectionDevice::Gpu;
        options_.softwareDevices = true;
        SectionWork plain({.device = SectionDevice::Cpu});
        Set(plain, true);
        expected_ = Ask(plain, ramped_);
        ASSERT_TRUE(plain.SetLists(lists_));
        expectedListed_ = Ask(plain, rule_);
        EXPECT_EQ(plain.DeviceName(), "processor");
    }

    void Set(SectionWork& work, bool held) const {
        work.SetPoints(SectionPoints::Of(std::span<const SimplePointT<float>>(points_)), held);
    }

    SectionRule rule_;
    SectionRule ramped_;
    std::vector<SimplePointT<float>> points_;
    std::vector<std::uint64_t> near_;
    std::vector<std::uint64_t> scattered_;
    std::vector<std::span<const std::uint64_t>> lists_;
    SectionOptions options_;
    Answer expected_;
    Answer expectedListed_;
};

TEST_F(SectionDevicesTest, ADeviceGivesTheBytesOfTheProcessor) {
    // Much memory: one part and large jobs. Little: several jobs, and points that are sent anew.
    for (const std::uint64_t memory : {1'000'000'000, 900'000, 300'000, 1}) {
        auto devices = std::make_shared<IllDevices>();
        options_.deviceMemory = memory;
        SectionWork work(options_, devices);
        for (const bool held : {true, false}) {
            Set(work, held);
            for (int again = 0; again < 2; ++again) {
                EXPECT_EQ(Ask(work, ramped_), expected_) << memory << held;
                EXPECT_NE(work.DeviceName(), "processor");
            }
            ASSERT_TRUE(work.SetLists(lists_));
            EXPECT_EQ(Ask(work, rule_), expectedListed_) << memory << held;
        }
        EXPECT_EQ(devices->opened, 1);
        EXPECT_EQ(devices->givenUp, 0);
    }
}

// BEHAVIOUR V8
TEST_F(SectionDevicesTest, WhateverCallFailsNoAnswerIsLostAndTheDeviceIsGivenUpOnce) {
    options_.deviceMemory = 900'000;
    int failed = 0;
    for (int calls = 0; calls < 400; calls += calls < 40 ? 1 : 17) {
        auto devices = std::make_shared<IllDevices>();
        devices->illness.callsUntilFailure = calls;
        SectionWork work(options_, devices);
        Set(work, true);
        ASSERT_EQ(Ask(work, ramped_), expected_) << calls;
        ASSERT_TRUE(work.SetLists(lists_));
        ASSERT_EQ(Ask(work, rule_), expectedListed_) << calls;
        ASSERT_EQ(devices->opened, 1);
        ASSERT_LE(devices->givenUp, 1);
        failed += devices->givenUp;
        if (devices->givenUp == 0) break;
        ASSERT_EQ(work.DeviceName(), "processor");
    }
    EXPECT_GT(failed, 20);
}

TEST_F(SectionDevicesTest, ADeviceThatAnswersWronglyIsNotUsed) {
    auto wrong = std::make_shared<IllDevices>();
    wrong->illness.wrongAnswers = true;
    SectionWork first(options_, wrong);
    Set(first, true);
    EXPECT_EQ(Ask(first, ramped_), expected_);
    EXPECT_EQ(first.DeviceName(), "processor");
    EXPECT_EQ(wrong->givenUp, 1);

    auto later = std::make_shared<IllDevices>();
    later->illness.badClasses = true;
    SectionWork second(options_, later);
    Set(second, true);
    EXPECT_EQ(Ask(second, ramped_), expected_);
    EXPECT_EQ(later->givenUp, 1) << "a class that does not exist";
}

TEST_F(SectionDevicesTest, WhatADeviceHasNoMemoryForStaysWithTheProcessor) {
    for (int buffers = 0; buffers < 8; ++buffers) {
        auto devices = std::make_shared<IllDevices>();
        devices->illness.buffersUntilFull = buffers;
        options_.deviceMemory = 900'000;
        SectionWork work(options_, devices);
        Set(work, true);
        ASSERT_EQ(Ask(work, ramped_), expected_) << buffers;
        ASSERT_TRUE(work.SetLists(lists_));
        ASSERT_EQ(Ask(work, rule_), expectedListed_) << buffers;
    }
}

TEST_F(SectionDevicesTest, SnapsAsTheProcessorDoes) {
    auto points = points_;
    std::uint64_t state = 8;
    test::Dice dice(state);
    std::vector<SnapRule> rules;
    for (int k = 0; k < 40; ++k) {
        PickingRay ray;
        const auto any = [&] { return 20 * dice.Share() - 10; };
        ray.origin = {any(), any(), any()};
        ray.direction = {any(), any(), any()};
        if (k % 4 == 0) {  // along an axis through a point: exact boundaries and ties
            const auto& p = points[static_cast<std::size_t>(1000 * dice.Share())];
            ray.origin = {p.x - 3.0, p.y, p.z + 0.25};
            ray.direction = {1, 0, 0};
            for (int tie = 1; tie < 5; ++tie) points[7'000 + 9 * k + tie] = p;
        }
        ray.radius = 0.25;
        ray.tangent = k % 2 == 0 ? 0 : 0.01;
        rules.push_back(RuleOf(ray, {}));
        rules.push_back(RuleOf({any(), any(), any()}, 0.7, {}));
    }
    const auto given = SectionPoints::Of(std::span<const SimplePointT<float>>(points));
    SectionWork plain({.device = SectionDevice::Cpu});
    plain.SetPoints(given, true);
    auto devices = std::make_shared<IllDevices>();
    int found = 0;
    for (const SnapRule& rule : rules) {
        SnappedPoint here;
        SnappedPoint there;
        plain.Snap({&rule, 1}, {&here, 1});
        SectionWork work(options_, devices);  // a tree would come after some rays
        work.SetPoints(given, true);
        work.Snap({&rule, 1}, {&there, 1});
        EXPECT_NE(work.DeviceName(), "processor");
        EXPECT_EQ(here.index, there.index);
        EXPECT_EQ(here.along, there.along);
        found += here.Found() ? 1 : 0;
    }
    EXPECT_GT(found, 30);
}

TEST_F(SectionDevicesTest, ADeviceThatFailsWhileRaysAreAskedCostsNoAnswer) {
    const auto given = SectionPoints::Of(std::span<const SimplePointT<float>>(points_));
    std::vector<SnapRule> rules;
    for (int k = 0; k < 4; ++k) {
        const auto& p = points_[40 + k];
        rules.push_back(RuleOf({p.x + 0.1, p.y, p.z}, 0.7, {}));
    }
    SectionWork plain({.device = SectionDevice::Cpu});
    plain.SetPoints(given, true);
    std::vector<SnappedPoint> here(rules.size());
    plain.Snap(rules, here);
    auto devices = std::make_shared<IllDevices>();
    int failed = 0;
    for (int calls = 0;; ++calls) {
        SectionWork work(options_, devices);
        work.SetPoints(given, true);
        work.Classify(rule_, nullptr, {});  // the device is open, and holds the points
        devices->illness.callsUntilFailure = calls;
        std::vector<SnappedPoint> there(rules.size());
        work.Snap(rules, there);
        for (std::size_t k = 0; k < rules.size(); ++k) EXPECT_EQ(here[k].index, there[k].index);
        const bool dropped = devices->givenUp > 0;
        EXPECT_EQ(work.DeviceName() == "processor", dropped);
        devices->illness.callsUntilFailure = -1;
        devices->givenUp = 0;
        if (!dropped) break;
        ++failed;
    }
    EXPECT_EQ(failed, 2 * 4) << "a launch and a download a ray";
}

TEST_F(SectionDevicesTest, AutoMeasuresLargeHeldPointsAndNothingElse) {
    auto devices = std::make_shared<IllDevices>();
    SectionWork work({.softwareDevices = true}, devices);
    Set(work, true);
    EXPECT_EQ(Ask(work, ramped_), expected_);
    EXPECT_EQ(devices->opened, 0) << "few points";
    std::vector<SimplePointT<float>> many(4 << 20, {1, 2, 3});
    const auto given = SectionPoints::Of(std::span<const SimplePointT<float>>(many));
    std::vector<SectionClass> classes(many.size());
    work.SetPoints(given, false);
    EXPECT_EQ(work.Classify(rule_, classes.data(), {}).Total(), many.size());
    EXPECT_EQ(devices->opened, 0) << "passed once";
    work.SetPoints(given, true);
    EXPECT_EQ(work.Classify(rule_, classes.data(), {}).Total(), many.size());
    EXPECT_EQ(devices->opened, 1);
    const std::vector<SectionClass> expected(many.size(), ClassOf(rule_, many[0]));
    EXPECT_EQ(classes, expected);
}

}  // namespace
}  // namespace orvix::detail
