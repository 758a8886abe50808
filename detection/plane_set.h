// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "detection/plane_search.h"
#include "orvix/platform/export.h"

namespace orvix::detection {

/// Skeleton points that follow each other, and the plane of each: a place in Planes(), or -1.
using SkeletonPlanesUse = std::function<void(std::span<const SimplePointT<float>> places,
                                             std::span<const std::int32_t> planes)>;

/// All planes of a project with the plane of each of its points: what a search found (SearchedPlanes),
/// or what an earlier one left in the project (OpenSavedPlanes). Reports and outputs take either.
///
///     const SearchedPlanes found(core, *search);  // or *OpenSavedPlanes(manager, core)
///     for (std::size_t i = 0; i < found.Planes().size(); ++i)
///         Draw(found.Numbers()[i], found.Planes()[i]);
///
/// Order    planes by their points, most first; points and skeleton as in their files.
/// Lifetime of both: the project's core must stay open.
/// Threads  const calls may run side by side, with a reader each.
class ORVIX_API PlaneSet {
public:
    PlaneSet() = default;
    virtual ~PlaneSet();
    PlaneSet(const PlaneSet&) = delete;
    PlaneSet& operator=(const PlaneSet&) = delete;

    [[nodiscard]] virtual const PlaneSearchSettings& Settings() const = 0;
    [[nodiscard]] virtual const std::vector<FoundPlane>& Planes() const = 0;
    [[nodiscard]] virtual std::uint64_t Points() const = 0;
    [[nodiscard]] virtual std::uint64_t AssignedPoints() const = 0;
    [[nodiscard]] virtual std::uint64_t Cells() const = 0;
    [[nodiscard]] virtual std::uint64_t LeftOut() const = 0;
    /// What the search was asked for.
    [[nodiscard]] virtual Detail SearchDetail() const = 0;

    /// The number of a plane, from 1, by which people and files know it; 0 for -1, no plane.
    [[nodiscard]] std::uint32_t NumberOf(std::int32_t plane) const {
        return plane < 0 ? 0 : numbers_[static_cast<std::size_t>(plane)];
    }
    [[nodiscard]] const std::vector<std::uint32_t>& Numbers() const { return numbers_; }
    /// Precondition: one for each plane.
    void SetNumbers(std::vector<std::uint32_t> numbers) { numbers_ = std::move(numbers); }

    /// As PlaneSearch's calls of these names.
    [[nodiscard]] virtual std::size_t Chunks() const = 0;
    [[nodiscard]] virtual std::uint64_t FirstRecord(std::size_t chunk) const = 0;
    [[nodiscard]] virtual Expected<void> ReadChunk(
        CAlivePointReader& reader, std::size_t chunk,
        const std::function<void(const PlanePoints&)>& use) const = 0;
    /// Hands over all skeleton points, some thousands at a time. Precondition: the reader has read
    /// none yet.
    [[nodiscard]] virtual Expected<void> ReadSkeleton(CAlivePointReader& reader,
                                                      const SkeletonPlanesUse& use) const = 0;

private:
    std::vector<std::uint32_t> numbers_;
};

/// What a search found, numbered 1, 2, 3 in its order until a save gives other numbers.
///
/// Lifetime borrows both.
class ORVIX_API SearchedPlanes final : public PlaneSet {
public:
    SearchedPlanes(const CProjectCore& core, const PlaneSearch& search,
                   Detail detail = Detail::Normal);

    [[nodiscard]] const PlaneSearchSettings& Settings() const override;
    [[nodiscard]] const std::vector<FoundPlane>& Planes() const override;
    [[nodiscard]] std::uint64_t Points() const override;
    [[nodiscard]] std::uint64_t AssignedPoints() const override;
    [[nodiscard]] std::uint64_t Cells() const override;
    [[nodiscard]] std::uint64_t LeftOut() const override;
    [[nodiscard]] Detail SearchDetail() const override;
    [[nodiscard]] std::size_t Chunks() const override;
    [[nodiscard]] std::uint64_t FirstRecord(std::size_t chunk) const override;
    [[nodiscard]] Expected<void> ReadChunk(
        CAlivePointReader& reader, std::size_t chunk,
        const std::function<void(const PlanePoints&)>& use) const override;
    [[nodiscard]] Expected<void> ReadSkeleton(CAlivePointReader& reader,
                                              const SkeletonPlanesUse& use) const override;

private:
    const CProjectCore& core_;
    const PlaneSearch& search_;
    Detail detail_;
};

}  // namespace orvix::detection
