// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "detection/plane_set.h"
#include "orvix/project/project_core.h"
#include "orvix/project/saved/saved_planes.h"

namespace orvix::detection {

/// The planes that a project stores, as the search that found them returned them.
///
/// OpenSavedPlanes opens one, and says what it promises.
class StoredPlanes final : public PlaneSet {
public:
    static Expected<std::unique_ptr<StoredPlanes>> Open(const CString& path,
                                                        const CProjectCore& core);

    [[nodiscard]] const PlaneSearchSettings& Settings() const override { return settings_; }
    [[nodiscard]] const std::vector<FoundPlane>& Planes() const override { return planes_; }
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
    StoredPlanes(CString path, detail::SavedPlanes&& saved);

    [[nodiscard]] Expected<void> RequireCloud(const CProjectCore& core) const;
    [[nodiscard]] Expected<void> PlanesOfBlock(detail::CloudPart part, std::uint64_t block,
                                               std::uint64_t placesHash,
                                               std::vector<std::int32_t>& planes) const;
    [[nodiscard]] tl::unexpected<Error> OtherPoints() const;

    CString path_;
    detail::SavedPlanes saved_;
    PlaneSearchSettings settings_;
    std::vector<FoundPlane> planes_;
};

}  // namespace orvix::detection
