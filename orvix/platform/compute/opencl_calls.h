// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvix/platform/dynamic_library.h"
#include "orvix/platform/system.h"

/// What this library uses of OpenCL 1.2, as the Khronos Group declares it; the functions are
/// found at run time, so that neither headers nor an import are needed.
///
/// Source  Khronos OpenCL Working Group: OpenCL 1.2 (2012).
namespace orvix::platform::cl {

using Int = std::int32_t;
using UInt = std::uint32_t;
using Bits = std::uint64_t;
using Platform = struct PlatformOfCl*;
using Device = struct DeviceOfCl*;
using Context = struct ContextOfCl*;
using Queue = struct QueueOfCl*;
using Program = struct ProgramOfCl*;
using Kernel = struct KernelOfCl*;
using Memory = struct MemoryOfCl*;
using Event = struct EventOfCl*;

inline constexpr Int kSuccess = 0;
inline constexpr UInt kFalse = 0;
inline constexpr Bits kEveryDevice = 0xFFFFFFFF;
inline constexpr Bits kTypeGpu = 1U << 2;
inline constexpr Bits kTypeAccelerator = 1U << 3;
inline constexpr UInt kDeviceType = 0x1000;
inline constexpr UInt kDeviceMaxGroup = 0x1004;
inline constexpr UInt kDeviceMaxBuffer = 0x1010;
inline constexpr UInt kDeviceMemory = 0x101F;
inline constexpr UInt kDeviceLittleEndian = 0x1026;
inline constexpr UInt kDeviceAvailable = 0x1027;
inline constexpr UInt kDeviceHasCompiler = 0x1028;
inline constexpr UInt kDeviceName = 0x102B;
inline constexpr UInt kDeviceVersion = 0x102F;
inline constexpr UInt kDeviceSharesMemory = 0x1035;
inline constexpr UInt kBuildLog = 0x1183;
inline constexpr UInt kEventStatus = 0x11D3;
inline constexpr Int kComplete = 0;  // above: on its way; below: failed
inline constexpr Bits kReadWrite = 1U << 0;
inline constexpr Bits kHostMemory = 1U << 4;
inline constexpr Bits kMapToRead = 1U << 0;
inline constexpr Bits kMapToWrite = 1U << 1;

/// The functions, null before Load.
struct Calls {
    Int (*getPlatforms)(UInt, Platform*, UInt*);
    Int (*getDevices)(Platform, Bits, UInt, Device*, UInt*);
    Int (*getDeviceInfo)(Device, UInt, std::size_t, void*, std::size_t*);
    Context (*createContext)(const std::intptr_t*, UInt, const Device*, void*, void*, Int*);
    Queue (*createQueue)(Context, Device, Bits, Int*);
    Program (*createProgram)(Context, UInt, const char**, const std::size_t*, Int*);
    Int (*buildProgram)(Program, UInt, const Device*, const char*, void*, void*);
    Int (*getBuildInfo)(Program, Device, UInt, std::size_t, void*, std::size_t*);
    Kernel (*createKernel)(Program, const char*, Int*);
    Int (*setKernelArgument)(Kernel, UInt, std::size_t, const void*);
    Memory (*createBuffer)(Context, Bits, std::size_t, void*, Int*);
    void* (*map)(Queue, Memory, UInt, Bits, std::size_t, std::size_t, UInt, const Event*, Event*,
                 Int*);
    Int (*unmap)(Queue, Memory, void*, UInt, const Event*, Event*);
    Int (*write)(Queue, Memory, UInt, std::size_t, std::size_t, const void*, UInt, const Event*,
                 Event*);
    Int (*read)(Queue, Memory, UInt, std::size_t, std::size_t, void*, UInt, const Event*, Event*);
    Int (*launch)(Queue, Kernel, UInt, const std::size_t*, const std::size_t*, const std::size_t*,
                  UInt, const Event*, Event*);
    Int (*flush)(Queue);
    Int (*getEventInfo)(Event, UInt, std::size_t, void*, std::size_t*);
    Int (*releaseEvent)(Event);
    Int (*releaseMemory)(Memory);
    Int (*releaseKernel)(Kernel);
    Int (*releaseProgram)(Program);
    Int (*releaseQueue)(Queue);
    Int (*releaseContext)(Context);
};

template <class Call>
bool Find(void* library, const char* name, Call& call) {
    call = reinterpret_cast<Call>(FindSymbol(library, name));
    return call != nullptr;
}

/// False where the system has no runtime library of OpenCL 1.2.
inline bool Load(Calls& calls) {
    void* const library = LoadSystemLibrary({"libOpenCL.so.1", L"OpenCL.dll"});
    return library != nullptr && Find(library, "clGetPlatformIDs", calls.getPlatforms) &&
           Find(library, "clGetDeviceIDs", calls.getDevices) &&
           Find(library, "clGetDeviceInfo", calls.getDeviceInfo) &&
           Find(library, "clCreateContext", calls.createContext) &&
           Find(library, "clCreateCommandQueue", calls.createQueue) &&
           Find(library, "clCreateProgramWithSource", calls.createProgram) &&
           Find(library, "clBuildProgram", calls.buildProgram) &&
           Find(library, "clGetProgramBuildInfo", calls.getBuildInfo) &&
           Find(library, "clCreateKernel", calls.createKernel) &&
           Find(library, "clSetKernelArg", calls.setKernelArgument) &&
           Find(library, "clCreateBuffer", calls.createBuffer) &&
           Find(library, "clEnqueueMapBuffer", calls.map) &&
           Find(library, "clEnqueueUnmapMemObject", calls.unmap) &&
           Find(library, "clEnqueueWriteBuffer", calls.write) &&
           Find(library, "clEnqueueReadBuffer", calls.read) &&
           Find(library, "clEnqueueNDRangeKernel", calls.launch) &&
           Find(library, "clFlush", calls.flush) &&
           Find(library, "clGetEventInfo", calls.getEventInfo) &&
           Find(library, "clReleaseEvent", calls.releaseEvent) &&
           Find(library, "clReleaseMemObject", calls.releaseMemory) &&
           Find(library, "clReleaseKernel", calls.releaseKernel) &&
           Find(library, "clReleaseProgram", calls.releaseProgram) &&
           Find(library, "clReleaseCommandQueue", calls.releaseQueue) &&
           Find(library, "clReleaseContext", calls.releaseContext);
}

}  // namespace orvix::platform::cl
