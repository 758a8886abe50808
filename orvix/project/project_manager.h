// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/project/cloud_header.h"
#include "orvix/project/project_settings.h"

namespace orvix {

class CAlivePointReader;

/// The facade through which a host reaches a point-cloud project: one project file chosen by the
/// user, and beside it the project-files folder with the converted points, the grid indexes, the
/// skeleton, histograms and view files (docs/FORMAT.md draws the tree).
///
///     orvix::ProjectManager manager;
///     if (!manager.Open(L"scan.prj")) return Report(manager.errorText);
///     while (... < manager.pointFileSize / orvix::kAlivePointBytes) manager.aliveReader->...
///     manager.Close();
///
/// Choose `CProjectCore` to reach the three core point files by path, read-write or together;
/// this class maps the alive points alone.
///
/// Errors     a false result; `errorText` tells a missing file (text 1370) from a read-only one
///            (text 1366) and keeps the last failure. Deleting files and creating folders ignore
///            their failures.
/// Lifetime   a plain value: copies share the reader and carry the same raw handles, so exactly
///            one copy may `Close`. The destructor closes what is open.
/// Threads    one thread at a time.
class ORVIX_API ProjectManager {
public:
    ProjectManager();
    ProjectManager(const ProjectManager&) = default;
    ProjectManager& operator=(const ProjectManager&) = default;
    ~ProjectManager();

    /// Builds every path, creates the folder tree, reads head and settings, and, without
    /// `create`, checks that the project is complete and writable. An empty path empties every
    /// path and succeeds.
    bool Set(const CString& path, bool create);
    /// `Set` with the create flag; its result is ignored.
    void Create(CString path);
    /// `Set` without the create flag, then maps Grid.pts; closes what was open before.
    bool Open(const CString& path);
    /// Closes the mapping, then the file.
    void Close();
    /// `Set`, and only if that succeeds, the other `Destroy`.
    void Destroy(const CString& path);
    /// Deletes the project's files, then `EraseDirs`. Station files stay, and their folder.
    void Destroy();
    /// Removes the project's folders where they are empty; Data stays.
    void EraseDirs();
    /// True when `folder` holds no Index/GridSkelet.pcg; otherwise deletes that file and tells
    /// whether that succeeded.
    bool CanOverwrite(const CString& folder);
    /// The project-files folder's "Recap".
    CString GetRecapFolder() const;
    /// A further reader over the mapped alive points; the caller deletes it, before `Close`.
    CAlivePointReader* CreateAliveReader();

    /// The head file into `header`: see CLOUD_HEADER for a missing or short file.
    void GetCloudHeader(CLOUD_HEADER* header);
    void SetCloudHeader(const CLOUD_HEADER* header);
    /// The project file into the cache and `settings`; a missing file or an older version yields
    /// defaults. Always true.
    bool GetProjectSettings(PROJECT_SETTINGS* settings);
    void SetProjectSettings(PROJECT_SETTINGS settings);
    /// 3 for a scale of exactly 1.0, 2 above, 5 otherwise (smaller, or not a number).
    std::int16_t LASScale(const double& scale);

    CString errorText;
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
    void* pointFile = nullptr;
    void* pointMapping = nullptr;
    std::uint64_t pointFileSize = 0;
    std::int32_t fineLevel = 0;    ///< 1 when LASScale of the header's scale is 5
    std::int32_t coarseLevel = 0;  ///< 1 when it is 2
    CString imagesFolder;
    CString indexFolder;
    CString dataFolder;
    CString slicesFolder;
    CString logicViewFolder;
    CString dataViewFolder;
    std::int32_t settingsVersion = kSettingsVersion;
};

}  // namespace orvix
