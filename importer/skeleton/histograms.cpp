// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/histograms.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "importer/files/synced_file.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kSliceValues = 256;
constexpr std::int64_t kSliceCentimetres = 10;
constexpr std::uint64_t kMaxCount = std::numeric_limits<std::int32_t>::max();

// Joins bins that follow each other and have one value.
void AddBin(std::vector<detail::HistogramBin>& bins, double value, std::uint64_t count) {
    if (bins.empty() || bins.back().value != value) bins.push_back({value, 0});
    bins.back().count += count;
}

}  // namespace

Expected<void> WriteHistogram(const CString& path, const std::vector<detail::HistogramBin>& bins) {
    RecordWriter<detail::HistogramRecordBytes> writer;
    Expected<void> done = writer.Create(path);
    for (const detail::HistogramBin& bin : bins) {
        for (std::uint64_t left = bin.count; done && left > 0;) {
            const std::uint64_t count = std::min(left, kMaxCount);
            done =
                writer.Add(detail::HistogramBytesOf({bin.value, static_cast<std::int32_t>(count)}));
            left -= count;
        }
    }
    if (done) done = writer.Finish();
    return done ? writer.Close() : done;
}

BinCounter::Page& BinCounter::FindPage(std::int64_t number) {
    std::unique_ptr<Page>& page = pages_[number];
    if (page == nullptr) page = std::make_unique<Page>();
    last_ = page.get();
    lastNumber_ = number;
    return *last_;
}

void BinCounter::Take(BinCounter& other) {
    for (auto& [number, page] : other.pages_) {
        Page& mine = PageOf(number);
        for (std::size_t i = 0; i < mine.size(); ++i) mine[i] += std::exchange((*page)[i], 0);
    }
}

std::vector<std::pair<std::int64_t, std::uint64_t>> BinCounter::Bins() const {
    std::vector<std::pair<std::int64_t, std::uint64_t>> bins;
    for (const auto& [number, page] : pages_) {
        for (std::size_t i = 0; i < page->size(); ++i) {
            if ((*page)[i] == 0) continue;
            bins.emplace_back(number * kPageBins + static_cast<std::int64_t>(i), (*page)[i]);
        }
    }
    return bins;
}

void Histograms::Take(Histograms& other) {
    for (std::size_t i = 0; i < intensities_.size(); ++i) {
        intensities_[i] += std::exchange(other.intensities_[i], 0);
    }
    heights_.Take(other.heights_);
}

Histograms::Counts Histograms::All() const {
    Counts counts;
    for (std::size_t i = 0; i < intensities_.size(); ++i) {
        if (intensities_[i] != 0)
            counts.intensities.emplace_back(static_cast<std::int64_t>(i), intensities_[i]);
    }
    counts.heights = heights_.Bins();
    return counts;
}

void Histograms::AddCounts(const Counts& counts) {
    for (const auto& [value, count] : counts.intensities) {
        if (value >= 0 && value < static_cast<std::int64_t>(intensities_.size()))
            intensities_[static_cast<std::size_t>(value)] += count;
    }
    for (const auto& [bin, count] : counts.heights) heights_.Add(bin, count);
}

std::vector<detail::HistogramBin> Histograms::Intensities() const {
    std::vector<detail::HistogramBin> bins;
    for (std::size_t i = 0; i < intensities_.size(); ++i) {
        if (intensities_[i] != 0) AddBin(bins, static_cast<double>(i), intensities_[i]);
    }
    return bins;
}

std::vector<detail::HistogramBin> Histograms::IntensitySlices() const {
    std::vector<detail::HistogramBin> bins;
    for (std::size_t i = 0; i < intensities_.size(); ++i) {
        const auto centre =
            static_cast<double>(i / kSliceValues * kSliceValues) + (kSliceValues - 1) / 2.0;
        if (intensities_[i] != 0) AddBin(bins, centre, intensities_[i]);
    }
    return bins;
}

std::vector<detail::HistogramBin> Histograms::Heights() const {
    std::vector<detail::HistogramBin> bins;
    for (const auto& [bin, count] : heights_.Bins()) AddBin(bins, detail::HeightOfBin(bin), count);
    return bins;
}

std::vector<detail::HistogramBin> Histograms::HeightSlices() const {
    std::vector<detail::HistogramBin> bins;
    for (const auto& [bin, count] : heights_.Bins()) {
        AddBin(bins, detail::HeightOfBin(bin, kSliceCentimetres), count);
    }
    return bins;
}

Expected<void> Histograms::Write(const ProjectManager& project) const {
    Expected<void> done = WriteHistogram(project.intensitiesHist, Intensities());
    if (done) done = WriteHistogram(project.intensitiesSliceHist, IntensitySlices());
    if (done) done = WriteHistogram(project.zHist, Heights());
    if (done) done = WriteHistogram(project.zSliceHist, HeightSlices());
    return done;
}

}  // namespace orvix::importer
