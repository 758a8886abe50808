// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "orvix/platform/error.h"
#include "orvix/points/attributes.h"
#include "orvix/project/height_bins.h"
#include "orvix/project/histogram_file.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// Writes a histogram file; a count above 2^31 - 1 takes several records of the same value.
Expected<void> WriteHistogram(const CString& path, const std::vector<detail::HistogramBin>& bins);

/// Counts by bin number, in pages that exist only where there is something to count.
class BinCounter {
public:
    void Add(std::int64_t bin, std::uint64_t count) {
        PageOf(bin >> kPageBits)[bin & (kPageBins - 1)] += count;
    }
    void Add(std::int64_t bin) { ++PageOf(bin >> kPageBits)[bin & (kPageBins - 1)]; }
    /// Adds the counts of `other` and empties it; its pages stay for reuse.
    void Take(BinCounter& other);
    /// Bin numbers and counts, ascending, occupied ones only.
    [[nodiscard]] std::vector<std::pair<std::int64_t, std::uint64_t>> Bins() const;

private:
    static constexpr int kPageBits = 10;
    static constexpr std::int64_t kPageBins = std::int64_t{1} << kPageBits;
    using Page = std::array<std::uint64_t, static_cast<std::size_t>(kPageBins)>;

    Page& PageOf(std::int64_t number) {
        if (last_ != nullptr && number == lastNumber_) return *last_;
        return FindPage(number);
    }
    Page& FindPage(std::int64_t number);

    std::map<std::int64_t, std::unique_ptr<Page>> pages_;
    Page* last_ = nullptr;
    std::int64_t lastNumber_ = 0;
};

/// Counts the histograms of a cloud: points per intensity and points per height.
///
/// Units      intensity: its stored value, 0..65535. Height: metres, in the project's own frame.
/// Shape      intensities.hist: a bin per value. intensities_slice.hist: a bin per 256 values,
///            stored as its centre (256 i + 127.5). z.hist: a bin per centimetre, stored as its
///            centre. z_slice.hist: a bin per ten centimetres.
/// Boundaries heights of 10 km and more above or below the origin are counted in bins of 10 m in
///            both height files, so that memory is bounded however far a stray point lies.
/// Order      ascending; only bins that hold points. A bin of more than 2^31 - 1 points is written
///            as several records of the same value.
/// Threads    one per thread, joined with Take.
class Histograms {
public:
    void Add(const AlivePoint& point) {
        ++intensities_[detail::IntensityOf(point)];
        heights_.Add(detail::HeightBin(point.z));
    }
    /// Adds the counts of `other` and empties it.
    void Take(Histograms& other);
    /// Counts by stored intensity, and heights' bins with their counts, for `AddCounts`.
    struct Counts {
        std::vector<std::pair<std::int64_t, std::uint64_t>> intensities;
        std::vector<std::pair<std::int64_t, std::uint64_t>> heights;
    };
    [[nodiscard]] Counts All() const;
    /// Adds what another counted; an intensity that none has counts for nothing.
    void AddCounts(const Counts& counts);
    /// Writes the four files.
    Expected<void> Write(const ProjectManager& project) const;

    [[nodiscard]] std::vector<detail::HistogramBin> Intensities() const;
    [[nodiscard]] std::vector<detail::HistogramBin> IntensitySlices() const;
    [[nodiscard]] std::vector<detail::HistogramBin> Heights() const;
    [[nodiscard]] std::vector<detail::HistogramBin> HeightSlices() const;

private:
    std::vector<std::uint64_t> intensities_ = std::vector<std::uint64_t>(65'536);
    BinCounter heights_;
};

}  // namespace orvix::importer
