// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/open_scan.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "importer/formats/e57/e57.h"
#include "importer/formats/known_files.h"
#include "importer/formats/las/las.h"
#include "importer/formats/laz/laz.h"
#include "importer/formats/pcd/pcd.h"
#include "importer/formats/ply/ply.h"
#include "importer/formats/text/ptx.h"
#include "importer/formats/text/text.h"

namespace orvix::importer {

Expected<std::unique_ptr<ScanReader>> OpenLasOrLaz(ScanFile file) {
    const auto header = ReadLasHeader(file);
    if (!header) return ErrorOf(header);
    return header->compressed ? OpenLaz(std::move(file), *header)
                              : OpenLas(std::move(file), *header);
}

Expected<std::unique_ptr<ScanReader>> OpenScan(const CString& path) {
    auto file = ScanFile::Open(path);
    if (!file) return ErrorOf(file);
    constexpr std::uint64_t kStartBytes = 4096;  // a PTX block's head is ten lines long
    std::vector<std::uint8_t> start;
    const auto bytes = static_cast<std::size_t>(std::min(file->Size(), kStartBytes));
    if (auto read = file->ReadBlock(0, bytes, start); !read) return ErrorOf(read);
    const std::string_view magic(reinterpret_cast<const char*>(start.data()), start.size());

    if (magic.starts_with("LASF")) return OpenLasOrLaz(std::move(*file));
    if (magic.starts_with("ASTM-E57")) return OpenE57(std::move(*file));
    if (magic.starts_with("ply\n") || magic.starts_with("ply\r") || magic.starts_with("ply ")) {
        return OpenPly(std::move(*file));
    }
    if (const auto reason = WhyNotRead(start)) return file->Bad(*reason);  // BEHAVIOUR X1
    if (LooksLikePcd(magic)) return OpenPcd(std::move(*file));
    if (LooksLikePtx(magic)) return OpenPtx(std::move(*file));
    return OpenText(std::move(*file));
}

}  // namespace orvix::importer
