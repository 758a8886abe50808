// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/compute/compute_device.h"

#include "orvix/platform/compute/device_makers.h"

namespace orvix::platform {

tl::expected<std::unique_ptr<ComputeDevice>, std::string> OpenComputeDevice(
    const ComputeProgram& program, const ComputeDeviceOptions& options) {
    return options.api == ComputeApi::OpenCl ? MakeOpenClDevice(program, options)
                                             : MakeDirect3dDevice(program, options);
}

}  // namespace orvix::platform
