// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/fuzz_reader.h"

#include <cmath>
#include <cstdlib>
#include <system_error>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"

namespace orvix::fuzz {
namespace {

using namespace orvix::importer;

// Points per byte: a compressed file makes 88 bytes of one at most.
constexpr std::uint64_t kMaxGrowth = 128;

void Require(bool promise) {
    if (!promise) std::abort();
}

/// What a pass saw, folded into one number.
std::uint64_t ReadPass(ScanReader& reader) {
    RawPiece piece;
    DecodedPiece decoded;
    std::uint64_t seen = 0;
    std::uint64_t reported = 0;
    std::uint64_t points = 0;
    std::size_t scan = 0;
    for (;;) {
        piece.scan = 0;
        piece.fileBytes.reset();
        static_cast<PointlessRecords&>(decoded) = {};
        const auto more = reader.Next(piece);
        if (!more) Require(!more.error().message.empty());
        if (!more || !*more) break;
        Require(piece.bytes.size() <= kMaxPieceBytes);
        Require(piece.scan >= scan && piece.scan < reader.Info().scans.size());
        scan = piece.scan;
        reported += piece.fileBytes.value_or(piece.bytes.size());
        Require(reported <= reader.FileBytes());
        if (!reader.Decode(piece, decoded)) break;
        points += decoded.points.size() + decoded.Total();
        if (piece.records != 0) Require(piece.records == decoded.points.size() + decoded.Total());
        for (const ScanPoint& point : decoded.points) {
            Require(std::isfinite(point.intensity));
            seen = seen * 31 + static_cast<std::uint64_t>(point.red + point.classification);
        }
        seen = seen * 31 + decoded.Total();
    }
    // LAZ points that are all equal take less than a byte each.
    Require(points <= kMaxGrowth * reader.FileBytes() || reader.Info().format.starts_with("LAZ"));
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
