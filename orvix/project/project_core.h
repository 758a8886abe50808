// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/platform/view.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/index_reader.h"

namespace orvix {

namespace platform {
enum class FileAccess;
}
namespace detail {
class EditedBlocks;
class RunViews;
}  // namespace detail

/// How finely a project's skeleton is thinned.
enum class ProjectType : std::int32_t { OneCentimetre, TenCentimetres, OneMetre, Other };

/// Opens a project's three core point files by path: alive points, skeleton coordinates and
/// skeleton data. It maps them, counts their points and returns readers over the mappings.
/// `ProjectManager` knows the paths:
///
///     const ProjectManager& m = manager;
///     orvix::CProjectCore core;
///     core.Open(m.gridSkeletCoordPts, m.gridSkeletDataPts, m.gridPts,
///               manager.LASScale(m.cloudHeader.scale),
///               m.grid1000cmIdx, m.grid10cmIdx, m.grid1to10cmIdx, m.gridIdx);
///     if (!core.OpenCores()) return;
///     auto points = core.CreateAlivePointReader();
///     auto cells = core.CreateIndexReader();
///
/// Choose it over `ProjectManager`'s own reader for the skeleton, for the grid indexes, or to
/// change points' DCLC pairs in place (`OpenCores4Write` and `CreateAlivePointReaderWriter`).
///
/// Units      sizes in bytes, counts in records.
/// Order      `Open`, `OpenCores` or `OpenCores4Write`, readers, `Close`. Each of the two opens
///            begins with `Close`, so a core may be opened again at any time.
/// Boundaries a file's last, incomplete record does not count. An empty file has no mapping.
/// Errors     a false result or an empty pointer; handles opened before a failure stay until
///            `Close`.
/// Lifetime   a plain value: copies carry the same raw handles, and the destructor closes none;
///            the owner calls `Close`, once. Readers borrow the mappings and read nothing after
///            it; they may end later, and the views from which they appended runs end with it.
/// Threads    one thread per core; its read-only mappings serve any number of readers.
/// Cost       no file is read: opening maps three files of any size.
class ORVIX_API CProjectCore {
public:
    /// Stores the paths and the LAS scale code (2, 3 or 5) and sets the two flags; opens nothing.
    /// The index paths come as 1000 cm index, 10 cm index, run file and, last, 100 cm index:
    /// Grid1000cm.idx, Grid10cm.idx, Grid1to10cm.idx, Grid.idx.
    void Open(const CString& skeletCoordPath, const CString& skeletDataPath,
              const CString& alivePath, const std::int16_t& lasScale, const CString& index1000Path,
              const CString& index10Path, const CString& runs10Path, const CString& index100Path);

    /// Opens and maps the three files read-only. A skeleton data or alive point file that cannot
    /// be opened fails; a missing skeleton coordinate file does not, it counts no points. The
    /// mappings themselves are not tested.
    bool OpenCores();
    /// Opens and maps the three files read-write; true only when all three mappings exist.
    bool OpenCores4Write();
    /// Releases the views of runs appended by readers of this core and its copies, then closes
    /// each file's mapping and the file: skeleton data, skeleton coordinates, alive points. The
    /// sizes stay.
    void Close();

    std::int64_t AlivePointCount() const;
    std::int64_t SkeletPointCount() const;  ///< by the coordinate file
    ORVIX_INLINE_API std::uint64_t& SkeletCoordPtsFileSize() { return skeletCoordSize_; }
    ORVIX_INLINE_API std::uint64_t& SkeletDataPtsFileSize() { return skeletDataSize_; }

    /// A fresh read-only view of the whole file on every call, which the caller releases with
    /// `UnmapFileView`; null without a mapping.
    unsigned char* SkeletCoordPtsMapAddress() const;
    unsigned char* SkeletDataPtsMapAddress() const;
    ORVIX_INLINE_API void* SkeletDataPtsFileMapping() const { return skeletDataMapping_; }

    ORVIX_INLINE_API bool& Has10cm() { return has10cm_; }        ///< the scale code is 5
    ORVIX_INLINE_API bool& Has10000cm() { return has10000cm_; }  ///< the scale code is 2

    /// A reader over the three mappings with read access; empty without an alive point mapping.
    std::shared_ptr<CAlivePointReader> CreateAlivePointReader() const;
    /// A reader whose views can be written to, for a core opened by `OpenCores4Write`. It is
    /// handed out whether or not the files are mapped.
    std::shared_ptr<CAlivePointReader> CreateAlivePointReaderWriter() const;
    /// A reader of the grid indexes, which it opens by path: it needs `Open` alone.
    std::shared_ptr<CIndexReader> CreateIndexReader() const;

    /// The type by whole centimetres, fractions dropped: 0.0149 is one centimetre, 0.0999 is
    /// nine and so `Other`.
    static ProjectType ProjectTypeFromSkeletScale(const double& scale);

private:
    friend class detail::EditedBlocks;  // which leaves the mark of an opening with the first change

    bool OpenForWriting();
    void OpenFiles(platform::FileAccess access);
    void MapFiles(platform::FileAccess access);
    std::shared_ptr<CAlivePointReader> CreateReader(std::uint32_t access) const;

    std::uint64_t skeletDataSize_ = 0;
    std::uint64_t skeletCoordSize_ = 0;
    std::uint64_t aliveSize_ = 0;
    void* skeletDataFile_ = nullptr;
    void* skeletDataMapping_ = nullptr;
    void* skeletCoordFile_ = nullptr;
    void* skeletCoordMapping_ = nullptr;
    void* aliveFile_ = nullptr;
    void* aliveMapping_ = nullptr;
    std::shared_ptr<detail::RunViews> runViews_;  // of the readers since the last opening
    std::int32_t lasScale_ = 0;
    CString skeletCoordPath_;
    CString skeletDataPath_;
    CString index1000Path_;
    CString index10Path_;
    CString runs10Path_;
    CString index100Path_;
    CString alivePath_;
    bool has10cm_ = false;
    bool has10000cm_ = false;
};

}  // namespace orvix
