// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix {

/// The parameters of the plane search: the cell size, the tolerances on the cell normals and the
/// number of points per cell, kept twice, for the full-density (alive) and for the thinned
/// (skeleton) points. `usage` selects the set that is current.
///
///     auto settings = std::make_shared<orvix::PlaneWormSettings>(L"scan.prj", 1.0);
///     settings->usage = 0;  // the alive set
///     settings->SetUsage();
///     orvix::PlaneWorm worm(settings);
///
/// A path loads from a project, the four-argument constructor from the user's settings store.
/// The current fields (`diffA`, `diffB`, `diffC`, `minPlane`, `splitSize`, `splitSizeScaled`)
/// equal the selected set after a constructor, `SetUsage` and `SetDiff`; every scaled split size
/// is the split size times `scale`.
///
/// Units    metres; Diff fields are differences of unit normal components.
/// Errors   none are reported. A missing stored value reads as its default; a negative split size
///          in a project is replaced by four times the base step and saved back at once. A file
///          that is no project's record is never written to, neither then nor by `Save`.
/// Lifetime a plain value; copies share `project`.
/// Threads  one thread at a time.
/// Source   "SOFTWARE\Orvix\Shared\Worm" of the current user: SplitSize, DiffA, DiffB, DiffC and
///          MinPlane, each with "_SKELET" appended for the skeleton family; Vertical, AutoDetect.
class ORVIX_API PlaneWormSettings {
public:
    /// Loads from a project; the set that the project's usage selects becomes current.
    /// Leaves `autoDetect`, `vertical` and `alive` alone; `minCellPoints` is 5, not what the
    /// project holds, and 5 is what `Save` then stores there.
    PlaneWormSettings(const CString& projectPath, const double& scale);
    /// Loads one family of names from the settings store into both sets (`alive`: the plain
    /// names), or takes the built-in defaults, not looking at `alive`; `usage` is 1, the skeleton
    /// set. `project` supplies the skeleton grid for the default steps and is not kept.
    PlaneWormSettings(const bool& fromRegistry, const bool& alive, ProjectManager project,
                      double scale);
    PlaneWormSettings(const PlaneWormSettings&) = default;
    PlaneWormSettings& operator=(const PlaneWormSettings&) = default;
    ~PlaneWormSettings() = default;

    /// Writes both sets, `minCellPoints` and `usage` into the project file.
    /// Precondition: loaded from a project.
    void Save();
    /// Writes to the settings store alone; the fields stay as they are. The store keeps one
    /// tolerance: `diff` goes to all three Diff values. MinPlane is never written.
    void Save(const double& splitSize, const double& diff, const int& vertical,
              const int& autoDetect);
    /// The same, with the split size in three parts: 1, 2, 5 is 1.25 m.
    void Save(const int& metres, const int& decimetres, const int& centimetres, const double& diff,
              const int& vertical, const int& autoDetect);

    /// Change one set; the current fields follow at the next `SetUsage`.
    void SetAliveSplitSize(const double& v);
    void SetSkeletSplitSize(const double& v);
    double GetAliveSplitSize() const;
    double GetSkeletSplitSize() const;
    /// Changes the current split size alone; both sets stay.
    void ChangeSplitSize(double v);
    double SplitSizeStored() const;
    double SplitSizeScaled() const;
    /// Makes the set that `usage` selects current.
    void SetUsage();
    /// Opens every tolerance: all Diff fields become 1.5; `v` is not looked at. The sizes of unit
    /// normals' components never differ by more than 1, so no cell fails its normal test then.
    void SetDiff(const double& v);

    double diffA = 0;
    double diffC = 0;
    double diffB = 0;
    std::int32_t usage = 0;  ///< 0: the alive set is current, else the skeleton set
    std::int32_t minCellPoints = 5;
    std::int32_t minPlane = 0;  ///< above 2: the most points handed on per cell
    double defaultStepA = 0;
    double defaultStepB = 0;
    std::int32_t autoDetect = 0;
    std::int32_t vertical = 0;
    double aliveDiffA = 0;
    double skeletDiffA = 0;
    double aliveDiffB = 0;
    double skeletDiffB = 0;
    double aliveDiffC = 0;
    double skeletDiffC = 0;
    std::int32_t skeletMinPlane = 0;
    std::int32_t aliveMinPlane = 0;
    double reserved = 0;         ///< carried by copies, set by nobody
    std::int32_t stepClass = 0;  ///< skeleton grid: 0 = 1 cm, 1 = 10 cm, 2 = 1 m, 3 = any other
    double splitSize = 0;
    double splitSizeScaled = 0;
    std::shared_ptr<ProjectManager> project;  ///< empty unless loaded from a project
    double scale = 1;
    bool alive = true;  ///< which family of names `Save` writes
    double aliveSplitSize = 0;
    double skeletSplitSize = 0;
    double aliveSplitSizeScaled = 0;
    double skeletSplitSizeScaled = 0;

private:
    void CalculateDefaultSteps(ProjectManager project);
    void ReadStore();
    void ScaleSets();
};

}  // namespace orvix
