// SPDX-License-Identifier: GPL-3.0-or-later
// What becomes of a device whose driver fails, against a driver that fails where it is told to. The
// test's environment puts that driver before the system's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <vector>

#include "orvix/platform/compute/compute_device.h"
#include "orvix/platform/dynamic_library.h"
#include "orvix/platform/system.h"
#include "tests/platform/compute/posix/failing_opencl.h"

namespace orvix::platform {
namespace {

using ::testing::HasSubstr;
using Opened = tl::expected<std::unique_ptr<ComputeDevice>, std::string>;

constexpr ComputeKernel kKernels[] = {{"first", {}}, {"second", {}}};
constexpr ComputeProgram kProgram = {"text", kKernels};

test::FailingOpenCl* FindDriver() {
    using Find = test::FailingOpenCl* (*)();
    void* const library = LoadSystemLibrary({"libOpenCL.so.1", nullptr});
    const auto find = reinterpret_cast<Find>(FindSymbol(library, test::kFailingOpenClName));
    return find == nullptr ? nullptr : find();
}

class AFailingDriver : public ::testing::Test {
protected:
    void SetUp() override {
        driver_ = FindDriver();
        ASSERT_NE(driver_, nullptr) << "the driver of this test is not the one that was loaded";
        *driver_ = {};
        std::iota(bytes_.begin(), bytes_.end(), std::uint8_t{1});
    }

    static Opened Open() {
        ComputeDeviceOptions options;
        options.patience = std::chrono::milliseconds(30);
        return OpenComputeDevice(kProgram, options);
    }

    /// Uploads, launches and downloads; false where a call failed, and then all later ones must.
    bool Work(ComputeDevice& device) {
        const auto in = device.CreateBuffer(bytes_.size());
        const auto out = device.CreateBuffer(bytes_.size());
        std::vector<std::uint8_t> back(bytes_.size());
        std::array<std::uint32_t, kComputeParameters> words{};
        words[0] = 0xCAFE;
        bool done = in && out && device.Upload(*in, 0, bytes_) && device.Upload(*out, 0, bytes_);
        for (int i = 0; i < 100 && done; ++i)  // more than are kept under way
            done = device.Launch(1, *in, *in, *out, *out, words, 5);
        done = done && device.Download(*out, 0, back);
        if (done) {
            EXPECT_EQ(back[0] + back[1] * 256, 0xCAFE);
            EXPECT_TRUE(std::equal(back.begin() + 4, back.end(), bytes_.begin() + 4));
        }
        // No buffer is no failure of the device.
        if (!done && in && out) {
            EXPECT_FALSE(device.Download(*out, 0, back));
            EXPECT_FALSE(device.Upload(*in, 0, bytes_));
            EXPECT_FALSE(device.Launch(0, *in, *in, *out, *out, words, 1));
            EXPECT_EQ(device.CreateBuffer(4), nullptr);
        }
        return done;
    }

    test::FailingOpenCl* driver_ = nullptr;
    // Little: what failing devices keep, they keep to the end.
    std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(32'768);
};

// BEHAVIOUR O13
TEST_F(AFailingDriver, ThatIsWellGivesTheBestDeviceAndIsLeftWithNothing) {
    Opened opened = Open();
    ASSERT_TRUE(opened) << opened.error();
    EXPECT_EQ((*opened)->Name(), "own") << "memory of its own counts more than much memory";
    EXPECT_FALSE((*opened)->IsSoftware());
    EXPECT_TRUE(Work(**opened));
    opened->reset();
    EXPECT_EQ(driver_->objects, 0);
}

TEST_F(AFailingDriver, WhoseDeviceRefusesTheProgramIsAskedForTheNext) {
    driver_->refusedBuilds = 1;
    Opened opened = Open();
    ASSERT_TRUE(opened) << opened.error();
    EXPECT_EQ((*opened)->Name(), "shared");
    opened->reset();
    EXPECT_EQ(driver_->objects, 0);

    driver_->refusedBuilds = 2;
    const Opened none = Open();
    ASSERT_FALSE(none);
    EXPECT_THAT(none.error(), HasSubstr("OpenCL: shared refuses the kernels (-11): xxx"));
    EXPECT_LT(none.error().size(), 500U);
    EXPECT_EQ(driver_->objects, 0);
}

TEST_F(AFailingDriver, FailsAnyCallAndTheWorkIsWholeOrRefused) {
    int refused = 0;
    int lost = 0;
    for (int calls = 0;; ++calls) {
        *driver_ = {};
        driver_->callsUntilFailure = calls;
        Opened opened = Open();
        const bool done = opened && Work(**opened);
        if (!opened) {
            ++refused;
            EXPECT_FALSE(opened.error().empty());
        } else if (!done) {
            ++lost;
        }
        const bool failed = driver_->callsUntilFailure < 0;
        if (opened) opened->reset();
        // What a device that fails has under way is left to it; all else is given back.
        if (!opened || done) {
            EXPECT_EQ(driver_->objects, 0) << "call " << calls;
        }
        if (!failed) break;
        ASSERT_LT(calls, 2000);
    }
    EXPECT_EQ(refused, 2) << "no platforms, no devices; where one device fails there is another";
    EXPECT_GT(lost, 300) << "a hundred launches of five arguments";
}

// BEHAVIOUR O12
TEST_F(AFailingDriver, ThatHangsCostsItsPatienceOnce) {
    Opened opened = Open();
    ASSERT_TRUE(opened) << opened.error();
    EXPECT_TRUE(Work(**opened));
    driver_->hangs = true;
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(Work(**opened));
    opened->reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
    EXPECT_GT(driver_->objects, 0) << "what it works on is left to it";
}

TEST_F(AFailingDriver, WhoseWorkEndsWithAnErrorIsLost) {
    Opened opened = Open();
    ASSERT_TRUE(opened) << opened.error();
    driver_->failsLater = true;
    EXPECT_FALSE(Work(**opened));
}

}  // namespace
}  // namespace orvix::platform
