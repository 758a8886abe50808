// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/planes_file_writer.h"

#include <cassert>
#include <cstddef>
#include <utility>

#include "orvix/points/byte_codec.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/saved_lock.h"

namespace orvix::detail {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

}  // namespace

Expected<std::unique_ptr<PlanesFileWriter>> PlanesFileWriter::Create(const ProjectManager& paths) {
    const CString path = SavedPlanesPath(paths);
    auto lock = LockSaved(PlanesLockPath(paths), path);
    if (!lock) return ErrorOf(lock);
    std::unique_ptr<PlanesFileWriter> writer(new PlanesFileWriter(paths, std::move(*lock)));
    if (writer->error_ == std::errc::device_or_resource_busy) return SavedByAnother(path);
    if (writer->error_)
        return FailSystem(writer->error_, platform::ToUtf8(path) + " cannot be written");
    return writer;
}

PlanesFileWriter::PlanesFileWriter(const ProjectManager& paths, platform::PathLock&& lock)
    : lock_(std::move(lock)), path_(SavedPlanesPath(paths)), file_(path_, L".orvix-part", error_) {
    PutValue(bytes_, PlanesFileStart{});
}

void PlanesFileWriter::Flush() {
    hash_.Add(bytes_.data(), bytes_.size());
    if (!error_) file_.Append(bytes_.data(), bytes_.size(), error_);
    bytes_.clear();
}

void PlanesFileWriter::AddBlock(CloudPart part, std::span<const PlaneRun> runs,
                                std::uint64_t placesHash) {
    if (error_) return;
    blocks_[static_cast<std::size_t>(part)].push_back({Written(), placesHash});
    EncodeRuns(runs, bytes_);
    if (bytes_.size() >= kBufferBytes) Flush();
}

Expected<void> PlanesFileWriter::Commit(const SavedSearch& search,
                                        std::span<const SavedPlane> planes) {
    assert(error_ || blocks_[0].size() == BlocksOf(search.points));
    assert(error_ || blocks_[1].size() == BlocksOf(search.skeletonPoints));
    PlanesFileEnd end{search, planes.size(), Written(), 0};
    for (const std::vector<PlaneBlock>& part : blocks_) {
        for (const PlaneBlock& block : part) {
            PutValue(bytes_, block);
            if (bytes_.size() >= kBufferBytes) Flush();
        }
    }
    for (const SavedPlane& plane : planes) {
        EncodePlane(plane, bytes_);
        if (bytes_.size() >= kBufferBytes) Flush();
    }
    PutValue(bytes_, end);
    bytes_.resize(bytes_.size() - sizeof end.checksum);
    Flush();
    PutValue(bytes_, hash_.Value());
    Flush();
    if (!error_) file_.Publish(error_);
    if (error_) return FailSystem(error_, platform::ToUtf8(path_) + " could not be written");
    return {};
}

}  // namespace orvix::detail
