// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "orvix/platform/compute/compute_device.h"

namespace orvix::platform {

using MadeComputeDevice = tl::expected<std::unique_ptr<ComputeDevice>, std::string>;

MadeComputeDevice MakeOpenClDevice(const ComputeProgram& program,
                                   const ComputeDeviceOptions& options);
/// Elsewhere than on Windows: always the sentence that there is no Direct3D.
MadeComputeDevice MakeDirect3dDevice(const ComputeProgram& program,
                                     const ComputeDeviceOptions& options);

/// Whether a transfer lies within its buffer and consists of whole words.
inline bool FitsBuffer(std::uint64_t size, std::uint64_t offset, std::uint64_t bytes) {
    return offset % 4 == 0 && bytes % 4 == 0 && offset <= size && bytes <= size - offset;
}

/// What kernels can count in words of 32 bits.
inline constexpr std::uint64_t kLargestComputeBuffer = (std::uint64_t{1} << 34) - 4;

inline bool IsBufferSize(std::uint64_t bytes, std::uint64_t largest) {
    return bytes != 0 && bytes % 4 == 0 && bytes <= largest;
}

inline bool IsOutputAnInput(const ComputeBuffer& in0, const ComputeBuffer& in1,
                            const ComputeBuffer& out0, const ComputeBuffer& out1) {
    return &in0 == &out0 || &in0 == &out1 || &in1 == &out0 || &in1 == &out1;
}

}  // namespace orvix::platform
