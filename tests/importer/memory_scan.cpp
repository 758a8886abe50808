// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/importer/memory_scan.h"

#include <algorithm>

namespace orvix::importer::test {
namespace {

constexpr std::uint64_t kPointBytes = 20;

class MemoryReader : public ScanReader {
public:
    explicit MemoryReader(MemoryScan scan) : scan_(std::move(scan)) {}

    [[nodiscard]] const ScanInfo& Info() const override { return scan_.info; }
    [[nodiscard]] std::uint64_t FileBytes() const override {
        return scan_.points.size() * kPointBytes;
    }
    [[nodiscard]] bool IsDearToDecode() const override { return scan_.dearToDecode; }
    Expected<bool> Next(RawPiece& piece) override {
        if (next_ >= scan_.points.size()) return false;
        if (scan_.before) {
            auto allowed = scan_.before(pass_, next_ / scan_.pointsPerPiece);
            if (!allowed) return ErrorOf(allowed);
        }
        piece.firstRecord = next_;
        if (scan_.piecesPerScan != 0)
            piece.scan = next_ / scan_.pointsPerPiece / scan_.piecesPerScan;
        piece.records = std::min(scan_.pointsPerPiece, scan_.points.size() - next_);
        piece.bytes.resize(piece.records * kPointBytes);
        next_ += piece.records;
        return true;
    }
    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        const auto first = scan_.points.begin() + static_cast<std::ptrdiff_t>(piece.firstRecord);
        decoded.points.assign(first, first + static_cast<std::ptrdiff_t>(piece.records));
        decoded.malformed = scan_.malformedPerPiece;
        return {};
    }
    Expected<void> Rewind() override {
        if (next_ != 0) ++pass_;
        next_ = 0;
        return {};
    }
    [[nodiscard]] ReadPlace Place() const override { return {next_}; }
    Expected<void> GoTo(const ReadPlace& place) override {
        if (place[0] < next_) ++pass_;
        next_ = static_cast<std::size_t>(place[0]);
        return {};
    }

private:
    MemoryScan scan_;
    std::size_t next_ = 0;
    int pass_ = 0;
};

}  // namespace

MemoryPlan SmallPlan() {
    MemoryPlan plan;
    plan.workers = 2;
    plan.poolBytes = 2000 * 24;
    plan.memoryBlockPoints = plan.fileBlockPoints = 500;
    plan.shortPiecePoints = 100;
    plan.mergeRuns = 3;
    plan.leastTaskPoints = 700;
    return plan;
}

std::vector<ScanInput> Open(const std::vector<MemoryScan>& scans) {
    std::vector<ScanInput> inputs;
    for (const MemoryScan& scan : scans) {
        inputs.push_back(
            {L"scan " + std::to_wstring(inputs.size()), std::make_unique<MemoryReader>(scan)});
    }
    return inputs;
}

MemoryScan LineScan(std::size_t points) {
    MemoryScan scan;
    scan.points.resize(points);
    for (std::size_t i = 0; i < points; ++i) scan.points[i].x = static_cast<double>(i) * 0.013;
    return scan;
}

}  // namespace orvix::importer::test
