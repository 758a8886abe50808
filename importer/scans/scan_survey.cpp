// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/scan_survey.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "importer/scans/coordinate_frame.h"
#include "importer/scans/piece_queue.h"
#include "importer/scans/rejections.h"
#include "orvix/geometry/bounds.h"
#include "orvix/geometry/quantile.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

// Points of a piece that are looked at for its median position.
constexpr std::size_t kMedianSamples = 2048;

// A mark is set after so many points at first; where an input has more than kMostMarks of them, every
// second one goes.
constexpr std::uint64_t kFirstMarkPoints = 1024;
constexpr std::size_t kMostMarks = 4096;

/// One piece and what the survey takes from it.
struct SurveyJob : StationPiece {
    std::uint64_t usable = 0;
    AttributeRange range;
    WorldBox box;
    std::uint64_t placed = 0;  // usable points on which the origin depends
    SimplePointT<double> median;
    std::vector<SimplePointT<double>> positions;
    std::vector<double> axis;
    KeptPoints::Room kept;
};

bool IsPlausible(const SimplePointT<double>& world) {
    const auto fits = [](double v) { return v >= -kMaxWorld && v <= kMaxWorld; };
    return fits(world.x) && fits(world.y) && fits(world.z);
}

double MedianAlong(SurveyJob& job, double SimplePointT<double>::*axis) {
    job.axis.clear();
    const std::size_t step = job.positions.size() / kMedianSamples + 1;
    for (std::size_t i = 0; i < job.positions.size(); i += step) {
        job.axis.push_back(job.positions[i].*axis);
    }
    return detail::Quantile(job.axis, 0.5);
}

void Examine(SurveyJob& job, bool dropZeros) {
    job.usable = 0;
    job.range = {};
    job.box = {};
    job.positions.clear();
    for (const ScanPoint& point : job.decoded.points) {
        if (FaultOf(point, dropZeros) != PointFault::None) continue;
        ++job.usable;
        job.range.Add(point);
        const SimplePointT<double> world = job.placement.ToWorld(point.x, point.y, point.z);
        if (!IsPlausible(world)) continue;
        detail::Extend(job.box, world);
        job.positions.push_back(world);
    }
    job.placed = job.positions.size();
    if (job.placed == 0) return;
    job.median = {MedianAlong(job, &SimplePointT<double>::x),
                  MedianAlong(job, &SimplePointT<double>::y),
                  MedianAlong(job, &SimplePointT<double>::z)};
}

// The local coordinate of a bound, cut to what can be stored; rounding is monotone, so every
// point in range lies between the two.
float LocalBound(double world, double origin) {
    return ToLocal(std::clamp(world, origin - kMaxLocal, origin + kMaxLocal), origin);
}

ExtendsT<float> LocalBounds(const WorldBox& box, const SimplePointT<double>& origin) {
    const auto local = [&](const SimplePointT<double>& p) {
        return SimplePointT<float>{LocalBound(p.x, origin.x), LocalBound(p.y, origin.y),
                                   LocalBound(p.z, origin.z)};
    };
    return {local(box.min), local(box.max)};
}

float MaxMagnitude(const ExtendsT<float>& bounds) {
    return std::max({std::fabs(bounds.min.x), std::fabs(bounds.min.y), std::fabs(bounds.min.z),
                     std::fabs(bounds.max.x), std::fabs(bounds.max.y), std::fabs(bounds.max.z)});
}

/// The origin that all inputs hold, exported from one project. It holds for the inputs'
/// coordinates as they are: in metres, with z upward.
std::optional<std::array<double, 3>> ExportedOrigin(const std::vector<ScanInput>& inputs,
                                                    const ImportOptions& options) {
    if (options.unit != LengthUnit::Metre || options.up != UpAxis::Z) return std::nullopt;
    std::optional<std::array<double, 3>> origin;
    for (const ScanInput& input : inputs) {
        const auto stored = input.reader->Info().exportedOrigin;
        if (!stored || (origin && *origin != *stored)) return std::nullopt;
        origin = stored;
    }
    return origin;
}

void Keep(SurveyJob& job, KeptPoints& kept) {
    job.kept.reset();
    if (job.reader->IsDearToDecode()) job.kept = kept.Take(job.decoded.points.size());
    if (job.kept)
        std::copy(job.decoded.points.begin(), job.decoded.points.end(), job.kept->begin());
}

void DropEverySecondMark(InputSurvey& survey) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < survey.marks.size(); ++i) {
        if (i % 2 == 0) {
            survey.marks[kept++] = survey.marks[i];
        } else {
            survey.marks[kept - 1].points += survey.marks[i].points;
            survey.marks[kept - 1].bytes += survey.marks[i].bytes;
        }
    }
    survey.marks.resize(kept);
    survey.markPoints *= 2;
}

void Mark(InputSurvey& survey, const SurveyJob& job) {
    if (survey.markPoints == 0) survey.markPoints = kFirstMarkPoints;
    if (survey.marks.size() == kMostMarks) DropEverySecondMark(survey);
    if (survey.marks.empty() || survey.marks.back().points >= survey.markPoints) {
        survey.marks.push_back({job.place, 0, 0});
    }
    survey.marks.back().points += job.decoded.points.size();
    survey.marks.back().bytes += job.Bytes();
}

void Commit(const SurveyJob& job, InputSurvey& survey) {
    if (survey.scans.size() <= job.piece.scan) survey.scans.resize(job.piece.scan + 1);
    SurveyedScan& scan = survey.scans[job.piece.scan];
    scan.points += job.decoded.points.size();
    scan.pointless.Join(job.decoded);
    scan.range.Join(job.range);
    survey.usable += job.usable;
    Mark(survey, job);
    if (job.placed == 0) return;
    detail::Join(survey.box, job.box);
    survey.medians.push_back({job.median, job.placed});
}

}  // namespace

std::uint64_t Survey::Read() const {
    return std::accumulate(scans.begin(), scans.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const Scan& scan) { return sum + scan.Read(); });
}

Expected<std::vector<InputSurvey>> SurveyInputs(const std::vector<ScanInput>& inputs,
                                                std::size_t first, std::size_t last,
                                                const ImportOptions& options,
                                                StationTable& stations, ImportPool& pool,
                                                KeptPoints* kept) {
    std::vector<InputSurvey> found(inputs.size());
    PieceQueue queue(inputs, stations);
    auto gone = queue.GoTo({first, {}, last, {}}, [&] { return pool.Stopping(); });
    if (!gone) return ErrorOf(gone);
    parallel::OrderedSteps<SurveyJob> steps;
    steps.take = [&](SurveyJob& job) { return queue.Take(job); };
    steps.work = [&](SurveyJob& job) -> Expected<void> {
        auto decoded = job.Decode();
        if (decoded) Examine(job, options.dropZeros);
        if (decoded && kept != nullptr) Keep(job, *kept);
        return decoded;
    };
    steps.commit = [&](SurveyJob& job) -> Expected<void> {
        Commit(job, found[job.input]);
        if (kept != nullptr) {
            kept->Add({job.input, job.station, job.Bytes(), {}}, job.place, job.kept);
        }
        pool.Meter().Add(job.Bytes(), job.decoded.points.size());
        return {};
    };
    if (auto done = parallel::RunInOrder(pool, steps); !done) return ErrorOf(done);
    for (std::size_t i = first; i <= last; ++i) found[i].parts = inputs[i].reader->Info().scans;
    return found;
}

Expected<Survey> JoinSurveys(const std::vector<InputSurvey>& found,
                             const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             const StationTable& stations) {
    Survey survey;
    survey.scans.resize(stations.Count());
    WorldBox box;
    std::vector<WeightedPosition> medians;
    for (std::size_t input = 0; input < found.size(); ++input) {
        const InputSurvey& part = found[input];
        for (std::size_t scan = 0; scan < part.scans.size(); ++scan) {
            if (const auto station = stations.Find(input, scan)) {
                survey.scans[*station] = part.scans[scan];
            }
        }
        survey.usable += part.usable;
        if (part.medians.empty()) continue;
        detail::Join(box, part.box);
        medians.insert(medians.end(), part.medians.begin(), part.medians.end());
    }
    if (auto chosen = stations.RequireChosen(); !chosen) return ErrorOf(chosen);
    if (medians.empty()) return survey;
    survey.origin = ChooseOrigin(medians);
    if (const auto stored = ExportedOrigin(inputs, options)) {
        survey.origin = KeepOrigin(survey.origin, *stored);
    }
    survey.frameBounds = LocalBounds(box, survey.origin);
    survey.frame = GridFrame(survey.frameBounds);
    survey.maxLocal = MaxMagnitude(survey.frameBounds);
    return survey;
}

Expected<Survey> SurveyScans(const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             StationTable& stations, ImportPool& pool) {
    const auto found = SurveyInputs(inputs, 0, inputs.size() - 1, options, stations, pool);
    if (!found) return ErrorOf(found);
    return JoinSurveys(*found, inputs, options, stations);
}

}  // namespace orvix::importer
