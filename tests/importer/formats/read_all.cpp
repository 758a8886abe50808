// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/importer/formats/read_all.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <optional>

#include "importer/formats/open_scan.h"

namespace orvix::test {
namespace {

using namespace orvix::importer;

/// One pass; the error's text, or nothing.
std::string ReadPass(ScanReader& reader, WholeScan& scan) {
    RawPiece piece;
    DecodedPiece decoded;
    std::uint64_t reported = 0;
    std::size_t lastScan = 0;
    std::uint64_t records = 0;  // of the scan so far
    for (;;) {
        piece.scan = 0;
        piece.fileBytes.reset();
        static_cast<PointlessRecords&>(decoded) = {};
        const auto more = reader.Next(piece);
        if (!more) return more.error().message;
        if (!*more) break;
        EXPECT_LE(piece.bytes.size(), kMaxPieceBytes);
        EXPECT_GE(piece.scan, lastScan);
        EXPECT_LT(piece.scan, reader.Info().scans.size());
        if (piece.scan != lastScan) records = 0;
        lastScan = piece.scan;
        reported += piece.fileBytes.value_or(piece.bytes.size());
        EXPECT_LE(reported, reader.FileBytes());
        const auto done = reader.Decode(piece, decoded);
        if (!done) return done.error().message;
        const std::uint64_t met = decoded.points.size() + decoded.Total();
        if (piece.records != 0) {
            EXPECT_EQ(piece.records, met);
        }
        if (reader.Info().declaredPoints) {
            EXPECT_EQ(piece.firstRecord, records);
        }
        records += met;
        scan.points.insert(scan.points.end(), decoded.points.begin(), decoded.points.end());
        scan.scanOfPoint.resize(scan.points.size(), piece.scan);
        scan.malformed += decoded.malformed;
        scan.pointless.Join(decoded);
        ++scan.pieces;
    }
    scan.info = reader.Info();
    return {};
}

/// Equal bit for bit, not-a-number included.
bool SamePoint(const ScanPoint& a, const ScanPoint& b) {
    const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    return bits(a.x) == bits(b.x) && bits(a.y) == bits(b.y) && bits(a.z) == bits(b.z) &&
           a.intensity == b.intensity && a.red == b.red && a.green == b.green && a.blue == b.blue &&
           a.classification == b.classification;
}

// A piece and where the reader stood before it.
struct PlacedPiece {
    ReadPlace place{};
    RawPiece piece;
};

std::optional<PlacedPiece> NextOf(ScanReader& reader) {
    PlacedPiece next{reader.Place(), {}};
    const auto more = reader.Next(next.piece);
    if (!more || !*more) return std::nullopt;
    return next;
}

// A reader that is opened anew hands out the same pieces from any place on.
void CheckPlaces(const CString& path) {
    const auto reader = OpenScan(path);
    std::vector<PlacedPiece> pieces;
    while (auto piece = NextOf(**reader)) pieces.push_back(std::move(*piece));
    const std::size_t step = pieces.size() / 4 + 1;
    for (std::size_t i = pieces.size(); i > 0; i -= std::min(i, step)) {
        const PlacedPiece& expected = pieces[i - 1];
        const auto other = OpenScan(path);
        ASSERT_TRUE((*other)->GoTo(expected.place));
        while ((*other)->Place() != expected.place) ASSERT_TRUE(NextOf(**other));
        const auto piece = NextOf(**other);
        ASSERT_TRUE(piece);
        EXPECT_EQ(piece->piece.bytes, expected.piece.bytes);
        EXPECT_EQ(piece->piece.scan, expected.piece.scan);
        EXPECT_EQ(piece->piece.records, expected.piece.records);
        EXPECT_EQ(piece->piece.firstRecord, expected.piece.firstRecord);
        EXPECT_EQ(piece->piece.fileOffset, expected.piece.fileOffset);
        if (i < pieces.size()) {
            EXPECT_EQ((*other)->Place(), pieces[i].place);
        }
    }
}

}  // namespace

WholeScan ReadAll(const CString& path) {
    WholeScan scan;
    const auto reader = OpenScan(path);
    if (!reader) {
        scan.error = reader.error().message;
        EXPECT_FALSE(scan.error.empty());
        return scan;
    }
    scan.info = (*reader)->Info();
    scan.error = ReadPass(**reader, scan);
    EXPECT_TRUE((*reader)->Rewind());
    WholeScan again;
    EXPECT_EQ(ReadPass(**reader, again), scan.error);
    EXPECT_TRUE(std::equal(again.points.begin(), again.points.end(), scan.points.begin(),
                           scan.points.end(), SamePoint));
    EXPECT_EQ(again.malformed, scan.malformed);
    if (scan.error.empty()) CheckPlaces(path);
    return scan;
}

WholeScan ReadAll(const std::vector<std::uint8_t>& bytes) {
    const ScratchFolder folder;
    WriteBytes(folder / L"scan", bytes.data(), bytes.size());
    return ReadAll(folder / L"scan");
}

WholeScan ReadAll(std::string_view text) {
    return ReadAll(std::vector<std::uint8_t>(text.begin(), text.end()));
}

std::string Positions(const WholeScan& scan) {
    std::string text;
    for (const ScanPoint& point : scan.points) {
        text += fmt::format("{}{} {} {}", text.empty() ? "" : "; ", point.x, point.y, point.z);
    }
    return text;
}

}  // namespace orvix::test
