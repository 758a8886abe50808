// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <tl/expected.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace orvix::platform {

/// A kernel by its name in the OpenCL text, and as the bytes that Direct3D takes.
struct ComputeKernel {
    const char* name = nullptr;
    std::span<const std::uint8_t> direct3dBytes;
};

/// Kernels that a device runs, in both languages. Every kernel has two input buffers of words, two
/// output buffers of words and a block of kComputeParameters words; a group has kComputeGroup items.
struct ComputeProgram {
    std::string_view openClText;
    std::span<const ComputeKernel> kernels;
};

inline constexpr std::size_t kComputeParameters = 32;
inline constexpr std::uint32_t kComputeGroup = 256;
/// Groups of one launch; some systems do nothing, and report success, where there are more.
inline constexpr std::uint32_t kMostComputeGroups = 65'535;

enum class ComputeApi {
    OpenCl,      ///< version 1.2 or later, on every system
    Direct3D11,  ///< feature level 11.0, on Windows
};

struct ComputeDeviceOptions {
    ComputeApi api = ComputeApi::OpenCl;
    /// Takes devices that are the processor in disguise where there is no other: tests.
    bool acceptSoftware = false;
    /// How the OpenCL text is compiled; tests make devices that round differently through this.
    std::string openClOptions = "-cl-std=CL1.2";
    /// Compiles the OpenCL text with fused operations allowed: tests.
    bool contract = false;
    /// What takes longer than this is a device that hangs.
    std::chrono::milliseconds patience{10'000};
};

/// Memory of a device, with room for `Size` bytes.
///
/// Lifetime  before or after its device's end; it is of no use then.
class ComputeBuffer {
public:
    virtual ~ComputeBuffer() = default;
    ComputeBuffer(const ComputeBuffer&) = delete;
    ComputeBuffer& operator=(const ComputeBuffer&) = delete;

    [[nodiscard]] std::uint64_t Size() const { return size_; }

protected:
    explicit ComputeBuffer(std::uint64_t size) : size_(size) {}

private:
    std::uint64_t size_;
};

/// What a device reports of itself.
struct ComputeDeviceFacts {
    std::string name;  ///< UTF-8, as the driver gives it
    ComputeApi api = ComputeApi::OpenCl;
    bool software = false;            ///< its kernels run on the processor
    std::uint64_t largestBuffer = 0;  ///< bytes
    std::uint64_t memory = 0;         ///< bytes; 0 where it is unknown
};

/// Runs the kernels of one program on one device, in the order of the calls.
///
///     auto device = OpenComputeDevice(program, {.api = ComputeApi::OpenCl});
///     if (!device) return WorkOnTheProcessor(device.error());
///     auto points = (*device)->CreateBuffer(bytes), classes = (*device)->CreateBuffer(count * 4);
///     const bool done = points && classes && (*device)->Upload(*points, 0, records) &&
///                       (*device)->Launch(0, *points, *points, *classes, *classes, words, groups) &&
///                       (*device)->Download(*classes, 0, answer);
///
/// Boundaries  offsets and sizes are whole words (4 bytes) and lie within the buffer; a launch has 1
///             to kMostComputeGroups groups. Anything else is refused with false and harms nothing,
///             nor does an empty upload or download, which succeeds. A kernel must not read or
///             write past its buffers.
/// Buffers     an output that is an input of the same launch is refused. A kernel that does not use its
///             second input or output is given the first a second time.
/// Errors      false, or no buffer, for any reason: memory, a device that was taken away, a
///             driver's failure, one that hangs. A refused buffer leaves the device as it was; after
///             any other failure of a call that lies within the boundaries all further calls fail,
///             at once. The caller then gives the device up and works on the processor.
///             Some drivers find out at the first use of a buffer that they have no memory for it.
/// Waiting     Upload and Launch return while the device works, unless very much is under way;
///             Download, and the end of a device that still works, wait for what was asked for
///             before. Nothing waits longer than the patience for one piece of work. What a device
///             that hangs still holds is left to it, for good; no memory of the caller is in its
///             hands after a call has returned.
/// Threads     one at a time.
/// Cost        an upload or download copies once through memory that the device reaches by itself.
class ComputeDevice {
public:
    virtual ~ComputeDevice() = default;
    ComputeDevice(const ComputeDevice&) = delete;
    ComputeDevice& operator=(const ComputeDevice&) = delete;

    [[nodiscard]] const std::string& Name() const { return facts_.name; }
    [[nodiscard]] ComputeApi Api() const { return facts_.api; }
    [[nodiscard]] bool IsSoftware() const { return facts_.software; }
    [[nodiscard]] std::uint64_t LargestBuffer() const { return facts_.largestBuffer; }
    [[nodiscard]] std::uint64_t Memory() const { return facts_.memory; }

    /// Null where the device has no room for so many bytes, or for none, or for part of a word.
    virtual std::unique_ptr<ComputeBuffer> CreateBuffer(std::uint64_t bytes) = 0;
    virtual bool Upload(ComputeBuffer& buffer, std::uint64_t offset,
                        std::span<const std::uint8_t> bytes) = 0;
    /// `kernel` is its place in the program; item i of the launch is item i % kComputeGroup of group
    /// i / kComputeGroup.
    virtual bool Launch(std::size_t kernel, const ComputeBuffer& in0, const ComputeBuffer& in1,
                        ComputeBuffer& out0, ComputeBuffer& out1,
                        std::span<const std::uint32_t, kComputeParameters> parameters,
                        std::uint32_t groups) = 0;
    virtual bool Download(ComputeBuffer& buffer, std::uint64_t offset,
                          std::span<std::uint8_t> bytes) = 0;

protected:
    explicit ComputeDevice(ComputeDeviceFacts facts) : facts_(std::move(facts)) {}

private:
    ComputeDeviceFacts facts_;
};

/// The best device of `options.api` that takes the whole program: of several, one that is no
/// software, with memory of its own, with the most memory. Nothing is loaded before the first call.
///
/// Errors    a sentence why there is none: no runtime library, no device, no display (some systems
///           reach their devices through it), a program that is refused.
/// Lifetime  what `program` refers to is read during the call alone.
/// Threads   any; the runtime library of the system stays loaded, and may start threads of its own.
/// Cost      some milliseconds to some seconds: runtimes compile at first use, and keep what they
///           compiled for the next process.
tl::expected<std::unique_ptr<ComputeDevice>, std::string> OpenComputeDevice(
    const ComputeProgram& program, const ComputeDeviceOptions& options);

}  // namespace orvix::platform
