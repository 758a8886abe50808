// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_devices.h"

#include <array>
#include <atomic>
#include <string>
#include <utility>

#include "orvix/gpu/kernels/section_program.h"
#include "orvix/platform/system.h"
#include "orvix/platform/text.h"

namespace orvix::detail {
namespace {

// By ComputeApi: given up, by this process.
std::array<std::atomic<bool>, 2> givenUp{};

std::atomic<bool>& GivenUp(platform::ComputeApi api) {
    return givenUp[static_cast<std::size_t>(api)];
}

class OfTheSystem : public SectionDevices {
public:
    std::unique_ptr<platform::ComputeDevice> Open(bool software) override {
        const DeviceWish wish = WishOf(SectionDevice::Auto);
        const std::pair<platform::ComputeApi, bool> apis[] = {
            {platform::ComputeApi::Direct3D11, wish.direct3d},
            {platform::ComputeApi::OpenCl, wish.openCl}};
        for (const auto& [api, wished] : apis) {
            if (!wished || GivenUp(api)) continue;
            platform::ComputeDeviceOptions options;
            options.api = api;
            options.acceptSoftware = software;
            auto device = platform::OpenComputeDevice(SectionProgram(), options);
            if (device) return std::move(*device);
        }
        return nullptr;
    }
    // BEHAVIOUR V8
    void GiveUp(platform::ComputeApi api) override { GivenUp(api) = true; }
};

}  // namespace

std::shared_ptr<SectionDevices> SystemDevices() {
    return std::make_shared<OfTheSystem>();
}

DeviceWish WishOf(SectionDevice option) {
    const std::string said = platform::ToUtf8(platform::EnvironmentVariable("ORVIX_GPU"));
    DeviceWish wish{option, said != "direct3d", said != "opencl"};
    if (option != SectionDevice::Auto) return wish;
    if (said == "cpu") wish.device = SectionDevice::Cpu;
    if (said == "gpu" || said == "opencl" || said == "direct3d") wish.device = SectionDevice::Gpu;
    return wish;
}

}  // namespace orvix::detail
