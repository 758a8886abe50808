// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "orvix/platform/compute/compute_device.h"

namespace orvix::detail {

/// The kernels' places in the program; section_kernels.cl says what each does.
enum SectionKernel : std::size_t { kClassifyKernel, kSnapKernel };

/// The kernels of sections: points against a slab, and what a picking ray may reach. One object for
/// the whole run of a process.
const platform::ComputeProgram& SectionProgram();

}  // namespace orvix::detail
