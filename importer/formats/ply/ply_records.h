// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "importer/formats/ply/ply_header.h"

namespace orvix::importer {

/// Decodes binary vertex records into points.
///
/// Records without lists are decoded column by column in blocks that stay in the cache; records
/// with lists are walked one by one.
///
/// Boundaries the bytes hold whole records; the reader that cut them makes sure.
/// Threads    any number at once.
class PlyRecordDecoder {
public:
    explicit PlyRecordDecoder(const PlyHeader& header);

    void Decode(std::span<const std::uint8_t> records, std::vector<ScanPoint>& points) const;

private:
    struct Column {
        Role role = Role::None;
        PlyType type = PlyType::Float;
        std::size_t byte = 0;
    };
    void DecodeFixed(std::span<const std::uint8_t> records, std::vector<ScanPoint>& points) const;
    void DecodeLists(std::span<const std::uint8_t> records, std::vector<ScanPoint>& points) const;

    std::vector<PlyProperty> properties_;
    std::vector<Role> roles_;      // by property
    std::vector<Column> columns_;  // only those with a role; no lists
    std::size_t recordBytes_ = 0;
    double colourScale_ = 1;
    bool hasLists_ = false;
    bool bigEndian_ = false;
};

/// The length of a list at `bytes`, or -1 for one that says it is negative.
std::int64_t LoadListLength(PlyType type, bool bigEndian, const std::uint8_t* bytes);

}  // namespace orvix::importer
