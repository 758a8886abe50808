// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "orvix/platform/compute/device_makers.h"
#include "orvix/platform/compute/opencl_session.h"
#include "orvix/platform/compute/pending_work.h"

namespace orvix::platform {
namespace {

using cl::kPieceBytes;
using cl::kPieces;
using cl::Piece;
using cl::Session;

class OpenClBuffer final : public ComputeBuffer {
public:
    OpenClBuffer(std::shared_ptr<Session> session, cl::Memory memory, std::uint64_t bytes)
        : ComputeBuffer(bytes), session_(std::move(session)), memory_(memory) {}
    ~OpenClBuffer() override {
        if (!session_->abandoned) session_->cl.releaseMemory(memory_);
    }

    [[nodiscard]] const Session* Owner() const { return session_.get(); }
    [[nodiscard]] const cl::Memory& Memory() const { return memory_; }

private:
    std::shared_ptr<Session> session_;
    cl::Memory memory_;
};

class OpenClDevice final : public ComputeDevice {
public:
    OpenClDevice(ComputeDeviceFacts facts, std::shared_ptr<Session> session,
                 std::chrono::milliseconds patience)
        : ComputeDevice(std::move(facts)), session_(std::move(session)), patience_(patience) {}
    ~OpenClDevice() override;

    std::unique_ptr<ComputeBuffer> CreateBuffer(std::uint64_t bytes) override;
    bool Upload(ComputeBuffer& buffer, std::uint64_t offset,
                std::span<const std::uint8_t> bytes) override;
    bool Launch(std::size_t kernel, const ComputeBuffer& in0, const ComputeBuffer& in1,
                ComputeBuffer& out0, ComputeBuffer& out1,
                std::span<const std::uint32_t, kComputeParameters> parameters,
                std::uint32_t groups) override;
    bool Download(ComputeBuffer& buffer, std::uint64_t offset,
                  std::span<std::uint8_t> bytes) override;

private:
    /// The memory of a buffer of this device; null for another's.
    [[nodiscard]] const cl::Memory* MemoryOf(const ComputeBuffer& buffer) const;
    /// Notes the outcome of a call that gives the device work; `event` is its mark.
    bool Given(cl::Int result, cl::Event event);
    bool WaitFor(std::uint64_t number);
    bool MakeRoom() { return !work_.IsFull() || WaitFor(work_.Oldest()); }
    /// The next piece of transfer memory, once nothing uses it; null where the device is lost.
    Piece* NextPiece();
    bool Open(Piece& piece);
    bool Ask(cl::Memory memory, std::uint64_t offset, std::size_t bytes, Piece*& piece);
    bool Lose();

    std::shared_ptr<Session> session_;
    std::chrono::milliseconds patience_;
    PendingWork<cl::Event> work_;
    std::size_t nextPiece_ = 0;
    bool lost_ = false;
};

OpenClDevice::~OpenClDevice() {
    // Transfer memory must stay while it is in use.
    if (!lost_ && !work_.IsEmpty()) WaitFor(work_.Newest());
}

bool OpenClDevice::Lose() {
    lost_ = true;
    // BEHAVIOUR O12
    if (!work_.IsEmpty()) session_->abandoned = true;
    return false;
}

const cl::Memory* OpenClDevice::MemoryOf(const ComputeBuffer& buffer) const {
    const auto* const own = dynamic_cast<const OpenClBuffer*>(&buffer);
    return own != nullptr && own->Owner() == session_.get() ? &own->Memory() : nullptr;
}

bool OpenClDevice::Given(cl::Int result, cl::Event event) {
    if (result != cl::kSuccess) return Lose();
    work_.Add(event);
    return session_->cl.flush(session_->queue) == cl::kSuccess || Lose();
}

bool OpenClDevice::WaitFor(std::uint64_t number) {
    const cl::Calls& cl = session_->cl;
    const auto ask = [&cl](cl::Event event) {
        cl::Int status = cl::kComplete;
        const cl::Int asked =
            cl.getEventInfo(event, cl::kEventStatus, sizeof status, &status, nullptr);
        if (asked != cl::kSuccess || status < cl::kComplete) return WorkState::Failed;
        if (status > cl::kComplete) return WorkState::Running;
        cl.releaseEvent(event);
        return WorkState::Done;
    };
    return work_.WaitFor(number, ask, patience_) || Lose();
}

bool OpenClDevice::Open(Piece& piece) {
    const cl::Calls& cl = session_->cl;
    cl::Int result = cl::kSuccess;
    piece.memory = cl.createBuffer(session_->context, cl::kReadWrite | cl::kHostMemory, kPieceBytes,
                                   nullptr, &result);
    if (piece.memory == nullptr || !MakeRoom()) return Lose();
    cl::Event mapped = nullptr;
    void* const bytes =
        cl.map(session_->queue, piece.memory, cl::kFalse, cl::kMapToRead | cl::kMapToWrite, 0,
               kPieceBytes, 0, nullptr, &mapped, &result);
    if (!Given(result, mapped) || !WaitFor(work_.Newest())) return false;
    piece.bytes = static_cast<std::uint8_t*>(bytes);
    return true;
}

Piece* OpenClDevice::NextPiece() {
    Piece& piece = session_->pieces[nextPiece_++ % kPieces];
    const bool ready = piece.bytes != nullptr ? WaitFor(piece.busyUntil) : Open(piece);
    return ready && MakeRoom() ? &piece : nullptr;
}

std::unique_ptr<ComputeBuffer> OpenClDevice::CreateBuffer(std::uint64_t bytes) {
    if (lost_ || !IsBufferSize(bytes, LargestBuffer())) return nullptr;
    const cl::Calls& cl = session_->cl;
    cl::Int result = cl::kSuccess;
    const cl::Memory memory = cl.createBuffer(session_->context, cl::kReadWrite,
                                              static_cast<std::size_t>(bytes), nullptr, &result);
    if (memory == nullptr) return nullptr;
    std::unique_ptr<ComputeBuffer> buffer(new (std::nothrow) OpenClBuffer(session_, memory, bytes));
    if (buffer == nullptr) cl.releaseMemory(memory);
    return buffer;
}

bool OpenClDevice::Upload(ComputeBuffer& buffer, std::uint64_t offset,
                          std::span<const std::uint8_t> bytes) {
    const cl::Memory* const memory = MemoryOf(buffer);
    if (lost_ || memory == nullptr || !FitsBuffer(buffer.Size(), offset, bytes.size()))
        return false;
    while (!bytes.empty()) {
        Piece* const piece = NextPiece();
        if (piece == nullptr) return false;
        const std::size_t count = std::min(bytes.size(), kPieceBytes);
        std::memcpy(piece->bytes, bytes.data(), count);
        cl::Event event = nullptr;
        const cl::Int result = session_->cl.write(session_->queue, *memory, cl::kFalse,
                                                  static_cast<std::size_t>(offset), count,
                                                  piece->bytes, 0, nullptr, &event);
        if (!Given(result, event)) return false;
        piece->busyUntil = work_.Newest();
        offset += count;
        bytes = bytes.subspan(count);
    }
    return true;
}

bool OpenClDevice::Launch(std::size_t kernel, const ComputeBuffer& in0, const ComputeBuffer& in1,
                          ComputeBuffer& out0, ComputeBuffer& out1,
                          std::span<const std::uint32_t, kComputeParameters> parameters,
                          std::uint32_t groups) {
    const cl::Memory* const memory[] = {MemoryOf(in0), MemoryOf(in1), MemoryOf(out0),
                                        MemoryOf(out1)};
    if (lost_ || kernel >= session_->kernels.size() || groups == 0 || groups > kMostComputeGroups ||
        std::count(std::begin(memory), std::end(memory), nullptr) != 0 ||
        IsOutputAnInput(in0, in1, out0, out1) || !MakeRoom()) {
        return false;
    }
    const cl::Calls& cl = session_->cl;
    const cl::Kernel made = session_->kernels[kernel];
    cl::Int result = cl.setKernelArgument(made, 4, parameters.size_bytes(), parameters.data());
    for (cl::UInt i = 0; i < 4 && result == cl::kSuccess; ++i)
        result = cl.setKernelArgument(made, i, sizeof(cl::Memory), memory[i]);
    const std::size_t items = std::size_t{groups} * kComputeGroup;
    const std::size_t group = kComputeGroup;
    cl::Event event = nullptr;
    if (result == cl::kSuccess) {
        result = cl.launch(session_->queue, made, 1, nullptr, &items, &group, 0, nullptr, &event);
    }
    return Given(result, event);
}

bool OpenClDevice::Ask(cl::Memory memory, std::uint64_t offset, std::size_t bytes, Piece*& piece) {
    piece = NextPiece();
    if (piece == nullptr) return false;
    cl::Event event = nullptr;
    const cl::Int result =
        session_->cl.read(session_->queue, memory, cl::kFalse, static_cast<std::size_t>(offset),
                          bytes, piece->bytes, 0, nullptr, &event);
    if (!Given(result, event)) return false;
    piece->busyUntil = work_.Newest();
    return true;
}

bool OpenClDevice::Download(ComputeBuffer& buffer, std::uint64_t offset,
                            std::span<std::uint8_t> bytes) {
    const cl::Memory* const memory = MemoryOf(buffer);
    if (lost_ || memory == nullptr || !FitsBuffer(buffer.Size(), offset, bytes.size()))
        return false;
    std::array<Piece*, kPieces> pieces{};
    std::size_t asked = 0;
    for (std::size_t copied = 0; copied < bytes.size();) {
        // All pieces but the one that is waited for are under way.
        while (asked < bytes.size() && asked - copied < kPieces * kPieceBytes) {
            const std::size_t count = std::min(bytes.size() - asked, kPieceBytes);
            if (!Ask(*memory, offset + asked, count, pieces[asked / kPieceBytes % kPieces])) {
                return false;
            }
            asked += count;
        }
        const Piece& piece = *pieces[copied / kPieceBytes % kPieces];
        if (!WaitFor(piece.busyUntil)) return false;
        const std::size_t count = std::min(bytes.size() - copied, kPieceBytes);
        std::memcpy(bytes.data() + copied, piece.bytes, count);
        copied += count;
    }
    return true;
}

}  // namespace

MadeComputeDevice MakeOpenClDevice(const ComputeProgram& program,
                                   const ComputeDeviceOptions& options) {
    auto opened = cl::OpenSession(program, options);
    if (!opened) return tl::unexpected<std::string>(std::move(opened.error()));
    return std::make_unique<OpenClDevice>(std::move(opened->facts), std::move(opened->session),
                                          options.patience);
}

}  // namespace orvix::platform
