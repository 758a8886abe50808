// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/model_file.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>

#include "orvix/platform/unfinished_file.h"
#include "orvix/points/byte_codec.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/saved_lock.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kFrameBytes = sizeof(ModelFileStart) + sizeof(ModelFileEnd);

template <class T>
T ValueAt(const platform::MappedFile& file, std::uint64_t offset) {
    T value;
    std::memcpy(&value, file.Data() + offset, sizeof value);
    return value;
}

}  // namespace

Expected<ModelFile> ModelFile::Open(const CString& path) {
    ModelFile model;
    model.path_ = path;
    std::error_code error;
    model.file_ = platform::MappedFile::Open(path, error);
    if (error == std::errc::no_such_file_or_directory)
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(path) +
                        " does not exist; keep the project's model with 'orvix model --save'");
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be read");
    if (const std::string fault = model.FaultOfBytes(); !fault.empty()) return model.Damage(fault);
    const auto start = ValueAt<ModelFileStart>(model.file_, 0);
    if (start.version > ModelFileStart::kVersion)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{}: a model of version {} cannot be read, only up to {}; read it "
                                "with a newer program, or remove it and save the model again",
                                platform::ToUtf8(path), start.version, ModelFileStart::kVersion));
    if (const std::string fault = model.Parse(); !fault.empty()) return model.Damage(fault);
    return model;
}

// What every version has in common.
std::string ModelFile::FaultOfBytes() const {
    const std::uint64_t size = file_.Size();
    if (size < kFrameBytes) return fmt::format("its {} bytes are too few", size);
    if (ValueAt<ModelFileStart>(file_, 0).mark != ModelFileStart::kMark)
        return "it does not begin as a model does";
    const std::uint64_t hashed = size - sizeof end_.checksum;
    if (ValueAt<std::uint64_t>(file_, hashed) != HashOf(file_.Data(), hashed))
        return "its checksum is not that of its bytes";
    return {};
}

std::string ModelFile::Parse() {
    const auto start = ValueAt<ModelFileStart>(file_, 0);
    if (start.version != ModelFileStart::kVersion ||
        start.blockPoints != PlanesFileStart::kBlockPoints)
        return fmt::format("it is of version {} and has blocks of {} points", start.version,
                           start.blockPoints);
    end_ = ValueAt<ModelFileEnd>(file_, file_.Size() - sizeof end_);
    const std::uint64_t blocks = SampledBlocks(end_.points).size();
    const std::uint64_t rest = file_.Size() - kFrameBytes;
    if (blocks * sizeof(std::uint64_t) > rest ||
        end_.contentBytes != rest - blocks * sizeof(std::uint64_t))
        return fmt::format("its parts, of {} points and {} bytes, are not those of its size",
                           end_.points, end_.contentBytes);
    for (std::uint64_t i = 0; i < blocks; ++i)
        hashes_.push_back(
            ValueAt<std::uint64_t>(file_, sizeof(ModelFileStart) + i * sizeof(std::uint64_t)));
    return {};
}

std::span<const std::uint8_t> ModelFile::Content() const {
    const std::uint64_t first = file_.Size() - sizeof end_ - end_.contentBytes;
    return {file_.Data() + first, static_cast<std::size_t>(end_.contentBytes)};
}

tl::unexpected<Error> ModelFile::Damage(const std::string& what) const {
    return Fail(ErrorCode::Damaged, fmt::format("{}: {}; remove it and save the model again",
                                                platform::ToUtf8(path_), what));
}

Expected<void> WriteModelFile(const ProjectManager& paths, std::uint64_t points,
                              std::span<const std::uint64_t> placesHashes,
                              std::span<const std::uint8_t> content) {
    const CString path = SavedModelPath(paths);
    const auto lock = LockSaved(ModelLockPath(paths), path);
    if (!lock) return ErrorOf(lock);
    std::vector<std::uint8_t> bytes;
    PutValue(bytes, ModelFileStart{});
    for (const std::uint64_t hash : placesHashes) PutValue(bytes, hash);
    bytes.insert(bytes.end(), content.begin(), content.end());
    PutValue(bytes, points);
    PutValue(bytes, std::uint64_t{content.size()});
    PutValue(bytes, HashOf(bytes.data(), bytes.size()));
    std::error_code error;
    platform::UnfinishedFile file(path, L".orvix-part", error);
    if (error == std::errc::device_or_resource_busy) return SavedByAnother(path);
    if (!error) file.Append(bytes.data(), bytes.size(), error);
    if (!error) file.Publish(error);
    if (error) return FailSystem(error, platform::ToUtf8(path) + " could not be written");
    return {};
}

}  // namespace orvix::detail
