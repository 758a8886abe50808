// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/histogram_file.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/project/project_manager.h"
#include "orvix/stats/mathematic.h"
#include "orvix/stats/random_draw.h"

namespace orvix::detail {
namespace {

constexpr std::size_t kRecordBytes = sizeof(HistogramRecordBytes);
constexpr std::size_t kBlockRecords = 5461;  // 64 KiB

/// Calls visit(record) for each whole record of a histogram file. Where a file has become shorter
/// meanwhile, its last record stands for the missing ones.
template <class Visit>
void ForEachRecord(const platform::File& file, Visit visit) {
    std::error_code error;
    const auto records = static_cast<std::int32_t>(file.Size() / kRecordBytes);
    std::array<std::uint8_t, kBlockRecords * kRecordBytes> block;
    std::size_t held = 0;
    HistogramRecord record;
    for (std::int32_t i = 0; i < records; ++i) {
        const std::size_t place = static_cast<std::size_t>(i) % kBlockRecords * kRecordBytes;
        if (place == 0) {
            held = file.ReadAt(static_cast<std::uint64_t>(i) * kRecordBytes, block.data(),
                               block.size(), error);
        }
        if (place + kRecordBytes <= held) {
            record = HistogramRecordAt(&block[place]);
        }
        visit(record);
    }
}

tl::unexpected<Error> Damage(const CString& path, const std::string& what) {
    return Fail(ErrorCode::Damaged, fmt::format("{}: {}; import the scans again to repair it",
                                                platform::ToUtf8(path), what));
}

/// The value of each bin, plus `shift`, by the number of points up to and including it.
struct RunningCounts {
    std::map<long long, double> values;
    long long total = 0;
};

enum class EmptyBin { Skipped, TakesPlaceOfPrevious };

RunningCounts ReadCounts(const CString& path, double shift, EmptyBin empty) {
    RunningCounts counts;
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return counts;
    ForEachRecord(file, [&](const HistogramRecord& record) {
        counts.total += record.count;
        if (record.count == 0 && empty == EmptyBin::Skipped) return;
        // A bin without points has the running total of the one before it and takes its place.
        // BEHAVIOUR H3
        counts.values.insert_or_assign(counts.values.end(), counts.total, record.value + shift);
    });
    return counts;
}

}  // namespace

HistogramRecord HistogramRecordAt(const std::uint8_t* bytes) {
    HistogramRecord record;
    std::memcpy(&record.value, bytes, sizeof record.value);
    std::memcpy(&record.count, bytes + sizeof record.value, sizeof record.count);
    return record;
}

HistogramRecordBytes HistogramBytesOf(const HistogramRecord& record) {
    HistogramRecordBytes bytes;
    std::memcpy(bytes.data(), &record.value, sizeof record.value);
    std::memcpy(bytes.data() + sizeof record.value, &record.count, sizeof record.count);
    return bytes;
}

Expected<std::vector<HistogramBin>> ReadHistogram(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error == std::errc::no_such_file_or_directory) return Damage(path, "it is missing");
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be opened");
    if (file.Size() % kRecordBytes != 0) {
        return Damage(path, fmt::format("its {} bytes are no whole records of 12", file.Size()));
    }
    std::vector<HistogramBin> bins;
    std::uint64_t number = 0;
    std::string fault;
    double previous = -std::numeric_limits<double>::infinity();
    ForEachRecord(file, [&](const HistogramRecord& record) {
        if (fault.empty() && (!std::isfinite(record.value) || record.value < previous)) {
            fault =
                fmt::format("record {} has the value {} after {}", number, record.value, previous);
        }
        if (fault.empty() && record.count < 0) {
            fault = fmt::format("record {} counts {} points", number, record.count);
        }
        ++number;
        if (!fault.empty()) return;
        previous = record.value;
        if (record.count == 0) return;
        if (bins.empty() || bins.back().value != record.value) bins.push_back({record.value, 0});
        bins.back().count += static_cast<std::uint64_t>(record.count);
    });
    if (!fault.empty()) return Damage(path, fault);
    return bins;
}

std::vector<double> SampleHistogram(const CString& path, double shift, int count) {
    const RunningCounts counts = ReadCounts(path, shift, EmptyBin::Skipped);
    std::vector<double> samples;
    DrawSamples(count, counts.values, counts.total, DrawRange::Bits64, samples);
    return samples;
}

}  // namespace orvix::detail

namespace orvix {

void ProjectManager::ReadHistogram4Jenks(const CString& path, std::vector<double>* samples,
                                         const double& shift, const int& sampleCount,
                                         const int& unused) {
    auto counts = detail::ReadCounts(path, shift, detail::EmptyBin::TakesPlaceOfPrevious);
    Mathematic::PreapareHistogram4Jenks(sampleCount, unused, counts.values, samples, counts.total);
}

}  // namespace orvix
