// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <d3d11.h>
#include <memory>
#include <string>
#include <vector>

#include "orvix/platform/compute/compute_device.h"
#include "orvix/platform/compute/pending_work.h"
#include "orvix/platform/win32/compute/com_owner.h"

namespace orvix::platform::detail {

/// Downloads go through memory that both sides reach, in pieces, so that copies and transfers run side
/// by side. Uploads are the runtime's: it copies what it is given before the call returns.
inline constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
inline constexpr std::size_t kPieces = 4;

/// What a Direct3D device and its buffers have in common.
struct DirectSession {
    DirectSession() = default;
    ~DirectSession();
    DirectSession(const DirectSession&) = delete;
    DirectSession& operator=(const DirectSession&) = delete;

    ComOwner<ID3D11Device> device;
    ComOwner<ID3D11DeviceContext> context;
    std::vector<ComOwner<ID3D11ComputeShader>> kernels;
    ComOwner<ID3D11Buffer> parameters;
    std::array<ComOwner<ID3D11Buffer>, kPieces> pieces;  // made at their first use
    std::array<ComOwner<ID3D11Query>, PendingWork<std::size_t>::kMost> marks;
    /// The device still works on what it was given, and may do so for ever: releasing could wait.
    bool abandoned = false;
};

struct OpenedDirectSession {
    std::shared_ptr<DirectSession> session;
    ComputeDeviceFacts facts;
};

/// A session with the best device that takes the program, or the sentence why there is none.
tl::expected<OpenedDirectSession, std::string> OpenDirectSession(
    const ComputeProgram& program, const ComputeDeviceOptions& options);

}  // namespace orvix::platform::detail
