// SPDX-License-Identifier: GPL-3.0-or-later
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "orvix/platform/compute/device_makers.h"
#include "orvix/platform/win32/compute/direct3d_session.h"

namespace orvix::platform {
namespace {

using detail::ComOwner;
using detail::DirectSession;
using detail::kPieceBytes;
using detail::kPieces;

class Direct3dBuffer final : public ComputeBuffer {
public:
    Direct3dBuffer(std::shared_ptr<DirectSession> session, std::uint64_t bytes)
        : ComputeBuffer(bytes), session_(std::move(session)) {}
    ~Direct3dBuffer() override {
        if (!session_->abandoned) return;
        input_.Let();
        output_.Let();
        memory_.Let();
    }

    /// False where there is no memory.
    bool Make();
    [[nodiscard]] const DirectSession* Owner() const { return session_.get(); }
    [[nodiscard]] ID3D11Buffer* Memory() const { return memory_.Get(); }
    [[nodiscard]] ID3D11ShaderResourceView* Input() const { return input_.Get(); }
    [[nodiscard]] ID3D11UnorderedAccessView* Output() const { return output_.Get(); }

private:
    std::shared_ptr<DirectSession> session_;
    ComOwner<ID3D11Buffer> memory_;
    ComOwner<ID3D11ShaderResourceView> input_;
    ComOwner<ID3D11UnorderedAccessView> output_;
};

bool Direct3dBuffer::Make() {
    D3D11_BUFFER_DESC words{};
    words.ByteWidth = static_cast<UINT>(Size());
    words.Usage = D3D11_USAGE_DEFAULT;
    words.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_UNORDERED_ACCESS;
    words.MiscFlags = D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
    words.StructureByteStride = 4;
    ID3D11Device* const device = session_->device.Get();
    return SUCCEEDED(device->CreateBuffer(&words, nullptr, memory_.Fill())) &&
           SUCCEEDED(device->CreateShaderResourceView(Memory(), nullptr, input_.Fill())) &&
           SUCCEEDED(device->CreateUnorderedAccessView(Memory(), nullptr, output_.Fill()));
}

class Direct3dDevice final : public ComputeDevice {
public:
    Direct3dDevice(ComputeDeviceFacts facts, std::shared_ptr<DirectSession> session,
                   std::chrono::milliseconds patience)
        : ComputeDevice(std::move(facts)), session_(std::move(session)), patience_(patience) {}
    ~Direct3dDevice() override;

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
    [[nodiscard]] const Direct3dBuffer* Own(const ComputeBuffer& buffer) const;
    bool WaitFor(std::uint64_t number);
    bool MakeRoom() { return !work_.IsFull() || WaitFor(work_.Oldest()); }
    /// Marks the end of what the device was given so far. Call after MakeRoom.
    bool Mark();
    bool Ask(ID3D11Buffer* memory, std::uint64_t offset, std::size_t bytes, std::size_t piece);
    bool Copy(std::size_t piece, std::uint8_t* target, std::size_t bytes);
    bool Lose();

    std::shared_ptr<DirectSession> session_;
    std::chrono::milliseconds patience_;
    PendingWork<std::size_t> work_;  // places in the session's marks
    std::size_t nextMark_ = 0;
    bool lost_ = false;
};

Direct3dDevice::~Direct3dDevice() {
    if (!lost_ && !work_.IsEmpty()) WaitFor(work_.Newest());
    if (lost_) return;
    // Else the context would keep the buffers of the last launch.
    session_->context->ClearState();
    session_->context->Flush();
}

bool Direct3dDevice::Lose() {
    lost_ = true;
    // A device that was taken away has ended its work; one that hangs has not. BEHAVIOUR O12
    if (session_->device->GetDeviceRemovedReason() == S_OK && !work_.IsEmpty())
        session_->abandoned = true;
    return false;
}

const Direct3dBuffer* Direct3dDevice::Own(const ComputeBuffer& buffer) const {
    const auto* const own = dynamic_cast<const Direct3dBuffer*>(&buffer);
    return own != nullptr && own->Owner() == session_.get() ? own : nullptr;
}

bool Direct3dDevice::WaitFor(std::uint64_t number) {
    const auto ask = [this](std::size_t place) {
        BOOL done = FALSE;
        const HRESULT result =
            session_->context->GetData(session_->marks[place].Get(), &done, sizeof done, 0);
        if (FAILED(result)) return WorkState::Failed;
        return result == S_OK && done != FALSE ? WorkState::Done : WorkState::Running;
    };
    if (!work_.WaitFor(number, ask, patience_)) return Lose();
    return session_->device->GetDeviceRemovedReason() == S_OK || Lose();
}

bool Direct3dDevice::Mark() {
    const std::size_t place = nextMark_++ % session_->marks.size();
    session_->context->End(session_->marks[place].Get());
    session_->context->Flush();
    work_.Add(place);
    return session_->device->GetDeviceRemovedReason() == S_OK || Lose();
}

std::unique_ptr<ComputeBuffer> Direct3dDevice::CreateBuffer(std::uint64_t bytes) {
    if (lost_ || !IsBufferSize(bytes, LargestBuffer())) return nullptr;
    std::unique_ptr<Direct3dBuffer> buffer(new (std::nothrow) Direct3dBuffer(session_, bytes));
    if (buffer != nullptr && !buffer->Make()) buffer.reset();
    return buffer;
}

bool Direct3dDevice::Upload(ComputeBuffer& buffer, std::uint64_t offset,
                            std::span<const std::uint8_t> bytes) {
    const Direct3dBuffer* const own = Own(buffer);
    if (lost_ || own == nullptr || !FitsBuffer(buffer.Size(), offset, bytes.size())) return false;
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), kPieceBytes);
        const auto from = static_cast<UINT>(offset);
        const D3D11_BOX place{from, 0, 0, from + static_cast<UINT>(count), 1, 1};
        if (!MakeRoom()) return false;
        session_->context->UpdateSubresource(own->Memory(), 0, &place, bytes.data(), 0, 0);
        if (!Mark()) return false;
        offset += count;
        bytes = bytes.subspan(count);
    }
    return true;
}

bool Direct3dDevice::Launch(std::size_t kernel, const ComputeBuffer& in0, const ComputeBuffer& in1,
                            ComputeBuffer& out0, ComputeBuffer& out1,
                            std::span<const std::uint32_t, kComputeParameters> parameters,
                            std::uint32_t groups) {
    const Direct3dBuffer* const own[] = {Own(in0), Own(in1), Own(out0), Own(out1)};
    if (lost_ || kernel >= session_->kernels.size() || groups == 0 || groups > kMostComputeGroups ||
        std::count(std::begin(own), std::end(own), nullptr) != 0 ||
        IsOutputAnInput(in0, in1, out0, out1) || !MakeRoom()) {
        return false;
    }
    ID3D11DeviceContext* const context = session_->context.Get();
    ID3D11Buffer* const block = session_->parameters.Get();
    context->UpdateSubresource(block, 0, nullptr, parameters.data(), 0, 0);
    // What was an input before may be an output now, and no buffer is both at a time. Nor is one bound
    // twice as output: a write to a place without a buffer is dropped.
    ID3D11ShaderResourceView* const noInputs[] = {nullptr, nullptr};
    ID3D11ShaderResourceView* const inputs[] = {own[0]->Input(), own[1]->Input()};
    ID3D11UnorderedAccessView* const outputs[] = {own[2]->Output(),
                                                  own[2] == own[3] ? nullptr : own[3]->Output()};
    context->CSSetShaderResources(0, 2, noInputs);
    context->CSSetUnorderedAccessViews(0, 2, outputs, nullptr);
    context->CSSetShaderResources(0, 2, inputs);
    context->CSSetConstantBuffers(0, 1, &block);
    context->CSSetShader(session_->kernels[kernel].Get(), nullptr, 0);
    context->Dispatch(groups, 1, 1);
    return Mark();
}

bool Direct3dDevice::Ask(ID3D11Buffer* memory, std::uint64_t offset, std::size_t bytes,
                         std::size_t piece) {
    ComOwner<ID3D11Buffer>& held = session_->pieces[piece];
    if (!held) {
        D3D11_BUFFER_DESC reached{};
        reached.ByteWidth = kPieceBytes;
        reached.Usage = D3D11_USAGE_STAGING;
        reached.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        if (FAILED(session_->device->CreateBuffer(&reached, nullptr, held.Fill()))) return Lose();
    }
    if (!MakeRoom()) return false;
    const auto from = static_cast<UINT>(offset);
    const D3D11_BOX place{from, 0, 0, from + static_cast<UINT>(bytes), 1, 1};
    session_->context->CopySubresourceRegion(held.Get(), 0, 0, 0, 0, memory, 0, &place);
    return Mark();
}

bool Direct3dDevice::Copy(std::size_t piece, std::uint8_t* target, std::size_t bytes) {
    D3D11_MAPPED_SUBRESOURCE mapped{};
    ID3D11Buffer* const held = session_->pieces[piece].Get();
    if (FAILED(session_->context->Map(held, 0, D3D11_MAP_READ, 0, &mapped))) return Lose();
    std::memcpy(target, mapped.pData, bytes);
    session_->context->Unmap(held, 0);
    return true;
}

bool Direct3dDevice::Download(ComputeBuffer& buffer, std::uint64_t offset,
                              std::span<std::uint8_t> bytes) {
    const Direct3dBuffer* const own = Own(buffer);
    if (lost_ || own == nullptr || !FitsBuffer(buffer.Size(), offset, bytes.size())) return false;
    std::array<std::uint64_t, kPieces> numbers{};
    std::size_t asked = 0;
    for (std::size_t copied = 0; copied < bytes.size();) {
        // All pieces but the one that is waited for are under way.
        while (asked < bytes.size() && asked - copied < kPieces * kPieceBytes) {
            const std::size_t count = std::min(bytes.size() - asked, kPieceBytes);
            const std::size_t piece = asked / kPieceBytes % kPieces;
            if (!Ask(own->Memory(), offset + asked, count, piece)) return false;
            numbers[piece] = work_.Newest();
            asked += count;
        }
        const std::size_t piece = copied / kPieceBytes % kPieces;
        const std::size_t count = std::min(bytes.size() - copied, kPieceBytes);
        // Once the copy is done, mapping its piece waits for nothing.
        if (!WaitFor(numbers[piece]) || !Copy(piece, bytes.data() + copied, count)) return false;
        copied += count;
    }
    return true;
}

}  // namespace

MadeComputeDevice MakeDirect3dDevice(const ComputeProgram& program,
                                     const ComputeDeviceOptions& options) {
    auto opened = detail::OpenDirectSession(program, options);
    if (!opened) return tl::unexpected<std::string>(std::move(opened.error()));
    return std::make_unique<Direct3dDevice>(std::move(opened->facts), std::move(opened->session),
                                            options.patience);
}

}  // namespace orvix::platform
