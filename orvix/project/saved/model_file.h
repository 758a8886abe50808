// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/mapping.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/saved/sampled_blocks.h"

namespace orvix::detail {

/// How the file of a saved model begins. Then follow the hashes of the sampled blocks' coordinates,
/// the model's own bytes, which the room `building` writes and reads, and ModelFileEnd.
struct ModelFileStart {
    static constexpr std::array<char, 8> kMark{'O', 'r', 'v', 'i', 'x', 'M', 'd', 'l'};
    static constexpr std::uint32_t kVersion = 1;

    std::array<char, 8> mark = kMark;
    std::uint32_t version = kVersion;
    std::uint32_t blockPoints = PlanesFileStart::kBlockPoints;
};
static_assert(sizeof(ModelFileStart) == 16);

/// The last bytes of the file. `checksum` is of all bytes before it.
struct ModelFileEnd {
    std::uint64_t points = 0;  ///< of the cloud that was modelled
    std::uint64_t contentBytes = 0;
    std::uint64_t checksum = 0;
};
static_assert(sizeof(ModelFileEnd) == 24);

/// The file in which a project stores the model of its building, and of which points it is.
///
///     auto file = ModelFile::Open(SavedModelPath(manager));
///     if (!file) return Report(file.error());
///     Decode(file->Content());
///
/// Errors   BadInput where there is no such file or one of a newer version; Damaged, with what is
///          wrong, for one that was cut or changed; FailSystem's where it cannot be read. Whether the
///          cloud is still the one that was modelled is not asked here.
/// Lifetime keeps the file open; another save may take its place meanwhile.
/// Threads  const calls may run side by side.
/// Cost     opening reads the file once, to compare its checksum.
class ModelFile {
public:
    static Expected<ModelFile> Open(const CString& path);

    [[nodiscard]] std::uint64_t Points() const { return end_.points; }
    /// The hash of each of SampledBlocks(Points()).
    [[nodiscard]] const std::vector<std::uint64_t>& PlacesHashes() const { return hashes_; }
    [[nodiscard]] std::span<const std::uint8_t> Content() const;
    /// Why the file cannot be used, as an error.
    [[nodiscard]] tl::unexpected<Error> Damage(const std::string& what) const;

private:
    [[nodiscard]] std::string FaultOfBytes() const;
    std::string Parse();

    CString path_;
    platform::MappedFile file_;
    ModelFileEnd end_;
    std::vector<std::uint64_t> hashes_;
};

/// Writes the file, whole or not at all, in place of the one that is there.
///
/// Errors  Failure where another program writes it, NoSpace or Failure of writing, with the path.
///         What was there stays.
Expected<void> WriteModelFile(const ProjectManager& paths, std::uint64_t points,
                              std::span<const std::uint64_t> placesHashes,
                              std::span<const std::uint8_t> content);

}  // namespace orvix::detail
