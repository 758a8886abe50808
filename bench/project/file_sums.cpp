// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do sums cost? Verifying a file against them, and making them while it is written.
// Ceiling:  reading the same blocks of the same file, on as many threads, without a sum; writing the
//           same pieces without one. Both out of and into the system's cache, in the same run.
#include <atomic>

#include "bench/bench_support.h"
#include "importer/files/written_sums.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/project/manifest/block_sums.h"
#include "orvix/project/manifest/manifest.h"
#include "parallel/pool.h"
#include "support/dice.h"
#include "support/scratch_folder.h"

namespace {

using orvix::detail::kSumBlockBytes;

constexpr std::size_t kReadBytes = std::size_t{1} << 20;
constexpr std::size_t kPieceBytes = 50'000 * 24;  // of a block of the importer's merge

class Sums {
public:
    explicit Sums(std::uint64_t points) : bytes_(points * 24), pool_(0, {}, "") {
        std::uint64_t state = 1;
        orvix::test::Dice dice(state);
        for (std::uint8_t& byte : piece_) byte = static_cast<std::uint8_t>(dice.Share() * 256);
        Write(true);
        stored_ = written_->Blocks(bytes_);
    }

    void Write(bool summed) {
        std::error_code error;
        auto file = orvix::platform::File::Create(path_, error);
        written_.emplace();
        for (std::uint64_t at = 0; at < bytes_ && !error; at += kPieceBytes) {
            const auto bytes =
                static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, bytes_ - at));
            if (summed) written_->Add(at, {piece_.data(), bytes});
            file.WriteAt(at, piece_.data(), bytes, error);
        }
        orvix::bench::Require(!error, error.message());
    }

    bool Verify() {
        std::vector<orvix::detail::SummedFile> files{{path_, bytes_, {}, {}, false}};
        auto done = orvix::detail::SumBlocks(
            files, [this](std::size_t jobs, const auto& job) { return pool_.RunJobs(jobs, job); });
        return done && files[0].sums == stored_;
    }

    void Read() {
        std::atomic<std::uint64_t> read{0};
        auto done = pool_.RunJobs(
            static_cast<std::size_t>(orvix::detail::SumBlocksOf(bytes_)),
            [&](std::size_t block, unsigned) -> orvix::Expected<void> {
                std::error_code error;
                const auto file = orvix::platform::File::OpenRead(path_, error);
                std::vector<std::uint8_t> bytes(kReadBytes);
                const std::uint64_t end = std::min(bytes_, (block + 1) * kSumBlockBytes);
                for (std::uint64_t at = block * kSumBlockBytes; at < end; at += kReadBytes) {
                    read += file.ReadAt(at, bytes.data(),
                                        std::min<std::uint64_t>(kReadBytes, end - at), error);
                }
                return {};
            });
        orvix::bench::Require(done && read == bytes_, "the file was not read whole");
    }

    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }
    [[nodiscard]] const std::vector<std::uint8_t>& Piece() const { return piece_; }

private:
    orvix::test::ScratchFolder folder_;
    orvix::CString path_ = folder_ / L"Grid.pts";
    std::uint64_t bytes_;
    orvix::parallel::Pool pool_;
    std::vector<std::uint8_t> piece_ = std::vector<std::uint8_t>(kPieceBytes);
    std::optional<orvix::importer::WrittenSums> written_;
    std::vector<std::uint32_t> stored_;
};

}  // namespace

int main(int argc, char** argv) {
    const auto options = orvix::bench::ParseOptions(argc, argv);
    Sums sums(options.points);
    orvix::bench::Require(sums.Verify(), "the sums differ");
    orvix::bench::Report report("file_sums", options);
    report.Compare(
        "verify against read", sums.Bytes(), [&] { sums.Read(); },
        [&] { orvix::bench::Keep(sums.Verify()); });
    report.Compare(
        "write with sums against write", sums.Bytes(), [&] { sums.Write(false); },
        [&] { sums.Write(true); });
    report.Compare(
        "tables against instruction, in cache", sums.Piece().size(),
        [&] { orvix::bench::Keep(orvix::platform::Crc32c(sums.Piece())); },
        [&] { orvix::bench::Keep(orvix::platform::PortableCrc32c(sums.Piece())); });
    return 0;
}
