// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/saved_building.h"

#include <fmt/format.h>

#include <vector>

#include "building/saved/building_records.h"
#include "detection/cells/point_chunks.h"
#include "orvix/platform/path.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/model_file.h"

namespace orvix::building {
namespace {

using detail::PlanesFileStart;

// Of the points that the project has now.
Expected<std::vector<std::uint64_t>> PlacesHashesOf(const CProjectCore& core) {
    std::vector<std::uint64_t> hashes;
    const auto count = static_cast<std::uint64_t>(core.AlivePointCount());
    if (count == 0) return hashes;
    const auto reader = core.CreateAlivePointReader();
    if (!reader) return detection::PointsNotMapped();
    for (const std::uint64_t block : detail::SampledBlocks(count)) {
        std::vector<CCloudPoint<float>> points;
        const std::uint32_t wanted = detail::PointsOfBlock(count, block);
        reader->ReadIndexPoints(block * PlanesFileStart::kBlockPoints, wanted, points);
        if (points.size() != wanted) return detection::PointsNotMapped();
        hashes.push_back(detail::PlacesHash(points));
    }
    return hashes;
}

}  // namespace

Expected<void> RequireSavable(const ProjectManager& paths) {
    const CString path = detail::SavedModelPath(paths);
    if (!platform::PathExists(path)) return {};
    const auto former = detail::ModelFile::Open(path);
    if (former || former.error().code == ErrorCode::Damaged) return {};
    return ErrorOf(former);
}

Expected<void> SaveBuilding(const ProjectManager& paths, const CProjectCore& core,
                            const Building& building) {
    if (auto savable = RequireSavable(paths); !savable) return savable;
    const auto hashes = PlacesHashesOf(core);
    if (!hashes) return ErrorOf(hashes);
    std::vector<std::uint8_t> content;
    EncodeBuilding(building, content);
    return detail::WriteModelFile(paths, static_cast<std::uint64_t>(core.AlivePointCount()),
                                  *hashes, content);
}

Expected<Building> OpenSavedBuilding(const ProjectManager& paths, const CProjectCore& core) {
    const CString path = detail::SavedModelPath(paths);
    const auto file = detail::ModelFile::Open(path);
    if (!file) return ErrorOf(file);
    bool same = static_cast<std::uint64_t>(core.AlivePointCount()) == file->Points();
    if (same) {
        const auto hashes = PlacesHashesOf(core);
        if (!hashes) return ErrorOf(hashes);
        same = *hashes == file->PlacesHashes();  // BEHAVIOUR M1
    }
    if (!same)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{}: the project's points have changed since this model was saved; "
                                "save the model again",
                                platform::ToUtf8(path)));
    Building building;
    std::string fault;
    if (!DecodeBuilding(file->Content(), building, fault)) return file->Damage(fault);
    return building;
}

}  // namespace orvix::building
