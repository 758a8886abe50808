// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "orvix/points/records.h"

namespace orvix {

/// The values that RevitAMP takes and returns.
///
/// Units   metres. The section frame is the one into which RevitAMP's transformation takes world
///         coordinates: the plane of the section is its XZ plane, y = 0, and y counts away from the
///         viewer, who sees x to the right and z upward.
/// Threads plain values.

/// Where a point lies in the section frame.
enum class SectionClass : std::uint8_t {
    In = 0,          ///< in the slab: |y| <= half thickness
    Behind = 1,      ///< beyond the slab: y > half thickness
    Before = 2,      ///< between the viewer and the slab: y < -half thickness
    Outside = 3,     ///< x or z outside the bounds, for any y
    NoPosition = 4,  ///< a coordinate, before or after the transformation, is not finite
};

/// Points by class.
struct SectionCounts {
    std::uint64_t in = 0;
    std::uint64_t behind = 0;
    std::uint64_t before = 0;
    std::uint64_t outside = 0;
    std::uint64_t noPosition = 0;

    [[nodiscard]] std::uint64_t Total() const {
        return in + behind + before + outside + noPosition;
    }
    friend bool operator==(const SectionCounts&, const SectionCounts&) = default;
};

/// A slab around the section plane, and bounds within it.
///
/// Boundaries all comparisons are inclusive, in single precision: the values are rounded to the
///            nearest float first, as the transformed points are. Bounds with low above high have
///            every point outside.
struct SectionSlab {
    double halfThickness = 0.05;  ///< 0 or more, and finite
    double xLow = -std::numeric_limits<double>::infinity();
    double xHigh = std::numeric_limits<double>::infinity();
    double zLow = -std::numeric_limits<double>::infinity();
    double zHigh = std::numeric_limits<double>::infinity();
};

/// A colour with its opacity, 8 bits each.
struct SectionColour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t opacity = 255;

    friend bool operator==(const SectionColour&, const SectionColour&) = default;
};
static_assert(sizeof(SectionColour) == 4);

/// Colours by signed distance y from the section plane: `colours` divides low to high into steps
/// of equal width. A point below low takes the first colour, one at high or above the last.
struct SectionRamp {
    double low = -0.05;
    double high = 0.05;                        ///< above low
    std::span<const SectionColour> colours{};  ///< 2 to 256
};

/// Points in the host's memory: three floats x, y, z at the start of each record, in the frame
/// whose origin RevitAMP was given.
///
///     SectionPoints::Of(std::span<const SimplePointT<float>>)    // 12 bytes a record
///     SectionPoints::Of(std::span<const CCloudPoint<float>>)     // 24 bytes a record
///
/// Lifetime borrowed; RevitAMP says how long.
struct SectionPoints {
    const void* data = nullptr;
    std::uint64_t count = 0;
    std::uint64_t stride = 12;  ///< bytes from one record to the next: 12 or more, divisible by 4

    template <class Record>
    static SectionPoints Of(std::span<const Record> records) {
        static_assert(sizeof(Record) >= 12 && sizeof(Record) % 4 == 0);
        return {records.data(), records.size(), sizeof(Record)};
    }
};

/// A ray to pick points with, in world coordinates.
///
/// The aperture is a cylinder (`tangent` 0) or a cone that opens along the ray: `radius` at the
/// origin, and `tangent` metres more for each metre along.
struct PickingRay {
    SimplePointT<double> origin;
    SimplePointT<double> direction;  ///< of any length above 0
    double radius = 0.01;            ///< 0 or more
    double tangent = 0;              ///< 0 or more
};

/// A point that was snapped to.
struct SnappedPoint {
    static constexpr std::uint64_t kNone = ~std::uint64_t{0};

    std::uint64_t index = kNone;  ///< kNone: no point lies in the aperture
    double along = 0;             ///< from the ray's origin to the point's foot on the ray
    double distance = 0;          ///< from the ray, or from the position

    [[nodiscard]] bool Found() const { return index != kNone; }
};

/// What classifies and snaps.
enum class SectionDevice : std::int32_t {
    /// What is fastest, by measurement: the processor for points that are passed once; for points
    /// that are held, from 4 Mi of them on, what takes a first pass over them in less time. The
    /// environment variable ORVIX_GPU (cpu, gpu, opencl, direct3d) decides before that.
    Auto = 0,
    Cpu = 1,
    /// A device, where there is one; the processor otherwise.
    Gpu = 2,
};

struct SectionOptions {
    SectionDevice device = SectionDevice::Auto;
    /// Memory on the device, in bytes. Held points beyond it stay with the processor under Auto, and
    /// are sent anew with each call under Gpu.
    std::uint64_t deviceMemory = std::uint64_t{1} << 30;
    /// Takes a device that is the processor under another name; for tests.
    bool softwareDevices = false;
};

}  // namespace orvix
