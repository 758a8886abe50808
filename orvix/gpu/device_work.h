// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/section_entries.h"
#include "orvix/gpu/section_rule.h"
#include "orvix/platform/compute/compute_device.h"

namespace orvix::detail {

/// The work of sections on one device: the points it holds, and jobs that go there and come back.
///
/// A device may round otherwise than the processor. Its kernels decide only what no rounding can
/// change; what they leave undecided, one point in a million, is decided here, from the points in
/// memory.
///
///     DeviceWork work(std::move(device), memory);
///     if (!work.AnswersKnownQuestions()) return;             // never asked again
///     work.Hold(points);
///     work.Start(0, rule, {.points = Stretch(points, 0, work.AtOnce()), .heldFirst = 0});
///     work.Finish(0, classes, steps);
///
/// Errors   false: the device is of no use any more.
/// Lifetime borrows the points it holds and those of a job until its end.
/// Threads  one at a time.
/// Cost     points held take 12 bytes each on the device; two slots up to 18 bytes a point of a job
///          each. A launch a job, a byte a point on the way back, two with a ramp.
class DeviceWork {
public:
    /// `memory` in bytes; less than 200 KiB is taken for that.
    DeviceWork(std::unique_ptr<platform::ComputeDevice> device, std::uint64_t memory);

    /// Whether the device gives the answers of some hundred points on every boundary, each kernel's.
    bool AnswersKnownQuestions();
    /// Uploads points from the first on, as many as the memory allows: HeldCount.
    bool Hold(const SectionPoints& points);
    void Release();
    [[nodiscard]] std::uint64_t HeldCount() const { return heldCount_; }

    /// The most points of a job: 1 Mi, less where the memory is small.
    [[nodiscard]] std::uint64_t AtOnce() const { return atOnce_; }

    /// What to classify: held points, given ones, or those of a list among the held ones.
    struct Job {
        SectionPoints points;                    ///< in memory; for a list, all points
        std::optional<std::uint64_t> heldFirst;  ///< the first of them on the device
        std::span<const std::uint64_t> indices;  ///< of a list; AreTogether holds
        [[nodiscard]] std::uint64_t Count() const {
            return indices.empty() ? points.count : indices.size();
        }
    };
    /// Whether a list's indices lie in one buffer of the held points.
    [[nodiscard]] bool AreTogether(std::span<const std::uint64_t> indices) const;

    static constexpr std::size_t kSlots = 2;
    /// Sends a job off; it may run while another is finished.
    bool Start(std::size_t slot, const SectionRule& rule, const Job& job);
    /// Waits for the slot's job and writes its classes, and steps where there is a ramp.
    bool Finish(std::size_t slot, SectionClass* classes, std::uint8_t* steps);

    /// The least value that any of 256 held points may have, for each 256 of them in turn; infinite
    /// where none can lie in the aperture.
    bool BoundsOfGroups(const SnapRule& rule, std::vector<float>& bounds);
    static constexpr std::uint64_t kGroup = platform::kComputeGroup;

    [[nodiscard]] const platform::ComputeDevice& Device() const { return *device_; }

private:
    using Buffer = std::unique_ptr<platform::ComputeBuffer>;
    using Words = std::array<std::uint32_t, platform::kComputeParameters>;
    struct Slot {
        Buffer points;
        Buffer indices;
        Buffer classes;
        Buffer steps;
        SectionRule rule;
        Job job;
    };
    struct Part {
        Buffer points;
        std::uint64_t first = 0;
        std::uint64_t count = 0;
    };

    bool Make(Buffer& buffer, std::uint64_t bytes);
    bool UploadPoints(platform::ComputeBuffer& buffer, std::uint64_t at,
                      const SectionPoints& points);
    bool UploadIndices(Slot& slot, const Part& part);
    bool AnswersClassify();
    bool AnswersSnap();

    std::unique_ptr<platform::ComputeDevice> device_;
    std::uint64_t memory_ = 0;
    std::uint64_t atOnce_ = 0;
    std::uint64_t partPoints_ = 0;
    std::uint64_t heldCount_ = 0;
    std::vector<Part> parts_;
    std::array<Slot, kSlots> slots_;
    Buffer bounds_;
    std::vector<SimplePointT<float>> packed_;  // staged for an upload
    std::vector<std::uint32_t> numbers_;       // staged, too
    std::vector<std::uint8_t> answer_;         // where a count is not of whole words
};

}  // namespace orvix::detail
