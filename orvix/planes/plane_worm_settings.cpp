// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/plane_worm_settings.h"

#include <fmt/format.h>

#include <cassert>
#include <system_error>
#include <utility>

#include "orvix/planes/unsaved_settings.h"
#include "orvix/platform/cache.h"
#include "orvix/platform/settings_store.h"
#include "orvix/platform/truncate.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/access/settings_update.h"
#include "orvix/project/project_settings_file.h"

namespace orvix {
namespace {

constexpr wchar_t kWormKey[] = L"SOFTWARE\\Orvix\\Shared\\Worm";
constexpr double kDefaultDiff = 0.15;
constexpr double kOpenDiff = 1.5;
constexpr double kDefaultAliveSplitSize = 0.1;
constexpr double kDefaultSkeletSplitSize = 0.4;
constexpr std::int32_t kMinCellPoints = 5;

std::int32_t Narrowed(std::int64_t value) {
    return detail::SaturateTo<std::int32_t>(static_cast<double>(value));
}

CString FamilyName(const wchar_t* name, bool alive) {
    return alive ? CString(name) : CString(name) + L"_SKELET";
}

double ReadNumber(const CString& name, double fallback) {
    return Cache::ReadRegistry(kCurrentUser, CString(kWormKey), name, fallback);
}

void WriteNumber(const CString& name, double value) {
    const std::string text = fmt::format("{:f}", value);
    Cache::WriteRegistry(kCurrentUser, CString(kWormKey), name, CString(text.begin(), text.end()));
}

/// Whether a repaired record may take the project file's place: that holds one already, of this
/// version or an older one, or what a project whose other files are there may have instead, an
/// empty file or a record that was cut short.
// BEHAVIOUR W16
Expected<bool> TakesRepair(const CString& projectFile, detail::CutSettings cut) {
    const auto record = detail::ExamineSettingsFile(projectFile);
    if (!record) return ErrorOf(record);
    if (*record == detail::SettingsRecord::Foreign) return false;
    return cut == detail::CutSettings::AreReplaced || *record == detail::SettingsRecord::Whole;
}

bool IsForeign(const CString& projectFile) {
    const auto record = detail::ExamineSettingsFile(projectFile);
    return record && *record == detail::SettingsRecord::Foreign;
}

/// Four base steps where a split size is negative; whether it was.
bool Repair(double& splitSize, double baseStep) {
    if (!(splitSize < 0.0)) return false;  // BEHAVIOUR W4
    splitSize = kBaseStepsPerSplitSize * baseStep;
    return true;
}

/// Both split sizes; whether one was.
bool RepairBoth(PROJECT_SETTINGS& stored) {
    const bool alive = Repair(stored.aliveSplitSize, stored.baseStep);
    const bool skelet = Repair(stored.skeletSplitSize, stored.baseStep);
    return alive || skelet;
}

void PutSets(const PlaneWormSettings& settings, PROJECT_SETTINGS& stored) {
    stored.aliveSplitSize = settings.aliveSplitSize;
    stored.aliveDiffA = settings.aliveDiffA;
    stored.aliveDiffB = settings.aliveDiffB;
    stored.aliveDiffC = settings.aliveDiffC;
    stored.aliveMinPlane = settings.aliveMinPlane;
    stored.skeletSplitSize = settings.skeletSplitSize;
    stored.skeletDiffA = settings.skeletDiffA;
    stored.skeletDiffB = settings.skeletDiffB;
    stored.skeletDiffC = settings.skeletDiffC;
    stored.skeletMinPlane = settings.skeletMinPlane;
    stored.minCellPoints = settings.minCellPoints;
    stored.usage = settings.usage;
}

void TakeSets(PlaneWormSettings& settings, const PROJECT_SETTINGS& stored) {
    settings.SetAliveSplitSize(stored.aliveSplitSize);
    settings.aliveDiffA = stored.aliveDiffA;
    settings.aliveDiffB = stored.aliveDiffB;
    settings.aliveDiffC = stored.aliveDiffC;
    settings.aliveMinPlane = Narrowed(stored.aliveMinPlane);
    settings.SetSkeletSplitSize(stored.skeletSplitSize);
    settings.skeletDiffA = stored.skeletDiffA;
    settings.skeletDiffB = stored.skeletDiffB;
    settings.skeletDiffC = stored.skeletDiffC;
    settings.skeletMinPlane = Narrowed(stored.skeletMinPlane);
    settings.usage = stored.usage;
    settings.SetUsage();
}

}  // namespace

namespace detail {

Expected<PlaneWormSettings> SettingsUnsaved(const CString& projectFile) {
    PROJECT_SETTINGS ignored{};
    if (auto read = ReadSettings(projectFile, ignored); !read) return ErrorOf(read);
    auto project = std::make_shared<ProjectManager>();
    project->Set(projectFile, false);
    PROJECT_SETTINGS& stored = project->projectSettings;
    RepairBoth(stored);
    PlaneWormSettings settings(false, true, *project, 1.0);
    TakeSets(settings, stored);
    settings.project = std::move(project);
    return settings;
}

// The record is read again under the lock: what was read before may be another program's defaults.
// BEHAVIOUR W17
Expected<void> StoreSplitSizes(const CString& projectFile, CutSettings cut) {
    PROJECT_SETTINGS stored{};
    if (auto read = ReadSettings(projectFile, stored); !read) return read;
    if (!RepairBoth(stored)) return {};
    std::error_code error;
    const auto lock = ProjectLock::TryAcquire(projectFile, ProjectLock::Wait::Briefly, error);
    if (!lock && (!error || !IsRefusal(error))) return {};
    const auto takes = TakesRepair(projectFile, cut);
    if (!takes) return ErrorOf(takes);
    if (auto read = ReadSettings(projectFile, stored = {}); !read) return read;
    if (!*takes || !RepairBoth(stored)) return {};
    ReplaceSettings(projectFile, kSettingsVersion, stored, error);
    if (!error || IsRefusal(error)) return {};
    return FailSystem(
        error, platform::ToUtf8(projectFile) + " could not be written; its former settings hold");
}

Expected<void> SaveToProject(const PlaneWormSettings& settings) {
    return ChangeSettings(settings.project->projectFile, [&settings](PROJECT_SETTINGS& stored) {
        PutSets(settings, stored);
        return true;
    });
}

}  // namespace detail

PlaneWormSettings::PlaneWormSettings(const CString& projectPath, const double& scaleFactor)
    : project(std::make_shared<ProjectManager>()), scale(scaleFactor) {
    const bool isComplete = project->Set(projectPath, false);
    PROJECT_SETTINGS& stored = project->projectSettings;
    if (RepairBoth(stored))
        static_cast<void>(detail::StoreSplitSizes(
            project->projectFile,
            isComplete ? detail::CutSettings::AreReplaced : detail::CutSettings::Stay));
    minCellPoints = kMinCellPoints;
    TakeSets(*this, stored);
    CalculateDefaultSteps(*project);
}

PlaneWormSettings::PlaneWormSettings(const bool& fromRegistry, const bool& aliveFamily,
                                     ProjectManager source, double scaleFactor)
    : usage(1), scale(scaleFactor) {
    if (fromRegistry) {
        alive = aliveFamily;
        ReadStore();
    } else {
        aliveSplitSize = kDefaultAliveSplitSize;
        skeletSplitSize = kDefaultSkeletSplitSize;
        aliveDiffA = aliveDiffB = aliveDiffC = kDefaultDiff;
        skeletDiffA = skeletDiffB = skeletDiffC = kDefaultDiff;
    }
    minCellPoints = kMinCellPoints;
    CalculateDefaultSteps(source);
    ScaleSets();
    SetUsage();
}

void PlaneWormSettings::ReadStore() {
    const auto read = [&](const wchar_t* name, double fallback) {
        return ReadNumber(FamilyName(name, alive), fallback);
    };
    aliveSplitSize = skeletSplitSize =
        read(L"SplitSize", alive ? kDefaultAliveSplitSize : kDefaultSkeletSplitSize);
    aliveDiffA = skeletDiffA = read(L"DiffA", kDefaultDiff);
    aliveDiffB = skeletDiffB = read(L"DiffB", kDefaultDiff);
    aliveDiffC = skeletDiffC = read(L"DiffC", kDefaultDiff);
    skeletMinPlane = aliveMinPlane = detail::SaturateTo<std::int32_t>(read(L"MinPlane", 0.0));
    vertical = detail::SaturateTo<std::int32_t>(ReadNumber(L"Vertical", 0.0));
    autoDetect = detail::SaturateTo<std::int32_t>(ReadNumber(L"AutoDetect", 0.0));
}

void PlaneWormSettings::ScaleSets() {
    SetAliveSplitSize(aliveSplitSize);
    SetSkeletSplitSize(skeletSplitSize);
}

void PlaneWormSettings::CalculateDefaultSteps(ProjectManager source) {
    const double scaled = source.cloudHeader.scale * 100.0;
    // Truncated, not rounded: a grid of 0.0199 m counts as 1 cm, one of 0.0999 m as 9 cm.
    // BEHAVIOUR W1
    switch (detail::SaturateTo<std::int32_t>(scaled)) {
        case 1:
            stepClass = 0, defaultStepA = 0.14, defaultStepB = 0.14;
            break;
        case 10:
            stepClass = 1, defaultStepA = 0.18, defaultStepB = 0.14;
            break;
        case 100:
            stepClass = 2, defaultStepA = 1.6, defaultStepB = 0.8;
            break;
        default:
            stepClass = 3, defaultStepA = 10.0, defaultStepB = 4.0;
    }
}

void PlaneWormSettings::Save() {
    assert(project && "Save() writes to the project that the settings were loaded from");
    if (IsForeign(project->projectFile)) return;
    PutSets(*this, project->projectSettings);
    // Whoever keeps the project for longer than settings take to be stored does not keep them out.
    std::error_code ignored;
    const auto lock = detail::ProjectLock::TryAcquire(project->projectFile,
                                                      detail::ProjectLock::Wait::Briefly, ignored);
    detail::ReplaceSettings(project->projectFile, project->settingsVersion,
                            project->projectSettings, ignored);
}

void PlaneWormSettings::Save(const double& size, const double& diff, const int& verticalSwitch,
                             const int& autoDetectSwitch) {
    WriteNumber(FamilyName(L"SplitSize", alive), size);
    for (const wchar_t* name : {L"DiffA", L"DiffB", L"DiffC"}) {  // BEHAVIOUR W3
        WriteNumber(FamilyName(name, alive), diff);
    }
    Cache::WriteRegistry(kCurrentUser, CString(kWormKey), CString(L"Vertical"), verticalSwitch);
    Cache::WriteRegistry(kCurrentUser, CString(kWormKey), CString(L"AutoDetect"), autoDetectSwitch);
}

void PlaneWormSettings::Save(const int& metres, const int& decimetres, const int& centimetres,
                             const double& diff, const int& verticalSwitch,
                             const int& autoDetectSwitch) {
    const double size = decimetres * 0.1 + metres + centimetres * 0.01;
    Save(size, diff, verticalSwitch, autoDetectSwitch);
}

void PlaneWormSettings::SetAliveSplitSize(const double& v) {
    aliveSplitSize = v;
    aliveSplitSizeScaled = v * scale;
}

void PlaneWormSettings::SetSkeletSplitSize(const double& v) {
    skeletSplitSize = v;
    skeletSplitSizeScaled = v * scale;
}

double PlaneWormSettings::GetAliveSplitSize() const {
    return aliveSplitSize;
}

double PlaneWormSettings::GetSkeletSplitSize() const {
    return skeletSplitSize;
}

void PlaneWormSettings::ChangeSplitSize(double v) {
    splitSize = v;
    splitSizeScaled = v * scale;
}

double PlaneWormSettings::SplitSizeStored() const {
    return splitSize;
}

double PlaneWormSettings::SplitSizeScaled() const {
    return splitSizeScaled;
}

void PlaneWormSettings::SetUsage() {
    const bool aliveSet = usage == 0;
    splitSize = aliveSet ? aliveSplitSize : skeletSplitSize;
    splitSizeScaled = aliveSet ? aliveSplitSizeScaled : skeletSplitSizeScaled;
    diffA = aliveSet ? aliveDiffA : skeletDiffA;
    diffB = aliveSet ? aliveDiffB : skeletDiffB;
    diffC = aliveSet ? aliveDiffC : skeletDiffC;
    minPlane = aliveSet ? aliveMinPlane : skeletMinPlane;
}

// BEHAVIOUR W2
void PlaneWormSettings::SetDiff(const double&) {
    aliveDiffA = skeletDiffA = aliveDiffB = skeletDiffB = aliveDiffC = skeletDiffC = kOpenDiff;
    SetUsage();
}

}  // namespace orvix
