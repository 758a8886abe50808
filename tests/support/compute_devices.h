// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "orvix/gpu/kernels/section_program.h"
#include "orvix/platform/compute/compute_device.h"
#include "orvix/platform/system.h"

namespace orvix::test {

inline const char* NameOf(platform::ComputeApi api) {
    return api == platform::ComputeApi::OpenCl ? "opencl" : "direct3d";
}

/// Direct3D is a part of Windows; elsewhere there is nothing to test.
inline constexpr bool kHasDirect3d = std::filesystem::path::preferred_separator == '\\';

/// Whether the run promised a device: ORVIX_TEST_DEVICES names "opencl", "direct3d" or both.
inline bool IsPromised(platform::ComputeApi api) {
    const std::string promised =
        platform::ToUtf8(platform::EnvironmentVariable("ORVIX_TEST_DEVICES"));
    return promised.find(NameOf(api)) != std::string::npos;
}

/// Options for any device, one that is the processor included, with time for a busy machine.
inline platform::ComputeDeviceOptions TestedOptions(platform::ComputeApi api) {
    platform::ComputeDeviceOptions options;
    options.api = api;
    options.acceptSoftware = true;
    options.patience = std::chrono::minutes(2);
    return options;
}

using OpenedDevice = tl::expected<std::unique_ptr<platform::ComputeDevice>, std::string>;

inline OpenedDevice OpenTested(const platform::ComputeDeviceOptions& options) {
    return platform::OpenComputeDevice(detail::SectionProgram(), options);
}

}  // namespace orvix::test

/// Leaves the test without a device: failed where the run promised one, else skipped with the reason.
#define ORVIX_NEEDS_DEVICE(opened, api)                                     \
    do {                                                                    \
        if (!(opened)) {                                                    \
            if (::orvix::test::IsPromised(api))                             \
                FAIL() << "a device was promised: " << (opened).error();    \
            GTEST_SKIP() << "no device to test with: " << (opened).error(); \
        }                                                                   \
    } while (false)
