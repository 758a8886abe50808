// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/importer/formats/read_all.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orvix::test {
namespace {

using namespace orvix::importer;

/// One pass; the error's text, or nothing.
std::string ReadPass(ScanReader& reader, WholeScan& scan) {
    RawPiece piece;
    DecodedPiece decoded;
    std::uint64_t lastByte = 0;
    for (;;) {
        const auto more = reader.Next(piece);
        if (!more) return more.error().message;
        if (!*more) return {};
        EXPECT_GE(piece.fileOffset, lastByte);
        EXPECT_LE(piece.bytes.size(), kPieceBytes);
        lastByte = piece.fileOffset + piece.bytes.size();
        EXPECT_LE(lastByte, reader.FileBytes());
        const auto done = reader.Decode(piece, decoded);
        if (!done) return done.error().message;
        if (piece.records != 0) {
            EXPECT_EQ(piece.firstRecord, scan.points.size() + scan.malformed);
            EXPECT_EQ(piece.records, decoded.points.size() + decoded.malformed);
        }
        scan.points.insert(scan.points.end(), decoded.points.begin(), decoded.points.end());
        scan.malformed += decoded.malformed;
        ++scan.pieces;
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
    EXPECT_EQ(Positions(again), Positions(scan));
    EXPECT_EQ(again.malformed, scan.malformed);
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
