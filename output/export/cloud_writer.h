// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "orvix/project/transform_file.h"

namespace orvix::output {

/// The number, frame and bounds of the points to export, known before the first one is written.
struct ExportedCloud {
    std::uint64_t points = 0;
    detail::LocalToWorld frame;
    ExtendsT<double> bounds;  ///< world
    bool planes = false;      ///< points have a plane's number
};

/// A position in the world and the attributes of an alive record.
struct ExportedPoint {
    SimplePointT<double> world;
    std::uint16_t intensity = 0;
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t classification = 0;
    std::uint16_t station = 0;
    std::uint16_t dclcFirst = 0;
    std::uint8_t dclcSecond = 0;
    std::uint32_t plane = 0;  ///< its number; 0: on none
};

/// Turns points into the bytes of one file format.
///
///     auto writer = MakeCloudWriter(path, cloud);
///     writer->Begin(bytes);                  // the header
///     writer->Add(points, bytes);            // some points at a time
///
/// Order    as added.
/// Boundaries as many points are added as the cloud has.
/// Threads  a constant: any number may add, each to bytes of its own.
/// Cost     appends to `bytes`; the caller writes and clears them. A thousand points at a time stay in
///          the processor's cache.
class CloudWriter {
public:
    using Bytes = std::vector<std::uint8_t>;

    virtual ~CloudWriter() = default;
    virtual void Begin(Bytes& bytes) const = 0;
    virtual void Add(std::span<const ExportedPoint> points, Bytes& bytes) const = 0;
    /// Bytes of a point, about, to compare with the free space.
    [[nodiscard]] virtual std::uint64_t PointBytes() const = 0;
    /// The format's name for people: "PLY binary little-endian".
    [[nodiscard]] virtual std::string Format() const = 0;
};

/// The writer for a path that ends in .ply, .las or .xyz, in any case.
std::unique_ptr<CloudWriter> MakeCloudWriter(const CString& path, const ExportedCloud& cloud);

/// PLY, binary little-endian: positions as doubles, so that an import of the file gives the same
/// local coordinates, bit for bit, and the project's origin as a comment that the import reads.
std::unique_ptr<CloudWriter> MakePlyCloudWriter(const ExportedCloud& cloud);

/// LAS 1.4, point format 7, the station as point source, the DCLC pair and planes as extra bytes.
///
/// Units  the scale is 0.1 mm, and coarser by tens where the cloud reaches further than 32 bits of
///        it; the offset is the project's origin. A position moves by up to half the scale.
///        Colours are times 257.
std::unique_ptr<CloudWriter> MakeLasCloudWriter(const ExportedCloud& cloud);

/// Text: a line of names, then a line per point, blanks between the columns, positions with as many
/// digits as it takes to read them back exactly.
std::unique_ptr<CloudWriter> MakeXyzCloudWriter(const ExportedCloud& cloud);

}  // namespace orvix::output
