// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/gpu/section.h"
#include "orvix/platform/compute/compute_device.h"

namespace orvix::detail {

/// Where sections get a device from, and say that one is of no use.
///
/// Threads any, for the system's devices.
class SectionDevices {
public:
    virtual ~SectionDevices() = default;
    /// The next device to try, Direct3D before OpenCL; null where there is none. A software device
    /// is opened only where the caller takes one.
    virtual std::unique_ptr<platform::ComputeDevice> Open(bool software) = 0;
    /// The device failed, or answered wrongly: no device of its kind is opened any more.
    virtual void GiveUp(platform::ComputeApi api) = 0;
};

/// Those of the system. What was given up stays so as long as the process runs.
std::shared_ptr<SectionDevices> SystemDevices();

/// What to use: the option, or for Auto what ORVIX_GPU says: cpu, gpu, opencl or direct3d.
struct DeviceWish {
    SectionDevice device = SectionDevice::Auto;
    bool openCl = true;
    bool direct3d = true;
};
DeviceWish WishOf(SectionDevice option);

}  // namespace orvix::detail
