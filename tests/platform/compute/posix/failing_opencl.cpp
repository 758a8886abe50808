// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/platform/compute/posix/failing_opencl.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orvix/platform/compute/opencl_calls.h"

using namespace orvix::platform::cl;  // NOLINT: it is what this file defines

namespace {

constexpr Int kOutOfResources = -5;
constexpr Int kBuildFailed = -11;

orvix::test::FailingOpenCl failing;

struct TestedDevice {
    const char* name;
    const char* version;
    Bits type;
    UInt available;
    UInt sharesMemory;
    std::uint64_t memory;
};
TestedDevice devices[] = {
    {"processor", "OpenCL 3.0 x", 1U << 1, 1, 1, 64},
    {"shared", "OpenCL 1.2 x", kTypeGpu, 1, 1, 32},
    {"own", "OpenCL 3.0 x", kTypeGpu, 1, 0, 16},
    {"old", "OpenCL 1.1 x", kTypeGpu, 1, 0, 128},
    {"taken", "OpenCL 1.2 x", kTypeGpu, 0, 0, 128},
};

struct TestedKernel {
    std::array<Memory, 4> buffers{};
    std::array<std::uint32_t, 32> words{};
};

bool Fails(Int* result = nullptr) {
    const bool fails = failing.callsUntilFailure == 0;
    if (failing.callsUntilFailure >= 0) --failing.callsUntilFailure;
    if (result != nullptr) *result = fails ? kOutOfResources : kSuccess;
    return fails;
}

/// Something to count; `bytes` of it can be written.
template <class Object>
Object Made(std::size_t bytes = 8) {
    ++failing.objects;
    return static_cast<Object>(std::calloc(1, bytes));
}
template <class Object>
Int Released(Object object) {
    --failing.objects;
    std::free(object);
    return kSuccess;
}

Int Answer(const void* value, std::size_t bytes, std::size_t room, void* target,
           std::size_t* size) {
    if (size != nullptr) *size = bytes;
    if (target != nullptr) std::memcpy(target, value, bytes < room ? bytes : room);
    return kSuccess;
}
template <class Value>
Int Answer(const Value& value, std::size_t room, void* target, std::size_t* size) {
    return Answer(&value, sizeof value, room, target, size);
}
Int Answer(const char* text, std::size_t room, void* target, std::size_t* size) {
    return Answer(text, std::strlen(text) + 1, room, target, size);
}

std::uint8_t* BytesOf(Memory memory) {
    return reinterpret_cast<std::uint8_t*>(memory);
}

}  // namespace

#define CL_CALL extern "C" __attribute__((visibility("default")))

CL_CALL orvix::test::FailingOpenCl* OrvixFailingOpenCl() {
    return &failing;
}

CL_CALL Int clGetPlatformIDs(UInt, Platform* platforms, UInt* count) {
    if (Fails()) return kOutOfResources;
    platforms[0] = reinterpret_cast<Platform>(devices);
    *count = 1;
    return kSuccess;
}

CL_CALL Int clGetDeviceIDs(Platform, Bits, UInt, Device* found, UInt* count) {
    if (Fails()) return kOutOfResources;
    *count = 0;
    for (TestedDevice& device : devices) found[(*count)++] = reinterpret_cast<Device>(&device);
    return kSuccess;
}

CL_CALL Int clGetDeviceInfo(Device asked, UInt fact, std::size_t room, void* target,
                            std::size_t* size) {
    if (Fails()) return kOutOfResources;
    const auto& device = *reinterpret_cast<const TestedDevice*>(asked);
    switch (fact) {
        case kDeviceType:
            return Answer(device.type, room, target, size);
        case kDeviceMaxGroup:
            return Answer(std::size_t{1024}, room, target, size);
        case kDeviceMaxBuffer:
            return Answer(std::uint64_t{1} << 30, room, target, size);
        case kDeviceMemory:
            return Answer(device.memory, room, target, size);
        case kDeviceLittleEndian:
            return Answer(UInt{1}, room, target, size);
        case kDeviceAvailable:
            return Answer(device.available, room, target, size);
        case kDeviceHasCompiler:
            return Answer(UInt{1}, room, target, size);
        case kDeviceName:
            return Answer(device.name, room, target, size);
        case kDeviceVersion:
            return Answer(device.version, room, target, size);
        case kDeviceSharesMemory:
            return Answer(device.sharesMemory, room, target, size);
        default:
            return -30;
    }
}

CL_CALL Context clCreateContext(const std::intptr_t*, UInt, const Device*, void*, void*,
                                Int* result) {
    return Fails(result) ? nullptr : Made<Context>();
}
CL_CALL Queue clCreateCommandQueue(Context, Device, Bits, Int* result) {
    return Fails(result) ? nullptr : Made<Queue>();
}
CL_CALL Program clCreateProgramWithSource(Context, UInt, const char**, const std::size_t*,
                                          Int* result) {
    return Fails(result) ? nullptr : Made<Program>();
}
CL_CALL Int clBuildProgram(Program, UInt, const Device*, const char*, void*, void*) {
    if (Fails()) return kOutOfResources;
    return failing.refusedBuilds-- > 0 ? kBuildFailed : kSuccess;
}
CL_CALL Int clGetProgramBuildInfo(Program, Device, UInt, std::size_t room, void* target,
                                  std::size_t* size) {
    if (Fails()) return kOutOfResources;
    const std::string log(3000, 'x');
    return Answer(log.c_str(), room, target, size);
}
CL_CALL Kernel clCreateKernel(Program, const char*, Int* result) {
    return Fails(result) ? nullptr : Made<Kernel>(sizeof(TestedKernel));
}
CL_CALL Int clSetKernelArg(Kernel kernel, UInt place, std::size_t bytes, const void* value) {
    if (Fails()) return kOutOfResources;
    auto& made = *reinterpret_cast<TestedKernel*>(kernel);
    std::memcpy(place < 4 ? static_cast<void*>(&made.buffers[place]) : made.words.data(), value,
                bytes);
    return kSuccess;
}
CL_CALL Memory clCreateBuffer(Context, Bits, std::size_t bytes, void*, Int* result) {
    return Fails(result) ? nullptr : Made<Memory>(bytes);
}
CL_CALL void* clEnqueueMapBuffer(Queue, Memory memory, UInt, Bits, std::size_t offset, std::size_t,
                                 UInt, const Event*, Event* event, Int* result) {
    if (Fails(result)) return nullptr;
    ++failing.objects;
    *event = Made<Event>();
    return BytesOf(memory) + offset;
}
CL_CALL Int clEnqueueUnmapMemObject(Queue, Memory, void*, UInt, const Event*, Event*) {
    --failing.objects;
    return kSuccess;
}
CL_CALL Int clEnqueueWriteBuffer(Queue, Memory memory, UInt, std::size_t offset, std::size_t bytes,
                                 const void* source, UInt, const Event*, Event* event) {
    if (Fails()) return kOutOfResources;
    std::memcpy(BytesOf(memory) + offset, source, bytes);
    *event = Made<Event>();
    return kSuccess;
}
CL_CALL Int clEnqueueReadBuffer(Queue, Memory memory, UInt, std::size_t offset, std::size_t bytes,
                                void* target, UInt, const Event*, Event* event) {
    if (Fails()) return kOutOfResources;
    std::memcpy(target, BytesOf(memory) + offset, bytes);
    *event = Made<Event>();
    return kSuccess;
}
CL_CALL Int clEnqueueNDRangeKernel(Queue, Kernel kernel, UInt, const std::size_t*,
                                   const std::size_t*, const std::size_t*, UInt, const Event*,
                                   Event* event) {
    if (Fails()) return kOutOfResources;
    const auto& made = *reinterpret_cast<const TestedKernel*>(kernel);
    std::memcpy(BytesOf(made.buffers[2]), made.words.data(), 4);
    *event = Made<Event>();
    return kSuccess;
}
CL_CALL Int clFlush(Queue) {
    return Fails() ? kOutOfResources : kSuccess;
}
CL_CALL Int clGetEventInfo(Event, UInt, std::size_t room, void* target, std::size_t* size) {
    if (Fails()) return kOutOfResources;
    Int status = failing.failsLater ? kOutOfResources : kComplete;
    if (failing.hangs) status = 1;
    return Answer(status, room, target, size);
}
CL_CALL Int clReleaseEvent(Event event) {
    return Released(event);
}
CL_CALL Int clReleaseMemObject(Memory memory) {
    return Released(memory);
}
CL_CALL Int clReleaseKernel(Kernel kernel) {
    return Released(kernel);
}
CL_CALL Int clReleaseProgram(Program program) {
    return Released(program);
}
CL_CALL Int clReleaseCommandQueue(Queue queue) {
    return Released(queue);
}
CL_CALL Int clReleaseContext(Context context) {
    return Released(context);
}
