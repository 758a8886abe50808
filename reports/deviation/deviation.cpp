// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/deviation.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <utility>

#include "orvix/platform/path.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "parallel/pool.h"
#include "reports/deviation/deviation_counts.h"
#include "reports/deviation/face_cells.h"
#include "reports/deviation/surface_sides.h"
#include "reports/deviation/triangle_tree.h"
#include "reports/station_list.h"

namespace orvix::reports {

namespace {

using detail::Dot, detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr std::uint32_t kJobPoints = 1 << 17;
constexpr double kOverhang = 0.01;  // metres beside a face's rim
constexpr double kFarthest = 1e8;   // metres; a coordinate beyond has no cell
constexpr double kMicrometres = 1e6;
constexpr std::uint64_t kBytesPerSquare = 100;  // counted in, and reported
constexpr std::size_t kJobSquares = 1024;
constexpr std::size_t kNearestScanners = 8;  // of those that a square is looked at from
constexpr double kBefore = 0.01;  // metres before a square, so that it does not hide itself

/// The faces that the points of a 10 cm cell may belong to: asked of the tree for each metre, and of
/// its answer for each cell. Points come cell by cell, so that most ask nothing.
class NearFaces {
public:
    NearFaces(const TriangleTree& tree, const std::vector<Face>& faces, double reach)
        : tree_(tree), faces_(faces), reach_(reach) {}

    const std::vector<std::uint32_t>& At(const Vector& p) {
        const Place place{Cell(p.x), Cell(p.y), Cell(p.z)};
        if (place == place_) return *present_;
        place_ = place;
        const Place metre{Metre(place[0]), Metre(place[1]), Metre(place[2])};
        if (metre != metre_) Enter(metre);
        Slot& slot = slots_[static_cast<std::size_t>(
            ((place[0] - metre[0] * 10) * 10 + (place[1] - metre[1] * 10)) * 10 + place[2] -
            metre[2] * 10)];
        if (!slot.known) Fill(slot, place);
        present_ = &slot.faces;
        return *present_;
    }

private:
    using Place = std::array<std::int64_t, 3>;
    struct Slot {
        bool known = false;
        std::vector<std::uint32_t> faces;
    };
    static constexpr double kRounding = 1e-6;  // metres: cells' rims are not exact

    static std::int64_t Cell(double coordinate) {
        return static_cast<std::int64_t>(std::floor(coordinate * 10));
    }
    static std::int64_t Metre(std::int64_t cell) {
        return cell >= 0 ? cell / 10 : -((9 - cell) / 10);
    }
    static Cube CubeOf(const Place& place, double side) {
        return {{(static_cast<double>(place[0]) + 0.5) * side,
                 (static_cast<double>(place[1]) + 0.5) * side,
                 (static_cast<double>(place[2]) + 0.5) * side},
                side / 2 + kRounding};
    }
    void Enter(const Place& metre) {
        metre_ = metre;
        tree_.FindNear(CubeOf(metre, 1), reach_, kOverhang, inMetre_);
        for (const std::size_t slot : filled_) slots_[slot].known = false;
        filled_.clear();
    }
    void Fill(Slot& slot, const Place& place) {
        slot.known = true;
        filled_.push_back(static_cast<std::size_t>(&slot - slots_.data()));
        slot.faces.clear();
        const Cube cube = CubeOf(place, 0.1);
        for (const std::uint32_t face : inMetre_)
            if (MayBeNear(faces_[face], cube, reach_, kOverhang)) slot.faces.push_back(face);
    }

    const TriangleTree& tree_;
    const std::vector<Face>& faces_;
    double reach_;
    Place place_{INT64_MAX, 0, 0}, metre_{INT64_MAX, 0, 0};
    std::vector<std::uint32_t> inMetre_;
    std::vector<Slot> slots_ = std::vector<Slot>(1000);
    std::vector<std::size_t> filled_;
    const std::vector<std::uint32_t>* present_ = nullptr;
};

/// What a thread works with.
struct Worker {
    std::shared_ptr<CAlivePointReader> reader;
    std::vector<CCloudPoint<float>> points;
    std::unique_ptr<NearFaces> near;
};

class DeviationPass {
public:
    DeviationPass(const WorldProject& project, const std::vector<DrawnElement>& elements,
                  const DeviationOptions& options, std::vector<std::optional<Vector>> scanners)
        : project_(project),
          options_(options),
          scanners_(std::move(scanners)),
          sheets_(elements.size()),
          faces_(FacesOf(project, elements, sheets_)),
          tree_(faces_),
          cells_(faces_, options.cell, options.memoryLimitBytes / 2 / kBytesPerSquare),
          counts_(elements.size(), options.reach, options.tolerance, options.memoryLimitBytes / 4) {
    }

    Expected<void> Run() {
        const auto points = static_cast<std::uint64_t>(project_.Core().AlivePointCount());
        const std::uint64_t jobs = points / kJobPoints + (points % kJobPoints != 0);
        const parallel::Tick tick = [this, jobs] {
            if (options_.progress && pool_ && jobs > 0)
                options_.progress(static_cast<double>(pool_->JobsDone()) /
                                  static_cast<double>(jobs));
            return !options_.proceed || options_.proceed();
        };
        parallel::Pool pool(options_.threads, tick, "the comparison was cancelled");
        pool_ = &pool;
        std::vector<Worker> workers(pool.Threads());
        auto done = pool.RunJobs(jobs, [&](std::size_t job, unsigned worker) {
            return Read(workers[worker], job * kJobPoints,
                        std::min<std::uint64_t>(kJobPoints, points - job * kJobPoints));
        });
        pool_ = nullptr;
        return done;
    }

    [[nodiscard]] Expected<DeviationReport> Report(const std::vector<DrawnElement>& elements) const;

private:
    static std::vector<Face> FacesOf(const WorldProject& project,
                                     const std::vector<DrawnElement>& elements,
                                     std::vector<bool>& sheets) {
        std::vector<Face> faces;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const SurfaceSides sides = SidesOf(elements[i].triangles);
            sheets[i] = sides == SurfaceSides::Both;
            for (const auto& [a, b, c] : elements[i].triangles) {
                std::array<Vector, 3> corners{project.frame.ToLocal(a), project.frame.ToLocal(b),
                                              project.frame.ToLocal(c)};
                if (sides == SurfaceSides::Back) std::swap(corners[1], corners[2]);
                faces.push_back(Face::Of(corners, static_cast<std::uint32_t>(i)));
                faces.back().bothSides = sheets[i];
            }
        }
        return faces;
    }

    Expected<void> Read(Worker& worker, std::uint64_t first, std::uint64_t count) {
        if (!worker.reader) worker.reader = project_.Core().CreateAlivePointReader();
        if (!worker.near) worker.near = std::make_unique<NearFaces>(tree_, faces_, options_.reach);
        worker.points.clear();
        if (worker.reader)
            worker.reader->ReadIndexPoints(first, static_cast<std::uint32_t>(count), worker.points);
        if (worker.points.size() != count)
            return Fail(ErrorCode::Failure,
                        platform::ToUtf8(project_.Manager().gridPts) + " cannot be mapped");
        for (const CCloudPoint<float>& point : worker.points) Take(*worker.near, point);
        return {};
    }

    // BEHAVIOUR E1
    void Take(NearFaces& near, const CCloudPoint<float>& point) {
        const Vector p{point.x, point.y, point.z};
        if (!(std::abs(p.x) < kFarthest && std::abs(p.y) < kFarthest && std::abs(p.z) < kFarthest))
            return;
        const std::vector<std::uint32_t>& some = near.At(p);
        if (some.empty()) return;
        const std::uint16_t station = detail::StationOf(point);
        const Vector* scanner =
            station < scanners_.size() && scanners_[station] ? &*scanners_[station] : nullptr;
        double least = options_.reach * options_.reach, height = 0;
        const Face* best = nullptr;
        for (const std::uint32_t i : some) {
            const Face& face = faces_[i];
            const double over = face.HeightOf(p);
            double squared = over * over;
            if (squared > least || (best != nullptr && squared == least)) continue;
            if (scanner != nullptr && !face.bothSides && !(face.HeightOf(*scanner) > 0)) continue;
            const double beside = face.OverhangOf(p, kOverhang);
            if (beside > kOverhang) continue;
            squared += beside * beside;
            if (squared > least || (best != nullptr && squared == least)) continue;
            least = squared;
            height = over;
            best = &face;
        }
        if (best == nullptr) return;
        counts_.Add(best->element, height);
        cells_.Add(static_cast<std::uint32_t>(best - faces_.data()), p,
                   static_cast<std::int64_t>(std::floor(height * kMicrometres + 0.5)));
    }

    /// A square in the project's frame.
    struct Place {
        Vector middle, normal;
    };
    /// What looking at one square leaves for the next.
    struct SightState {
        std::vector<std::pair<double, std::size_t>> order;  // scanners, the nearest first
        std::vector<std::uint32_t> hints;                   // what was before each of them last
    };
    Expected<void> FindHidden(DeviationReport& report) const;
    [[nodiscard]] bool IsHidden(const Place& place, bool bothSides, SightState& state) const;

    const WorldProject& project_;
    const DeviationOptions& options_;
    std::vector<std::optional<Vector>> scanners_;
    std::vector<bool>
        sheets_;  // elements that enclose no solid; set with the faces, so before them
    std::vector<Face> faces_;
    TriangleTree tree_;
    FaceCells cells_;
    DeviationCounts counts_;
    const parallel::Pool* pool_ = nullptr;
};

// BEHAVIOUR E5
bool DeviationPass::IsHidden(const Place& place, bool bothSides, SightState& state) const {
    auto& order = state.order;
    order.clear();
    state.hints.resize(scanners_.size());
    for (std::size_t i = 0; i < scanners_.size(); ++i) {
        if (!scanners_[i]) continue;
        const Vector to = *scanners_[i] - place.middle;
        if (bothSides || Dot(place.normal, to) > 0) order.emplace_back(Dot(to, to), i);
    }
    const std::size_t some = std::min(order.size(), kNearestScanners);
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(some),
                      order.end());
    for (std::size_t i = 0; i < some; ++i) {
        const Vector& scanner = *scanners_[order[i].second];
        const double side = Dot(place.normal, scanner - place.middle) > 0 ? kBefore : -kBefore;
        if (!tree_.IsCrossed(place.middle + place.normal * side, scanner,
                             state.hints[order[i].second]))
            return false;
    }
    return true;
}

Expected<void> DeviationPass::FindHidden(DeviationReport& report) const {
    if (!report.stationsKnown) return {};
    const parallel::Pool pool(options_.threads, options_.proceed, "the comparison was cancelled");
    const std::size_t jobs = (report.squares.size() + kJobSquares - 1) / kJobSquares;
    auto looked = pool.RunJobs(jobs, [&](std::size_t job, unsigned) {
        SightState state;
        for (std::size_t i = job * kJobSquares;
             i < std::min(report.squares.size(), (job + 1) * kJobSquares); ++i) {
            SeenSquare& square = report.squares[i];
            if (square.height) continue;
            const Vector middle = project_.frame.ToLocal(square.middle);
            const Vector before = project_.frame.ToLocal(square.middle + square.normal);
            square.hidden =
                IsHidden({middle, detail::Unit(before - middle)}, square.bothSides, state);
        }
        return Expected<void>();
    });
    for (std::size_t i = 0; looked && i < report.squares.size(); ++i)
        if (report.squares[i].hidden)
            report.elements[report.squares[i].element].hidden +=
                static_cast<double>(report.squares[i].share) * report.cell * report.cell;
    return looked;
}

Expected<DeviationReport> DeviationPass::Report(const std::vector<DrawnElement>& elements) const {
    DeviationReport report;
    report.points = static_cast<std::uint64_t>(project_.Core().AlivePointCount());
    report.step = counts_.Step();
    report.cell = cells_.Side();
    report.all = counts_.FiguresOfAll();
    report.stationsKnown = std::any_of(scanners_.begin(), scanners_.end(),
                                       [](const auto& at) { return at.has_value(); });
    for (std::size_t i = 0; i < elements.size(); ++i)
        report.elements.push_back({counts_.FiguresOf(i)});
    const auto turned = [&](const Vector& direction) {
        const Vector from = project_.frame.ToWorld(Vector{}),
                     to = project_.frame.ToWorld(direction);
        return detail::Unit(Vector{to.x - from.x, to.y - from.y, to.z - from.z});
    };
    cells_.ForEach([&](std::uint32_t element, const Vector& middle, const Vector& normal,
                       const FaceCell& cell) {
        ElementDeviation& its = report.elements[element];
        const double area = cell.area;
        its.area += area;
        if (cell.points == 0) its.missing += area;
        SeenSquare square;
        square.middle = project_.frame.ToWorld(middle);
        square.normal = turned(normal);
        square.element = element;
        square.share = static_cast<float>(area / (cells_.Side() * cells_.Side()));
        square.bothSides = sheets_[element];
        if (cell.points != 0)
            square.height = static_cast<float>(static_cast<double>(cell.sum) / kMicrometres /
                                               static_cast<double>(cell.points));
        report.squares.push_back(square);
    });
    if (auto done = FindHidden(report); !done) return ErrorOf(done);
    for (ElementDeviation& element : report.elements) {
        report.area += element.area;
        report.missing += element.missing;
        report.hidden += element.hidden;
        if (element.area > 0) element.missing /= element.area;
        if (element.area > 0) element.hidden /= element.area;
    }
    if (report.area > 0) report.missing /= report.area;
    if (report.area > 0) report.hidden /= report.area;
    return report;
}

}  // namespace

Expected<DeviationReport> FindDeviations(const WorldProject& project,
                                         const std::vector<DrawnElement>& elements,
                                         const DeviationOptions& options) {
    const auto start = std::chrono::steady_clock::now();
    auto scanners = options.bothSides ? Expected<std::vector<std::optional<Vector>>>()
                                      : NumberedScanners(project.Manager());
    if (!scanners) return ErrorOf(scanners);
    DeviationPass pass(project, elements, options, std::move(*scanners));
    if (auto done = pass.Run(); !done) return ErrorOf(done);
    auto report = pass.Report(elements);
    if (!report) return report;
    report->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

}  // namespace orvix::reports
