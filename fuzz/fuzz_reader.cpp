// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/fuzz_reader.h"

#include <cmath>
#include <cstdlib>
#include <system_error>

#include "orvix/platform/path.h"
#include "tests/support/scratch_folder.h"

namespace orvix::fuzz {
namespace {

using namespace orvix::importer;

void Require(bool promise) {
    if (!promise) std::abort();
}

/// What a pass saw, folded into one number.
std::uint64_t ReadPass(ScanReader& reader) {
    RawPiece piece;
    DecodedPiece decoded;
    std::uint64_t seen = 0;
    std::uint64_t end = 0;
    std::uint64_t points = 0;
    for (;;) {
        const auto more = reader.Next(piece);
        if (!more) Require(!more.error().message.empty());
        if (!more || !*more) break;
        Require(piece.fileOffset >= end && piece.bytes.size() <= kPieceBytes);
        end = piece.fileOffset + piece.bytes.size();
        Require(end <= reader.FileBytes());
        if (!reader.Decode(piece, decoded)) break;
        points += decoded.points.size() + decoded.malformed;
        if (piece.records != 0) {
            Require(piece.records == decoded.points.size() + decoded.malformed);
        }
        for (const ScanPoint& point : decoded.points) {
            Require(std::isfinite(point.intensity));
            seen = seen * 31 + static_cast<std::uint64_t>(point.red + point.classification);
        }
        seen = seen * 31 + decoded.malformed;
    }
    Require(points <= reader.FileBytes());
    const auto declared = reader.Info().declaredPoints;
    Require(!declared || points <= *declared);
    return seen * 31 + points;
}

}  // namespace

void ReadAsScan(Opener open, const std::uint8_t* data, std::size_t size) {
    static const test::ScratchFolder folder;
    const CString path = folder / L"scan";
    // A new file each time: some file systems wait for the device when an old one is rewritten.
    std::error_code ignored;
    platform::RemoveFile(path, ignored);
    test::WriteBytes(path, data, size);
    auto file = ScanFile::Open(path);
    if (!file) return;
    const auto reader = open(std::move(*file));
    if (!reader) {
        Require(reader.error().code == ErrorCode::BadInput && !reader.error().message.empty());
        return;
    }
    const std::uint64_t first = ReadPass(**reader);
    Require((*reader)->Rewind().has_value());
    Require(ReadPass(**reader) == first);
}

}  // namespace orvix::fuzz
