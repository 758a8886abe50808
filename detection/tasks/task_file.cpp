// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/tasks/task_file.h"

#include <fmt/format.h>

#include <array>
#include <random>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/unfinished_file.h"

namespace orvix::detection {
namespace {

constexpr std::array<char, 8> kMagic{'O', 'R', 'V', 'I', 'X', 'P', 'T', '2'};
constexpr std::size_t kBlock = std::size_t{8} << 20;

struct Head {
    std::array<char, 8> magic = kMagic;
    std::uint64_t key = 0;
    std::uint64_t bytes = 0;
    std::uint64_t sum = 0;  // CRC-32C of what follows
};
static_assert(sizeof(Head) == 32 && std::has_unique_object_representations_v<Head>);

// Two programs that store the same result do not meet, be it on machines that see no locks of each
// other's.
CString OwnEnding() {
    std::random_device random;
    return platform::FromUtf8(fmt::format(".{:08x}{:08x}.orvix-part", random(), random()));
}

}  // namespace

Expected<void> TaskWriter::Store(const CString& path, std::uint64_t key) const {
    Head head;
    head.key = key;
    head.bytes = bytes_.size();
    head.sum = platform::Crc32c(bytes_);
    std::error_code error;
    platform::UnfinishedFile file(path, OwnEnding().c_str(), error);
    if (!error) file.Append(&head, sizeof head, error);
    for (std::size_t at = 0; !error && at < bytes_.size(); at += kBlock)
        file.Append(bytes_.data() + at, std::min(kBlock, bytes_.size() - at), error);
    if (!error) file.Publish(error);
    if (!error) return {};
    // Some systems replace no file that another program reads, be it with the same bytes.
    if (const auto there = TaskReader::Open(path, key); there && there->Holds(bytes_)) return {};
    return FailSystem(error, platform::ToUtf8(path) + " could not be written");
}

tl::unexpected<Error> TaskReader::Damage() const {
    return Fail(ErrorCode::Damaged,
                fmt::format("{} is not what a task of this plan stored; remove the file, and the "
                            "task runs again",
                            platform::ToUtf8(path_)));
}

Expected<TaskReader> TaskReader::Open(const CString& path, std::uint64_t key) {
    TaskReader reader;
    reader.path_ = path;
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    Head head;
    std::size_t read = 0;
    if (!error) read = file.ReadAt(0, &head, sizeof head, error);
    if (error) return FailSystem(error, platform::ToUtf8(path) + " could not be read");
    const std::uint64_t size = file.Size();
    if (read != sizeof head || head.magic != kMagic || head.key != key ||
        head.bytes != size - sizeof head)
        return reader.Damage();
    reader.bytes_.resize(head.bytes);
    for (std::size_t at = 0; at < reader.bytes_.size(); at += read) {
        const std::size_t wanted = std::min(kBlock, reader.bytes_.size() - at);
        read = file.ReadAt(sizeof head + at, reader.bytes_.data() + at, wanted, error);
        if (error) return FailSystem(error, platform::ToUtf8(path) + " could not be read");
        if (read != wanted) return reader.Damage();
    }
    if (platform::Crc32c(reader.bytes_) != head.sum) return reader.Damage();
    return reader;
}

}  // namespace orvix::detection
