// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/index_hash_reader.h"

#include <algorithm>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/truncate.h"

namespace orvix {
namespace {

using detail::TruncateTo;

std::vector<std::uint64_t> ReadKeys(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return {};
    std::vector<std::uint64_t> keys(static_cast<std::uint32_t>(file.Size() / sizeof keys[0]));
    file.ReadAt(0, keys.data(), keys.size() * sizeof keys[0], error);
    return keys;
}

}  // namespace

CIndexHashReader::CIndexHashReader(const CString& path, const SimplePointT<float>& min,
                                   const SimplePointT<float>& max)
    : sizeX_(TruncateTo<std::int32_t>(max.x - min.x + 1)),
      sizeY_(TruncateTo<std::int32_t>(max.y - min.y + 1)),
      originX_(TruncateTo<std::int32_t>(min.x - 1)),
      originY_(TruncateTo<std::int32_t>(min.y - 1)),
      originZ_(TruncateTo<std::int32_t>(min.z - 1)),
      keys_(ReadKeys(path)) {}

bool CIndexHashReader::Find(const SimplePointT<int>& cell, int& index) const {
    // Unsigned arithmetic is the wrapping one.
    const auto bits = [](std::int32_t value) { return static_cast<std::uint32_t>(value); };
    const std::uint32_t row =
        (bits(cell.z) - bits(originZ_)) * bits(sizeY_) - bits(originY_) + bits(cell.y);
    // BEHAVIOUR R11
    const std::uint32_t wrapped = row * bits(sizeX_) - bits(originX_) + bits(cell.x);
    const auto key = static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(wrapped)});
    const auto found = std::find(keys_.begin(), keys_.end(), key);
    if (found == keys_.end()) return false;
    index = static_cast<int>(found - keys_.begin());
    return true;
}

}  // namespace orvix
