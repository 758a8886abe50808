// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "orvix/points/view_window.h"

namespace orvix {

/// Walks a project's grid of cubic cells, 1000 cm to 100 cm to 10 cm, one entry at a time.
///
/// Each entry names its cell and a run: of 100 cm entries at the 1000 cm level, of alive points
/// below. A run file leads from a 100 cm entry to its 10 cm entries. Use it to visit cells in
/// file order, and `CAlivePointReader` to read the points of the ones that matter.
///
///     for (bool more1000 = index.Count100() > 0; more1000;) {
///         more1000 = index.ReadIndex1000(0);
///         index.GetOffsetCount1000(offset, count);
///         index.InitIndex100(offset);
///         for (bool more100 = true; more100;) {
///             more100 = index.ReadIndex100(count);
///             index.GetOffsetCount100(run.offset, run.count);
///         }
///     }
///
/// Units      cell coordinates count cells of their own level; 10 cm ones are bytes inside the
///            100 cm cell; offsets and counts are records.
/// Order      as stored.
/// Boundaries a read returns whether another entry follows, not whether one was read: the
///            call that hands out the last entry returns false, and that entry is valid; a call
///            after the false reads nothing and returns false again. A view without a whole entry
///            hands out entries that do not exist, returning true for ever: in an empty file, from
///            a start at or past the end, and when an n = 0 walk ends with a full view (262,144
///            entries of 32 bytes, or a multiple); bound such a walk by the file's entry count.
///            They read as all zeros, as does an entry asked for before the first read. Entry
///            numbers are kept in 32 bits.
/// Errors     none are reported: a file that is missing, empty or cannot be mapped behaves as one
///            without entries.
/// Lifetime   owns its files, mappings and views.
/// Threads    one thread per reader.
/// Cost       one window of 8 MiB per level (of a bounded read's run, where that is longer), which
///            serves every run inside it without another map, and the run file, 16 bytes per
///            100 cm cell, mapped whole; no allocation after construction.
class ORVIX_API CIndexReader {
public:
    /// Without `has10cm` the last two paths are not opened, and the 10 cm calls must not be used.
    CIndexReader(const CString& index100, const CString& index1000, const CString& index10,
                 const CString& runs10, const bool& has10cm);
    ~CIndexReader();
    CIndexReader(const CIndexReader&) = delete;
    CIndexReader& operator=(const CIndexReader&) = delete;

    /// Moves to the level's next entry. n = 0 reads on to the end of the file; n > 0 reads exactly
    /// the n entries from the level's start, in calls that all pass the same n.
    ORVIX_INLINE_API bool ReadIndex1000(const unsigned int& n) {
        return ReadIndex(index1000_.get(), n);
    }
    ORVIX_INLINE_API bool ReadIndex100(const unsigned int& n) {
        return ReadIndex(index100_.get(), n);
    }
    ORVIX_INLINE_API bool ReadIndex10(const unsigned int& n) {
        return ReadIndex(index10_.get(), n);
    }

    /// The current entry's cell.
    void GetXYZ1000(int& x, int& y, int& z) const;
    void GetXYZ100(int& x, int& y, int& z) const;
    void GetXYZ10(char& x, char& y, char& z) const;

    /// The current entry's run.
    void GetOffsetCount1000(std::uint64_t& offset, unsigned int& count) const;
    void GetOffsetCount100(std::uint64_t& offset, unsigned int& count) const;
    void GetOffsetCount10(std::uint64_t& offset, unsigned int& count) const;

    /// Restarts the 100 cm level at an entry, as a 1000 cm entry's offset names it.
    void InitIndex100(const std::uint64_t& first);
    /// Restarts the 10 cm level at the current 100 cm entry's cells and returns how many there
    /// are: pass that to `ReadIndex10`. 0 when the run file holds no such entry.
    unsigned int InitIndex10();
    /// How many 100 cm entries the file holds.
    int Count100() const;

private:
    /// One file and the view that slides over it.
    struct reader {
        void* file = nullptr;
        void* mapping = nullptr;
        std::uint8_t* view = nullptr;  // where the current entries begin, inside the window
        std::uint64_t fileSize = 0;
        std::uint32_t entriesInView = 0;
        std::uint32_t firstEntry = 0;    // number of the view's first entry
        std::uint32_t handedOut = 0;     // entries of the view handed out so far
        bool lastView = false;           // no view follows this one
        std::uint64_t viewPosition = 0;  // firstEntry x recordBytes
        std::uint64_t bufferOffset = 0;  // first entry, inside the view
        std::uint64_t entryOffset = 0;   // current entry, inside the view
        std::uint64_t recordBytes = 0;
        // What is mapped. It outlives a restart: the short runs of neighbouring cells lie in one.
        detail::ViewWindow window;
    };

    static void DestroyReader(reader* level);
    struct Destroy {
        void operator()(reader* level) const { DestroyReader(level); }
    };
    using ReaderPtr = std::unique_ptr<reader, Destroy>;

    static ReaderPtr CreateReader(const CString& path, std::uint64_t recordBytes);
    static bool ReadIndex(reader* level, const unsigned int& n);
    static void NextView(reader& level, std::uint32_t n);
    static std::uint8_t* ViewOf(reader& level, std::uint64_t start, std::uint64_t bytes);
    static void Restart(reader& level, std::uint32_t first);
    template <class Record>
    static Record Current(const reader* level);

    ReaderPtr index100_;
    ReaderPtr index1000_;
    ReaderPtr index10_;  // null without the 10 cm level
    ReaderPtr runs10_;   // null without the 10 cm level
};

}  // namespace orvix
