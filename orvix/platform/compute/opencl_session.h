// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvix/platform/compute/compute_device.h"
#include "orvix/platform/compute/opencl_calls.h"

namespace orvix::platform::cl {

/// Transfers go through memory that the driver allocates, in pieces, so that no memory of the caller is
/// in a device's hands; several pieces, so that copies and transfers run side by side.
constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
constexpr std::size_t kPieces = 4;

struct Piece {
    Memory memory = nullptr;
    std::uint8_t* bytes = nullptr;
    std::uint64_t busyUntil = 0;  // the number of the work that uses it
};

/// What a device and its buffers have in common.
struct Session {
    explicit Session(const Calls& found) : cl(found) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Calls cl;
    Device device = nullptr;
    Context context = nullptr;
    Queue queue = nullptr;
    Program program = nullptr;
    std::vector<Kernel> kernels;
    std::array<Piece, kPieces> pieces{};
    /// The device still works on what it was given, and may do so for ever: releasing could wait.
    bool abandoned = false;
};

struct OpenedSession {
    std::shared_ptr<Session> session;
    ComputeDeviceFacts facts;
};

/// A session with the best device that takes the program, or the sentence why there is none.
tl::expected<OpenedSession, std::string> OpenSession(const ComputeProgram& program,
                                                     const ComputeDeviceOptions& options);

}  // namespace orvix::platform::cl
