// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/scan_evidence.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <optional>

#include "detection/cells/point_readers.h"
#include "detection/plane_set.h"

namespace orvix::building {
namespace {

constexpr std::uint32_t kMostPixels = 480;  // a quarter of a degree, as field scanners measure
constexpr std::uint32_t kFewestPixels = 48;
constexpr std::uint64_t kBytesPerPixel = 6 * sizeof(Sight);
constexpr double kFaceCell = 0.025;
constexpr double kCellPerSpacing = 0.5;
constexpr double kMostFaceCells = 1e8;
constexpr std::size_t kStationByte = 6;  // of a point's attributes

std::uint32_t PixelsOf(std::size_t stations, std::uint64_t bytes) {
    if (stations == 0) return kFewestPixels;
    const auto each = static_cast<double>(bytes / stations / kBytesPerPixel);
    const auto pixels = static_cast<std::uint32_t>(std::sqrt(each));
    // Whole eights, so that a picture can be halved thrice.
    return std::clamp(pixels, kFewestPixels, kMostPixels) / 8 * 8;
}

/// How far points lie from a plane on average, over squares of half a metre. Sums are whole
/// micrometres, which add up to the same in any order.
class PlaneWaves {
public:
    explicit PlaneWaves(const FaceLine& line)
        : begin_(line.begin),
          bottom_(line.bottom),
          columns_(static_cast<std::size_t>((line.end - line.begin) / kSquare) + 1),
          rows_(static_cast<std::size_t>(std::max(0.0, line.top - line.bottom) / kSquare) + 1),
          sums_(columns_ * rows_) {}

    void Add(double along, double height, double distance) {
        const double column = std::floor((along - begin_) / kSquare),
                     row = std::floor((height - bottom_) / kSquare);
        if (column < 0 || row < 0 || column >= static_cast<double>(columns_) ||
            row >= static_cast<double>(rows_))
            return;
        Sum& sum =
            sums_[static_cast<std::size_t>(row) * columns_ + static_cast<std::size_t>(column)];
        std::atomic_ref<std::int64_t>(sum.micrometres)
            .fetch_add(std::llround(distance * 1e6), std::memory_order_relaxed);
        std::atomic_ref<std::int64_t>(sum.points).fetch_add(1, std::memory_order_relaxed);
    }
    [[nodiscard]] double Largest() const {
        constexpr std::int64_t kLeastPoints = 20;
        double largest = 0;
        for (const Sum& sum : sums_)
            if (sum.points >= kLeastPoints)
                largest = std::max(largest, std::abs(static_cast<double>(sum.micrometres) /
                                                     static_cast<double>(sum.points)) *
                                                1e-6);
        return largest;
    }

private:
    static constexpr double kSquare = 0.5;
    struct Sum {
        std::int64_t micrometres = 0;
        std::int64_t points = 0;
    };
    double begin_;
    double bottom_;
    std::size_t columns_;
    std::size_t rows_;
    std::vector<Sum> sums_;
};

/// An upright plane, and where its points lie on it.
struct PlaneMarks {
    FaceLine line;
    FaceRaster raster;
    PlaneWaves waves;
};

// Squares so large that a face leaves few of them empty.
double FaceCellOf(const std::vector<FaceLine>& lines, double spacing) {
    double area = 0;
    for (const FaceLine& line : lines) area += (line.end - line.begin) * (line.top - line.bottom);
    double cell = std::max(kFaceCell, kCellPerSpacing * spacing);
    while (area / (cell * cell) > kMostFaceCells) cell *= 2;
    return cell;
}

class EvidencePass {
public:
    EvidencePass(const detection::PlaneSet& planes, ScanEvidence& evidence)
        : planes_(planes), evidence_(evidence), marks_(planes.Planes().size()) {
        std::vector<FaceLine> lines;
        std::vector<std::size_t> upright;
        for (std::size_t i = 0; i < marks_.size(); ++i) {
            auto line = FaceLineOf(planes.Planes()[i]);
            if (!line) continue;
            lines.push_back(std::move(*line));
            upright.push_back(i);
        }
        const double cell = FaceCellOf(lines, planes.Settings().spacing);
        for (std::size_t k = 0; k < lines.size(); ++k)
            marks_[upright[k]] =
                PlaneMarks{lines[k], FaceRaster(lines[k], cell), PlaneWaves(lines[k])};
        places_.fill(static_cast<std::uint32_t>(evidence.stations.size()));
        for (std::size_t i = 0; i < evidence.stations.size(); ++i)
            places_[evidence.stations[i].number] = static_cast<std::uint32_t>(i);
    }

    Expected<void> Read(CAlivePointReader& reader, std::size_t chunk) {
        return planes_.ReadChunk(reader, chunk, [this](const detection::PlanePoints& some) {
            for (std::size_t i = 0; i < some.points.size(); ++i)
                Add(some.points[i], some.planes[i]);
        });
    }

    /// Turns each plane to the stations that have most of its points, and puts the marks of planes on
    /// one line together.
    void Finish(bool orthogonal) {
        evidence_.planes = planes_.Planes();
        for (std::size_t i = 0; i < evidence_.planes.size(); ++i) Turn(i);
        evidence_.faces = FaceLinesOf(evidence_.planes);
        if (orthogonal) evidence_.squared = SquareLines(evidence_.planes, evidence_.faces.lines);
        evidence_.departures.resize(evidence_.planes.size());
        for (std::size_t i = 0; i < marks_.size(); ++i)
            if (marks_[i]) evidence_.departures[i] = marks_[i]->waves.Largest();
        const double cell = FaceCellOf(evidence_.faces.lines, evidence_.spacing);
        for (const FaceLine& line : evidence_.faces.lines) {
            FaceRaster raster(line, cell);
            for (const std::size_t plane : line.planes)
                raster.Take(marks_[plane]->raster, marks_[plane]->line, line);
            evidence_.rasters.push_back(std::move(raster));
            for (const std::size_t plane : line.planes) marks_[plane].reset();
        }
        if (evidence_.stations.empty()) FaceBothWays();
    }

private:
    // Where nobody knows from which side a face was seen it may be one of either.
    void FaceBothWays() {
        const std::size_t count = evidence_.faces.lines.size();
        for (std::size_t k = 0; k < count; ++k) {
            const FaceLine& line = evidence_.faces.lines[k];
            FaceLine back = line;
            back.normal = {-line.normal.x, -line.normal.y};
            back.offset = -line.offset;
            back.begin = -line.end;
            back.end = -line.begin;
            back.either = true;
            evidence_.faces.lines[k].either = true;
            FaceRaster raster(back, evidence_.rasters[k].Cell());
            raster.Take(evidence_.rasters[k], line, back);
            evidence_.faces.lines.push_back(std::move(back));
            evidence_.rasters.push_back(std::move(raster));
        }
    }
    void Turn(std::size_t i) {
        detection::FoundPlane& plane = evidence_.planes[i];
        double votes = 0;
        for (std::size_t s = 0; s < evidence_.stations.size(); ++s) {
            const SimplePointT<double>& at = evidence_.stations[s].position;
            const double before = plane.normal.x * at.x + plane.normal.y * at.y +
                                  plane.normal.z * at.z + plane.offset;
            const auto points = static_cast<double>(evidence_.Points(i, s));
            votes += before > 0 ? points : -points;
        }
        if (votes >= 0) return;
        plane.normal = {-plane.normal.x, -plane.normal.y, -plane.normal.z};
        plane.offset = -plane.offset;
    }
    void Add(const CCloudPoint<float>& point, std::int32_t plane) {
        const SimplePointT<double> at{point.x, point.y, point.z};
        const std::size_t number =
            point.attributes[kStationByte] + std::size_t{256} * point.attributes[kStationByte + 1];
        const std::size_t station = places_[number];
        if (station < evidence_.sights.size()) evidence_.sights[station].Add(at);
        if (plane < 0) return;
        const auto p = static_cast<std::size_t>(plane);
        std::uint64_t& count = evidence_.seenFrom[p * (evidence_.stations.size() + 1) + station];
        std::atomic_ref<std::uint64_t>(count).fetch_add(1, std::memory_order_relaxed);
        auto& marks = marks_[p];
        if (!marks) return;
        const double along = marks->line.Along({at.x, at.y});
        marks->raster.Mark(along, at.z);
        const detection::FoundPlane& found = planes_.Planes()[p];
        marks->waves.Add(
            along, at.z,
            found.normal.x * at.x + found.normal.y * at.y + found.normal.z * at.z + found.offset);
    }

    const detection::PlaneSet& planes_;
    ScanEvidence& evidence_;
    std::vector<std::optional<PlaneMarks>> marks_;  // of upright planes
    std::array<std::uint32_t, 65536> places_{};
};

}  // namespace

Expected<ScanEvidence> GatherEvidence(CProjectCore& core, const detection::PlaneSet& planes,
                                      const EvidenceOptions& options, const parallel::Pool& pool) {
    ScanEvidence evidence;
    evidence.stations = options.stations;
    evidence.spacing = planes.Settings().spacing;
    const std::uint32_t pixels = PixelsOf(options.stations.size(), options.memoryLimitBytes / 3);
    evidence.sights.reserve(options.stations.size());
    for (const ScanStation& station : options.stations)
        evidence.sights.emplace_back(station.position, pixels);
    evidence.seenFrom.assign(planes.Planes().size() * (options.stations.size() + 1), 0);
    EvidencePass pass(planes, evidence);
    detection::PointReaders readers(core, pool.Threads());
    const auto done = pool.RunJobs(planes.Chunks(), [&](std::size_t chunk, unsigned worker) {
        return pass.Read(readers[worker], chunk);
    });
    if (!done) return ErrorOf(done);
    for (SightImage& sight : evidence.sights) sight.Coarsen();
    pass.Finish(options.orthogonal);
    return evidence;
}

}  // namespace orvix::building
