// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/planes_file_writer.h"

#include <cassert>
#include <cstddef>
#include <string>
#include <utility>

#include "orvix/points/byte_codec.h"
#include "orvix/project/project_paths.h"

namespace orvix::detail {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

tl::unexpected<Error> Busy(const std::string& name) {
    return Fail(ErrorCode::Failure,
                name + " is being written by another program; wait until it has ended");
}

}  // namespace

Expected<std::unique_ptr<PlanesFileWriter>> PlanesFileWriter::Create(const ProjectManager& paths) {
    std::error_code error;
    auto lock = platform::PathLock::TryAcquire(PlanesLockPath(paths), error);
    const std::string name = platform::ToUtf8(SavedPlanesPath(paths));
    if (error) return FailSystem(error, name + " cannot be written; check the permissions");
    if (!lock) return Busy(name);
    std::unique_ptr<PlanesFileWriter> writer(new PlanesFileWriter(paths, std::move(lock)));
    if (writer->error_ == std::errc::device_or_resource_busy) return Busy(name);
    if (writer->error_) return FailSystem(writer->error_, name + " cannot be written");
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
