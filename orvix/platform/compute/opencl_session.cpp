// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/compute/opencl_session.h"

#include <algorithm>
#include <utility>

#include "orvix/platform/compute/device_makers.h"

namespace orvix::platform::cl {

Session::~Session() {
    if (abandoned) return;
    for (const Piece& piece : pieces) {
        if (piece.bytes != nullptr) cl.unmap(queue, piece.memory, piece.bytes, 0, nullptr, nullptr);
        if (piece.memory != nullptr) cl.releaseMemory(piece.memory);
    }
    for (Kernel kernel : kernels) {
        if (kernel != nullptr) cl.releaseKernel(kernel);
    }
    if (program != nullptr) cl.releaseProgram(program);
    if (queue != nullptr) cl.releaseQueue(queue);
    if (context != nullptr) cl.releaseContext(context);
}

namespace {

template <class Value>
Value FactOf(const Calls& cl, Device device, UInt fact) {
    Value value{};
    return cl.getDeviceInfo(device, fact, sizeof value, &value, nullptr) == kSuccess ? value
                                                                                     : Value{};
}

std::string TextOf(const Calls& cl, Device device, UInt fact) {
    std::array<char, 256> text{};
    cl.getDeviceInfo(device, fact, text.size() - 1, text.data(), nullptr);
    const std::string whole(text.data());
    const std::size_t begin = std::min(whole.find_first_not_of(' '), whole.size());
    return whole.substr(begin, whole.find_last_not_of(' ') + 1 - begin);
}

struct Candidate {
    Device device = nullptr;
    bool software = false;
    bool sharesMemory = false;
    std::uint64_t memory = 0;
};

/// "OpenCL 1.2 ..." or later.
bool IsNewEnough(const std::string& version) {
    return version.starts_with("OpenCL ") && version.substr(7, 3) >= "1.2";
}

bool IsUsable(const Calls& cl, Device device) {
    return FactOf<UInt>(cl, device, kDeviceAvailable) != 0 &&
           FactOf<UInt>(cl, device, kDeviceHasCompiler) != 0 &&
           FactOf<UInt>(cl, device, kDeviceLittleEndian) != 0 &&
           FactOf<std::size_t>(cl, device, kDeviceMaxGroup) >= kComputeGroup &&
           IsNewEnough(TextOf(cl, device, kDeviceVersion));
}

std::vector<Device> DevicesOf(const Calls& cl, Platform platform) {
    std::array<Device, 64> found{};
    UInt count = 0;
    if (cl.getDevices(platform, kEveryDevice, found.size(), found.data(), &count) != kSuccess) {
        return {};
    }
    return {found.begin(), found.begin() + std::min<std::size_t>(count, found.size())};
}

/// The devices of all platforms, best first. BEHAVIOUR O13
std::vector<Candidate> Candidates(const Calls& cl, bool acceptSoftware, Int& result) {
    std::array<Platform, 32> platforms{};
    UInt count = 0;
    std::vector<Candidate> found;
    result = cl.getPlatforms(platforms.size(), platforms.data(), &count);
    if (result != kSuccess) return found;
    for (std::size_t i = 0; i < std::min<std::size_t>(count, platforms.size()); ++i) {
        for (Device device : DevicesOf(cl, platforms[i])) {
            const auto type = FactOf<Bits>(cl, device, kDeviceType);
            Candidate candidate;
            candidate.device = device;
            candidate.software = (type & (kTypeGpu | kTypeAccelerator)) == 0;
            candidate.sharesMemory = FactOf<UInt>(cl, device, kDeviceSharesMemory) != 0;
            candidate.memory = FactOf<std::uint64_t>(cl, device, kDeviceMemory);
            if ((acceptSoftware || !candidate.software) && IsUsable(cl, device))
                found.push_back(candidate);
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Candidate& a, const Candidate& b) {
        if (a.software != b.software) return b.software;
        if (a.sharesMemory != b.sharesMemory) return b.sharesMemory;
        return a.memory > b.memory;
    });
    return found;
}

/// What the compiler says, as far as it fits into a sentence.
std::string BuildLog(const Session& session) {
    std::size_t size = 0;
    constexpr std::size_t kMost = 400;
    const Calls& cl = session.cl;
    if (cl.getBuildInfo(session.program, session.device, kBuildLog, 0, nullptr, &size) !=
        kSuccess) {
        return {};
    }
    std::string log(size, '\0');
    cl.getBuildInfo(session.program, session.device, kBuildLog, size, log.data(), nullptr);
    log.resize(std::min({log.find('\0'), kMost, log.size()}));
    std::replace_if(
        log.begin(), log.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return log;
}

/// Makes everything of `session`; the sentence why that failed, empty where it did not.
std::string Build(Session& session, const ComputeProgram& program,
                  const ComputeDeviceOptions& options) {
    const Calls& cl = session.cl;
    Int result = kSuccess;
    const auto refused = [&result](const char* what) {
        return std::string(what) + " (" + std::to_string(result) + ")";
    };
    session.context = cl.createContext(nullptr, 1, &session.device, nullptr, nullptr, &result);
    if (session.context == nullptr) return refused("makes no context");
    session.queue = cl.createQueue(session.context, session.device, 0, &result);
    if (session.queue == nullptr) return refused("makes no queue");
    const char* text = program.openClText.data();
    const std::size_t length = program.openClText.size();
    session.program = cl.createProgram(session.context, 1, &text, &length, &result);
    if (session.program == nullptr) return refused("takes no program");
    const std::string how = options.openClOptions + (options.contract ? " -DCONTRACT" : "");
    result = cl.buildProgram(session.program, 1, &session.device, how.c_str(), nullptr, nullptr);
    if (result != kSuccess) return refused("refuses the kernels") + ": " + BuildLog(session);
    for (const ComputeKernel& kernel : program.kernels) {
        session.kernels.push_back(cl.createKernel(session.program, kernel.name, &result));
        if (session.kernels.back() == nullptr) return refused("lacks a kernel");
    }
    return {};
}

}  // namespace

tl::expected<OpenedSession, std::string> OpenSession(const ComputeProgram& program,
                                                     const ComputeDeviceOptions& options) {
    Calls cl{};
    if (!Load(cl)) {
        return tl::unexpected<std::string>(
            "OpenCL: this system has no libOpenCL.so.1 (on Windows OpenCL.dll) of version 1.2; the "
            "driver of a device brings one");
    }
    Int result = kSuccess;
    const std::vector<Candidate> candidates = Candidates(cl, options.acceptSoftware, result);
    std::string reason = "OpenCL: no driver for a device (" + std::to_string(result) + ")";
    if (result == kSuccess) reason = "OpenCL: the drivers have no device that is a GPU";
    for (const Candidate& candidate : candidates) {
        auto session = std::make_shared<Session>(cl);
        session->device = candidate.device;
        ComputeDeviceFacts facts{TextOf(cl, candidate.device, kDeviceName), ComputeApi::OpenCl,
                                 candidate.software, 0, candidate.memory};
        const std::string trouble = Build(*session, program, options);
        if (!trouble.empty()) {
            reason = "OpenCL: " + facts.name + " " + trouble;
            continue;
        }
        const auto largest = FactOf<std::uint64_t>(cl, candidate.device, kDeviceMaxBuffer);
        facts.largestBuffer = std::min(largest, kLargestComputeBuffer);
        return OpenedSession{std::move(session), std::move(facts)};
    }
    return tl::unexpected<std::string>(std::move(reason));
}

}  // namespace orvix::platform::cl
