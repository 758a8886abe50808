// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "importer/formats/column_roles.h"
#include "importer/formats/scan_file.h"

namespace orvix::importer {

enum class PlyEncoding { Ascii, LittleEndian, BigEndian };
enum class PlyType : std::uint8_t { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };

std::size_t SizeOf(PlyType type);

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Float;
    std::optional<PlyType> countType;  ///< set: a list, led by its length in this type
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    [[nodiscard]] bool HasList() const;
    /// Bytes of a binary record when every list in it is empty.
    [[nodiscard]] std::uint64_t MinBytes() const;
};

/// What a PLY header says, and where the body starts.
struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::Ascii;
    std::vector<PlyElement> elements;
    std::size_t vertexElement = 0;
    std::uint64_t bodyByte = 0;
    std::uint64_t bodyLine = 0;  ///< lines before the body
    char lineEnd = '\n';

    RoleColumns columns;     ///< by vertex property
    double colourScale = 1;  ///< of the file's colours
    std::optional<int> colourBits;
    std::optional<std::array<double, 3>> exportedOrigin;  ///< "comment orvix_origin X Y Z"

    [[nodiscard]] const PlyElement& Vertex() const { return elements[vertexElement]; }
};

/// Reads a PLY header.
///
/// Lines end with LF, CR LF or CR. Comments and obj_info lines are skipped, except the comment in
/// which an exported project stores its origin: orvix_origin and three numbers.
///
/// Units      colours of one-byte properties reach to 255, of two-byte ones to 65535, of
///            floating-point ones to 1; of four-byte integers the largest value decides.
/// Boundaries a header is at most 1 MiB long and holds at most 4,096 properties.
/// Errors     BadInput with the line: an unknown keyword, type or format, a count that is none, no
///            vertex element, one without x, y and z.
Expected<PlyHeader> ReadPlyHeader(const ScanFile& file);

/// What is known of a file with this header.
ScanInfo DescribePly(const PlyHeader& header);

}  // namespace orvix::importer
