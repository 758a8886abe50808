// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/project/cloud_header.h"
#include "orvix/project/project_settings.h"

// A host that asks for a rotation includes <Eigen/Geometry>, and nobody else needs it.
namespace Eigen {
template <class Scalar, int kDimension, int kMode, int kOptions>
class Transform;
}

namespace orvix {

class CAlivePointReader;
/// Eigen::Transform<double, 3, Eigen::Affine>, or Eigen::Affine3d.
using ScanRotation = Eigen::Transform<double, 3, 2, 0>;

/// A host's way to a point-cloud project: the project file that the user chose, and beside it the
/// project-files folder with the converted points, the grid indexes, the skeleton, histograms and
/// view files (docs/FORMAT.md draws the tree).
///
///     orvix::ProjectManager manager;
///     if (!manager.Open(L"scan.prj")) return Report(manager.errorText);
///     orvix::CCloudPoint<float> point;
///     for (std::uint64_t i = 0; i < manager.cloudHeader.pointCount; ++i) {
///         manager.aliveReader->ReadNextPoint();
///         manager.aliveReader->ReadCurrentPoint(point);
///     }
///     manager.Close();
///
/// Choose `CProjectCore` to reach the three core point files by path, together or read-write;
/// this class maps the alive points alone, read-only.
///
/// Units      metres; paths are wide and joined with the system's separator.
/// Order      a manager is empty, has its paths (`Set`), is open (`Open`), is closed (`Close`).
/// Boundaries a project file `a/scan.prj` has the folder `a/scan_Project_Files`; one without an
///            extension appends to its whole name. A text file Index/network moves every grid and
///            skeleton file and the stations to the folder that its last line names.
/// Errors     a false result; `errorText` says that a file is missing (text 1370) or read-only
///            (text 1366), and keeps the last failure until the next. Deleting files, creating
///            folders and writing records ignore their failures.
/// Lifetime   a plain value: copies share the reader and carry the same raw handles, so only one
///            copy may `Close`; the others' handles are stale from then on. Without a `Close` the
///            destructor of the last copy closes them, so an open manager may be passed by value.
///            Readers end before the files are closed.
/// Threads    one thread at a time.
/// Cost       `Set` creates up to twelve folders and reads three small files; `Open` maps
///            Grid.pts at any size and reads none of it.
class ORVIX_API ProjectManager {
public:
    ProjectManager();
    ProjectManager(const ProjectManager&) = default;
    ProjectManager& operator=(const ProjectManager&) = default;
    ~ProjectManager();

    /// Builds every path, creates the folder tree, reads head and settings into the two cached
    /// records, and, without `create`, checks that nine files exist and can be written; with
    /// `create` it makes a missing project file (empty) and checks nothing. An empty path empties
    /// every path and succeeds. The station folder's rtfm.txt is written before that folder is
    /// made, so the note exists from the second `Set` of a project on.
    bool Set(const CString& path, bool create);
    /// `Set` with the create flag; its result is ignored.
    void Create(CString path);
    /// `Set` without the create flag, then maps Grid.pts, makes `aliveReader` and sets the two
    /// level flags; closes what was open before. An empty Grid.pts opens with a null mapping.
    bool Open(const CString& path);
    /// Releases the views of runs appended by its readers, closes the mapping, then the file, and
    /// nulls both. `aliveReader` stays, unusable.
    void Close();
    /// `Set` without the create flag, and only if that succeeds, the other `Destroy`.
    void Destroy(const CString& path);
    /// Deletes the project's files, then `EraseDirs`. Station files stay, and their folder; so do
    /// Data, and the Cad and SketchUp folders. A manager without a project file deletes nothing.
    void Destroy();
    /// Removes the project's folders where they are empty; Data stays.
    void EraseDirs();
    /// True when `folder` holds no Index/GridSkelet.pcg; otherwise deletes that file and
    /// returns whether that succeeded.
    bool CanOverwrite(const CString& folder);
    /// The project-files folder's "Recap", which this class neither makes nor removes.
    CString GetRecapFolder() const;
    /// A further reader over the mapped alive points; the caller deletes it, and reads nothing
    /// after `Close`.
    /// Null when memory is short.
    CAlivePointReader* CreateAliveReader();

    /// Reads the head file into `header`; CLOUD_HEADER says what a missing or short file leaves.
    void GetCloudHeader(CLOUD_HEADER* header);
    /// Replaces the head file; the cached header stays as it was.
    void SetCloudHeader(const CLOUD_HEADER* header);
    /// Reads the project file into the cached settings and copies them to `settings`. Fields that
    /// an older version lacks take their fixed values; fields that a torn file lacks keep the
    /// cached ones. Always true.
    bool GetProjectSettings(PROJECT_SETTINGS* settings);
    /// Caches `settings` and replaces the project file with them, under `settingsVersion`.
    void SetProjectSettings(PROJECT_SETTINGS settings);
    /// 3 for a scale of exactly 1.0, 2 above, 5 otherwise (smaller, or not a number).
    std::int16_t LASScale(const double& scale);

    /// A scanner station's position, project frame, from scanpos/station_N.pos. False, with the
    /// outputs untouched, when the file cannot be opened; values that a short file lacks keep what
    /// they were, and the result is true.
    bool GetScanPosition(const int& station, double& x, double& y, double& z);
    /// The lowest and highest intensity of a station's points, from station_N.intens. A missing or
    /// short file is taken as that of a position is.
    bool GetScanIntensityRanges(const int& station, std::int16_t& lowest, std::int16_t& highest);
    /// A station's orientation, from station_N.orientation: the rotation by its angle (radians)
    /// about its axis, taken as stored (an axis of another length than 1 gives no pure rotation);
    /// no translation. The identity without the file, or where it is short of its angle.
    void GetScanRotation(const int& station, ScanRotation& rotation);

    /// Draws up to `sampleCount` values from a histogram file (12-byte records: value, count), adds
    /// `shift` to them, appends them to `samples` and sorts all of it:
    /// Mathematic::PreapareHistogram4Jenks, which takes the two integers as they are. Of up to 2^31
    /// points each value comes as often as its bin has points, of more it does not (BEHAVIOUR H6).
    /// A missing file adds nothing. Bins without points: BEHAVIOUR H3.
    void ReadHistogram4Jenks(const CString& path, std::vector<double>* samples, const double& shift,
                             const int& sampleCount, const int& unused);

    CString errorText;  ///< the last failure text of `Set`
    CString projectFile;
    CString headFile;
    CString transformFile;
    CLOUD_HEADER cloudHeader;
    CString colorPlaneFolder;
    CString gridUnsortedPts;
    CString gridPts;
    CString gridIdx;
    CString grid10cmIdx;
    CString grid1to10cmIdx;
    CString grid1000cmIdx;
    CString gridUnsortedIdx;
    CString gridSkeletLas;
    CString gridSkelet4RcpLas;
    CString gridSkeletCoordPts;
    CString gridSkeletDataPts;
    CString gridSkeletDataClassCount;
    CString gridSkeletPcg;
    CString intensitiesSliceHist;
    CString intensitiesHist;
    CString intensitiesCls;
    CString zSliceHist;
    CString zHist;
    CString zCls;
    CString scanposFolder;
    CString viewGridDtv;
    CString viewEntriesDtv;
    CString panoFolder;
    CString viewGridLv;
    CString mergedLv;
    CString mlFolder;
    CString cadFolder;
    CString sketchUpFolder;
    CString histFolder;
    CString indexHash;
    CString projectFilesFolder;
    CString projectName;
    PROJECT_SETTINGS projectSettings;
    std::shared_ptr<CAlivePointReader> aliveReader;
    void* pointFile = nullptr;        ///< Grid.pts; null when closed
    void* pointMapping = nullptr;     ///< of the whole file, read-only; null when closed
    std::uint64_t pointFileSize = 0;  ///< bytes, at the last `Open`
    std::int32_t fineLevel = 0;       ///< 1 when LASScale of the header's scale is 5
    std::int32_t coarseLevel = 0;     ///< 1 when it is 2
    CString imagesFolder;
    CString indexFolder;
    CString dataFolder;
    CString slicesFolder;
    CString logicViewFolder;
    CString dataViewFolder;
    std::int32_t settingsVersion = kSettingsVersion;  ///< what `SetProjectSettings` writes
private:
    struct OpenPointFile;
    std::shared_ptr<OpenPointFile> openPointFile_;  // closes the two handles once, for all copies
};

}  // namespace orvix
