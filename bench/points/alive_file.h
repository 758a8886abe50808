// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/alive_point_reader.h"
#include "support/scratch_folder.h"

namespace orvix::bench {

/// An alive point file of `count` points, in the file cache and mapped for reading.
class AliveFile {
public:
    explicit AliveFile(std::uint64_t count) : path_(folder_ / L"points.pts") {
        std::vector<CCloudPoint<float>> points(count);
        std::uint32_t state = 1;
        for (auto& point : points) {
            state = state * 1'664'525u + 1'013'904'223u;
            point.x = static_cast<float>(state >> 8) * 1e-5f;
            point.y = static_cast<float>(state >> 16);
            point.z = static_cast<float>(state & 0xFFFF);
            point.dclcFirst = static_cast<std::uint16_t>(state >> 12);
            point.dclcSecond = static_cast<std::uint8_t>(state >> 20);
        }
        Write(path_, points);
        file_ = platform::OpenExisting(path_, platform::FileAccess::Read);
        mapping_ = platform::CreateMapping(file_, platform::FileAccess::Read);
        size_ = count * kAlivePointBytes;
        whole_ = platform::MapFileView(mapping_, platform::kViewRead, 0, 0);
        Require(whole_ != nullptr, "the scratch file cannot be mapped");
    }
    ~AliveFile() {
        UnmapFileView(whole_);
        platform::CloseMapping(mapping_);
        platform::CloseHandleOf(file_);
    }
    AliveFile(const AliveFile&) = delete;
    AliveFile& operator=(const AliveFile&) = delete;

    [[nodiscard]] const CString& Path() const { return path_; }
    [[nodiscard]] std::uint64_t Count() const { return size_ / kAlivePointBytes; }
    [[nodiscard]] std::uint64_t Size() const { return size_; }
    [[nodiscard]] platform::Handle Mapping() const { return mapping_; }
    /// The whole file in one view.
    [[nodiscard]] const std::uint8_t* Whole() const { return whole_; }
    [[nodiscard]] CAlivePointReader Reader() const {
        return {size_, 0, 0, nullptr, nullptr, mapping_, 0, 0, platform::kViewRead};
    }

private:
    // In blocks of 8 MiB, so that the file cache keeps the file in the large pieces that are cheap
    // to map.
    static void Write(const CString& path, const std::vector<CCloudPoint<float>>& points) {
        constexpr std::size_t kBlock = std::size_t{8} << 20;
        const auto* bytes = reinterpret_cast<const char*>(points.data());
        const std::size_t size = points.size() * sizeof points[0];
        std::error_code error;
        auto file = platform::File::Create(path, error);
        for (std::size_t at = 0; at < size && !error; at += kBlock)
            file.Append(bytes + at, std::min(kBlock, size - at), error);
        Require(!error, "the scratch file cannot be written");
    }

    test::ScratchFolder folder_;
    CString path_;
    platform::Handle file_ = nullptr;
    platform::Handle mapping_ = nullptr;
    std::uint64_t size_ = 0;
    const std::uint8_t* whole_ = nullptr;
};

}  // namespace orvix::bench
