// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/known_files.h"

#include <fmt/format.h>

#include <string_view>

namespace orvix::importer {
namespace {

using namespace std::string_view_literals;

struct KnownFile {
    std::string_view magic;
    std::string_view name;
    std::string_view advice;
};

constexpr std::string_view kExport = "Export the scan as E57, LAS, PLY or text and import that";
constexpr std::string_view kUnpack = "Unpack it and import the scan files in it";
constexpr std::string_view kNoScan = "Name the scan file instead";

constexpr KnownFile kKnownFiles[] = {
    {"PK\x03\x04"sv, "a ZIP archive", kUnpack},
    {"\x1f\x8b"sv, "a gzip archive", kUnpack},
    {"7z\xbc\xaf\x27\x1c"sv, "a 7z archive", kUnpack},
    {"Rar!\x1a"sv, "a RAR archive", kUnpack},
    {"BZh"sv, "a bzip2 archive", kUnpack},
    {"\xfd"
     "7zXZ\0"sv,
     "an xz archive", kUnpack},
    {"\x28\xb5\x2f\xfd"sv, "a Zstandard archive", kUnpack},
    {"\x89HDF\r\n"sv, "an HDF5 file", kExport},
    {"SQLite format 3"sv, "a database", kNoScan},
    {"glTF"sv, "a glTF model", kExport},
    {"%PDF"sv, "a PDF document", kNoScan},
    {"\x89PNG"sv, "a PNG picture", kNoScan},
    {"\xff\xd8\xff"sv, "a JPEG picture", kNoScan},
    {"II*\0"sv, "a TIFF picture", kNoScan},
    {"MM\0*"sv, "a TIFF picture", kNoScan},
    {"<?xml"sv, "an XML document", kNoScan},
    {"\x7f"
     "ELF"sv,
     "a program", kNoScan},
};

}  // namespace

std::optional<std::string> WhyNotRead(std::span<const std::uint8_t> firstBytes) {
    const std::string_view bytes(reinterpret_cast<const char*>(firstBytes.data()),
                                 firstBytes.size());
    for (const KnownFile& known : kKnownFiles) {
        if (bytes.starts_with(known.magic)) {
            return fmt::format("this is {}, which is not read. {}.", known.name, known.advice);
        }
    }
    return std::nullopt;
}

}  // namespace orvix::importer
