// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"

namespace orvix {

/// Finds the place of an integer grid cell in a cell list file.
///
/// The file (a project's index_hash) is an array of 64-bit keys. A key numbers the cells of the box
/// from `min` to `max`, x fastest, then y, then z. Use it for single questions; whoever visits all
/// cells walks `CIndexReader` instead.
///
///     orvix::CIndexHashReader cells(manager.indexHash, min, max);
///     int index = 0;
///     if (cells.Find({3, 4, 0}, index)) Use(index);       // the index-th key of the file
///
/// Units      cells; `min` and `max` are cell positions, whose fractions are dropped toward zero
///            after subtracting (0.5 to 7.25 is 7 cells wide).
/// Order      of several equal keys the first is found.
/// Boundaries the y extent takes part in a cell's key, the box itself is not tested: a cell outside
///            it has a key as well, which may be that of a cell inside. Keys are computed in 32
///            bits that wrap, and widened with their sign. Of a file whose size is no multiple of
///            8 the last bytes are ignored; the number of keys is kept in 32 bits.
/// Errors     none are reported: without the file, or where it cannot be read, no cell is found.
///            Allocation failures propagate.
/// Lifetime   a value: the file is read once, by the constructor.
/// Threads    any number of readers; `Find` changes nothing.
/// Cost       8 bytes per key; a search compares keys one after another, a billion a second.
class ORVIX_API CIndexHashReader {
public:
    CIndexHashReader(const CString& path, const SimplePointT<float>& min,
                     const SimplePointT<float>& max);
    CIndexHashReader(const CIndexHashReader&) = default;
    CIndexHashReader& operator=(const CIndexHashReader&) = default;

    /// True, and `index` set, when the cell's key is in the list; otherwise `index` stays.
    bool Find(const SimplePointT<int>& cell, int& index) const;

private:
    std::int32_t sizeX_;
    std::int32_t sizeY_;
    std::int32_t originX_;
    std::int32_t originY_;
    std::int32_t originZ_;
    std::vector<std::uint64_t> keys_;
};

}  // namespace orvix
