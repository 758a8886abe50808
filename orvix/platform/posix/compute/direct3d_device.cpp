// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/compute/device_makers.h"

namespace orvix::platform {

MadeComputeDevice MakeDirect3dDevice(const ComputeProgram& /*program*/,
                                     const ComputeDeviceOptions& /*options*/) {
    return tl::unexpected<std::string>("Direct3D 11: this system has none");
}

}  // namespace orvix::platform
