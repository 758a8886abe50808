// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/scan_file.h"

#include <fmt/format.h>

#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"

namespace orvix::importer {

Expected<ScanFile> ScanFile::Open(const CString& path) {
    ScanFile scan;
    scan.name_ = platform::ToUtf8(path);
    if (!platform::PathExists(path)) {
        return scan.Bad("there is no such file. Check the path and its spelling.");
    }
    if (platform::IsFolder(path)) {
        return scan.Bad("this is a folder, not a scan file. Name the files in it one by one.");
    }
    std::error_code error;
    scan.file_ = platform::File::OpenRead(path, error);
    if (error == std::errc::permission_denied) {
        return Fail(ErrorCode::Failure,
                    scan.name_ +
                        ": reading is not permitted. Ask for read access to the file, "
                        "or copy it to a place of your own.");
    }
    if (error == std::errc::invalid_seek) {
        return scan.Bad(
            "this is a pipe or a device, and a scan is read twice. Save what comes through it to "
            "a file and name that.");
    }
    if (error) return FailSystem(error, scan.name_ + ": the file cannot be opened");
    scan.size_ = scan.file_.Size();
    if (scan.size_ == 0) {
        return scan.Bad("the file is empty (0 bytes). Copy or export it again.");
    }
    return scan;
}

Expected<void> ScanFile::Read(std::uint64_t offset, void* buffer, std::size_t bytes) const {
    std::error_code error;
    const std::size_t done =
        bytes <= BytesFrom(offset) ? file_.ReadAt(offset, buffer, bytes, error) : 0;
    if (error) {
        return FailSystem(error,
                          fmt::format("{}: {} bytes at byte {} cannot be read", name_,
                                      platform::CountText(bytes), platform::CountText(offset)));
    }
    if (done != bytes) {
        return Bad(
            fmt::format("the file ends at byte {}, where {} more bytes were expected. It "
                        "is cut short or was changed meanwhile: copy it again.",
                        platform::CountText(offset + done), platform::CountText(bytes - done)));
    }
    return {};
}

Expected<void> ScanFile::ReadBlock(std::uint64_t offset, std::size_t bytes,
                                   std::vector<std::uint8_t>& buffer) const {
    if (bytes > BytesFrom(offset)) return Read(offset, nullptr, bytes);
    buffer.resize(bytes);
    return Read(offset, buffer.data(), bytes);
}

tl::unexpected<Error> ScanFile::Bad(std::string_view what) const {
    return Fail(ErrorCode::BadInput, fmt::format("{}: {}", name_, what));
}

tl::unexpected<Error> BadCutShort(const ScanFile& file, const CutShort& cut) {
    const std::uint64_t present = file.BytesFrom(cut.firstByte);
    return file.Bad(fmt::format(
        "the header declares {0} {1} of {2} bytes or more from byte {3} on, but the file ends at "
        "byte {4}, after {5} bytes of them: {6} {1} at most. The file is cut short; copy, "
        "download or export it again.",
        platform::CountText(cut.declared), cut.noun, cut.recordBytes,
        platform::CountText(cut.firstByte), platform::CountText(file.Size()),
        platform::CountText(present), platform::CountText(present / cut.recordBytes)));
}

}  // namespace orvix::importer
