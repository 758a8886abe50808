// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/compute/direct3d_session.h"

#include <algorithm>
#include <cstdio>
#include <dxgi.h>
#include <utility>

#include "orvix/platform/compute/device_makers.h"
#include "orvix/platform/dynamic_library.h"
#include "orvix/platform/system.h"

namespace orvix::platform::detail {

DirectSession::~DirectSession() {
    if (!abandoned) return;
    for (auto& mark : marks) mark.Let();
    for (auto& piece : pieces) piece.Let();
    for (auto& kernel : kernels) kernel.Let();
    parameters.Let();
    context.Let();
    device.Let();
}

namespace {

using CreateFactory = HRESULT(WINAPI*)(REFIID, void**);

/// The vendor and number of the system's own device that draws on the processor.
constexpr UINT kSystemVendor = 0x1414;
constexpr UINT kSystemRenderer = 0x8C;

std::string Hexadecimal(HRESULT result) {
    char text[16];
    std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(result));
    return text;
}

struct Adapter {
    ComOwner<IDXGIAdapter1> adapter;
    std::string name;
    bool software = false;
    std::uint64_t memory = 0;  // of its own
};

/// Best first. BEHAVIOUR O13
std::vector<Adapter> Adapters(CreateFactory createFactory, bool acceptSoftware) {
    std::vector<Adapter> found;
    ComOwner<IDXGIFactory1> factory;
    if (FAILED(createFactory(__uuidof(IDXGIFactory1), reinterpret_cast<void**>(factory.Fill()))))
        return found;
    for (UINT i = 0; i < 64; ++i) {
        Adapter next;
        DXGI_ADAPTER_DESC1 facts{};
        if (FAILED(factory->EnumAdapters1(i, next.adapter.Fill()))) break;
        if (FAILED(next.adapter->GetDesc1(&facts))) continue;
        facts.Description[std::size(facts.Description) - 1] = 0;
        next.name = ToUtf8(facts.Description);
        next.memory = facts.DedicatedVideoMemory;
        next.software = (facts.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0 ||
                        (facts.VendorId == kSystemVendor && facts.DeviceId == kSystemRenderer);
        if (acceptSoftware || !next.software) found.push_back(std::move(next));
    }
    std::stable_sort(found.begin(), found.end(), [](const Adapter& a, const Adapter& b) {
        if (a.software != b.software) return b.software;
        return a.memory > b.memory;
    });
    return found;
}

HRESULT CreateParameters(DirectSession& session) {
    D3D11_BUFFER_DESC block{};
    block.ByteWidth = kComputeParameters * sizeof(std::uint32_t);
    block.Usage = D3D11_USAGE_DEFAULT;
    block.BindFlags = D3D11_BIND_CONSTANT_BUFFER;
    return session.device->CreateBuffer(&block, nullptr, session.parameters.Fill());
}

HRESULT CreateMarks(DirectSession& session) {
    D3D11_QUERY_DESC kind{};
    kind.Query = D3D11_QUERY_EVENT;
    HRESULT result = S_OK;
    for (auto& mark : session.marks) {
        if (SUCCEEDED(result)) result = session.device->CreateQuery(&kind, mark.Fill());
    }
    return result;
}

/// Makes everything of `session`; the sentence why that failed, empty where it did not.
std::string Build(DirectSession& session, PFN_D3D11_CREATE_DEVICE createDevice,
                  IDXGIAdapter* adapter, const ComputeProgram& program) {
    const D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_0;
    HRESULT result =
        createDevice(adapter, D3D_DRIVER_TYPE_UNKNOWN, nullptr, 0, &level, 1, D3D11_SDK_VERSION,
                     session.device.Fill(), nullptr, session.context.Fill());
    if (FAILED(result)) return "makes no device of level 11.0 (" + Hexadecimal(result) + ")";
    for (const ComputeKernel& kernel : program.kernels) {
        const auto bytes = kernel.direct3dBytes;
        session.kernels.emplace_back();
        result = session.device->CreateComputeShader(bytes.data(), bytes.size(), nullptr,
                                                     session.kernels.back().Fill());
        if (FAILED(result)) {
            return std::string("refuses the kernel ") + kernel.name + " (" + Hexadecimal(result) +
                   ")";
        }
    }
    result = CreateParameters(session);
    if (SUCCEEDED(result)) result = CreateMarks(session);
    return SUCCEEDED(result) ? std::string() : "has no memory (" + Hexadecimal(result) + ")";
}

/// What the interface promises of any device, and what more depends on its memory: a quarter of it, as
/// far as elements can be counted.
std::uint64_t LargestBufferOf(std::uint64_t memory) {
    constexpr std::uint64_t kSure =
        std::uint64_t{D3D11_REQ_RESOURCE_SIZE_IN_MEGABYTES_EXPRESSION_A_TERM} << 20;
    constexpr std::uint64_t kCountable =
        (std::uint64_t{4} << D3D11_REQ_BUFFER_RESOURCE_TEXEL_COUNT_2_TO_EXP);
    return std::clamp(memory / 4 / 4 * 4, kSure, kCountable);
}

}  // namespace

tl::expected<OpenedDirectSession, std::string> OpenDirectSession(
    const ComputeProgram& program, const ComputeDeviceOptions& options) {
    void* const d3d = LoadSystemLibrary({nullptr, L"d3d11.dll"});
    void* const dxgi = LoadSystemLibrary({nullptr, L"dxgi.dll"});
    const auto createDevice =
        reinterpret_cast<PFN_D3D11_CREATE_DEVICE>(FindSymbol(d3d, "D3D11CreateDevice"));
    const auto createFactory =
        reinterpret_cast<CreateFactory>(FindSymbol(dxgi, "CreateDXGIFactory1"));
    if (createDevice == nullptr || createFactory == nullptr)
        return tl::unexpected<std::string>("Direct3D 11: this system has no d3d11.dll or dxgi.dll");
    std::string reason = "Direct3D 11: there is no adapter that is a GPU, or no display";
    for (const Adapter& candidate : Adapters(createFactory, options.acceptSoftware)) {
        auto session = std::make_shared<DirectSession>();
        const std::string trouble = Build(*session, createDevice, candidate.adapter.Get(), program);
        if (trouble.empty()) {
            ComputeDeviceFacts facts{candidate.name, ComputeApi::Direct3D11, candidate.software,
                                     LargestBufferOf(candidate.memory), candidate.memory};
            return OpenedDirectSession{std::move(session), std::move(facts)};
        }
        reason = "Direct3D 11: " + candidate.name + " " + trouble;
    }
    return tl::unexpected<std::string>(std::move(reason));
}

}  // namespace orvix::platform::detail
