// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "tests/support/compute_devices.h"

namespace orvix::platform {
namespace {

// This program runs without a driver for OpenCL and without a display.

TEST(OpenComputeDevice, GivesAReasonAtOnceWhereThereIsNoDevice) {
    for (const ComputeApi api : {ComputeApi::OpenCl, ComputeApi::Direct3D11}) {
        for (int attempt = 0; attempt < 2; ++attempt) {
            const auto opened = test::OpenTested(test::TestedOptions(api));
            ASSERT_FALSE(opened) << (*opened)->Name();
            std::printf("%s\n", opened.error().c_str());
            EXPECT_TRUE(opened.error().starts_with(api == ComputeApi::OpenCl ? "OpenCL: "
                                                                             : "Direct3D 11: "));
        }
    }
}

}  // namespace
}  // namespace orvix::platform
