// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "orvix/gpu/device_work.h"
#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/section.h"
#include "orvix/gpu/section_devices.h"
#include "orvix/gpu/section_entries.h"
#include "orvix/gpu/section_rule.h"

namespace orvix::detail {

class PointTree;

/// A stretch of entries that has been classified.
struct SectionPiece {
    std::uint64_t first = 0;  ///< of the entries
    std::span<const SectionClass> classes;
    const std::uint8_t* steps = nullptr;     ///< as many; null without a ramp
    const std::uint64_t* indices = nullptr;  ///< of the points; null: as the entries count
};

/// Runs passes over points where they run fastest. The exported class holds one, and knows the
/// section; this one knows points, lists and devices.
///
/// Errors  none: what a device does not do, the processor does.
/// Threads one at a time.
class SectionWork {
public:
    using UsePiece = std::function<void(const SectionPiece&)>;

    explicit SectionWork(const SectionOptions& options,
                         std::shared_ptr<SectionDevices> devices = SystemDevices());
    ~SectionWork();

    void SetPoints(const SectionPoints& points, bool held);
    /// False, and nothing changes, where an index is beyond the points.
    bool SetLists(std::span<const std::span<const std::uint64_t>> lists);
    void ClearLists();
    [[nodiscard]] const SectionEntries& Entries() const { return entries_; }

    /// Classifies all entries, in order. With `target`, the classes of all of them are written
    /// there; without `use`, nobody is called.
    SectionCounts Classify(const SectionRule& rule, SectionClass* target, const UsePiece& use);
    /// Classifies points that are not those set, of any number.
    SectionCounts ClassifyOthers(const SectionRule& rule, const SectionPoints& points,
                                 SectionClass* classes);
    /// Points that ClassifyOthers should be given at a time, at most.
    [[nodiscard]] std::uint64_t StreamedAtOnce();

    void Snap(std::span<const SnapRule> rules, std::span<SnappedPoint> snapped);

    [[nodiscard]] const std::string& DeviceName() const { return lastUsed_; }

private:
    using Job = DeviceWork::Job;
    /// What a pass does with its entries: where classes go, who is called, what was counted.
    struct Pass;

    bool MayUseDevice();
    bool OpenDevice();
    bool HoldOnDevice();
    bool IsDeviceFaster(const SectionRule& rule);
    void DropDevice();
    bool ClassifyOnDevice(Pass& pass);
    bool RunJobs(Pass& pass, std::span<const Job> jobs);
    void ClassifyJobHere(Pass& pass, const Job& job);
    std::vector<Job> JobsOf() const;
    bool SnapOnDevice(std::span<const SnapRule> rules, std::span<SnapBest> bests);
    void ClassifyHere(Pass& pass);
    void ClassifyListed(Pass& pass);
    void SnapByPasses(std::span<const SnapRule> rules, std::span<SnapBest> bests);
    void SnapByTrees(std::span<const SnapRule> rules, std::span<SnapBest> bests);
    void GatherListed();

    SectionOptions options_;
    std::shared_ptr<SectionDevices> devices_;
    std::unique_ptr<DeviceWork> device_;
    enum class Choice { Open, Device, Processor };
    Choice choice_ = Choice::Open;  // for the points that are set
    bool none_ = false;             // no device is left to try
    bool uploaded_ = false;         // the held points, as far as they fit
    std::string lastUsed_ = "processor";
    SectionEntries entries_;
    bool held_ = false;
    std::uint64_t raysPassed_ = 0;  // over the held points, without a tree
    std::vector<std::unique_ptr<PointTree>> trees_;
    std::vector<std::uint64_t> listedIndices_;       // for snapping to listed points:
    std::vector<SimplePointT<float>> listedPoints_;  // each once, ascending
    bool gathered_ = false;
};

}  // namespace orvix::detail
