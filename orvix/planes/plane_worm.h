// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "orvix/planes/fitted_plane.h"
#include "orvix/planes/plane_grid.h"
#include "orvix/planes/plane_worm_settings.h"
#include "orvix/platform/export.h"
#include "orvix/points/nearest_neighbour.h"
#include "orvix/points/records.h"

namespace orvix {

namespace detail {
class ContourBox;
}

/// Grows a plane over a point cloud from a seed, cell by cell, in waves, like a worm that crawls
/// outward. Each cell's points are handed to the host, and the cell is kept or rejected by its
/// normal; kept cells spawn their neighbours.
///
///     PlaneWorm worm(settings);                         // shared_ptr<PlaneWormSettings>
///     worm.SetBase(plane);                              // a FittedPlane through the seed
///     worm.SetCloud(index, points);                     // CNearestNeighbour over the points
///     worm.SetSeed({1.0, 2.0, 0.5});
///     worm.CollectCallback(reinterpret_cast<void*>(&Collect));
///     worm.Launch(PlaneWorm::RelationToBase::Visited);
///     Use(worm.Cells(), worm.HowItEnded());
///     worm.Clear();                                     // before the next launch
///
/// For one cell, in this order: visited or outline test; neighbours within half a split size of
/// the centre; at least `minCellPoints` of them; the callback; the normal test; the children.
/// The callback comes before the normal test, so it sees the points of cells that then fail:
/// Cells() lists the kept ones alone.
///
/// Units      metres, the frame of the points; split sizes are taken scaled.
/// Shape      cells and their keys: PlaneGrid. A cell's normal is that of the least-squares plane
///            of all its neighbours, turned to its parent's side (the seed's to the base's);
///            neighbours on one line leave the parent's normal.
/// Order      breadth first; the same input gives the same cells in the same order.
/// Boundaries the normal test compares the sizes of the components, not their signs, against
///            diffA, diffB and diffC; a difference equal to its limit passes.
/// Errors     none are reported. A split size that is not above 0 keeps the seed's cell alone, or
///            none (BEHAVIOUR W13).
/// Lifetime   shares the settings, the index and the points; a copy shares them too.
/// Threads    one thread launches; Stop may be called from any other.
/// Cost       a cell costs one radius query and one fit. A launch ends where points end, at the
///            outline, at the reach, or after `SetStepBudget` cells.
class ORVIX_API PlaneWorm {
public:
    /// What a launch holds cells against.
    enum class RelationToBase : std::int32_t {
        /// Nothing: four arms crawl straight on from the seed as long as there are points, and the
        /// base plane takes up their points and is fitted anew whenever they have grown by an
        /// eighth, and at the end; points on one line leave it as it is.
        Free = 0,
        /// The base normal; every cell of the grid is processed at most once. The seed grows along
        /// x alone, the cells after it in every direction but back.
        Visited = 1,
        /// The base normal and the base plane's outline. The seed grows along y alone.
        Outline = 2,
    };

    /// Why a launch ended. Where several held growth back, the first of this list that did,
    /// read from the bottom up, is reported.
    enum class Ended : std::int32_t {
        NotLaunched,
        /// Every border cell had too few points or another normal; a seed that is not finite has
        /// no points around it and ends so at once.
        Exhausted,
        Outline,  ///< a cell lay outside the base plane's outline
        Reach,    ///< a cell beyond the reach was left out
        Budget,   ///< the step budget was used up with cells pending
        Stopped,  ///< the stop flag was set, or the watch said so, with cells pending
    };

    enum class Rejection : std::int32_t { FewPoints, Normal };

    /// A pending cell.
    struct CellSniff {
        PlaneCell key;
        PlaneCell origin;                   ///< the cell that spawned this one
        SimplePointT<double> normal;        ///< the parent's until the cell's own is fitted
        std::int64_t index = 0;             ///< a point of the base point list; -1: none lies here
        double reach = 0;                   ///< limit of the distance from the seed point
        std::int32_t direction = 0;         ///< 0, 1, 2: seeds; 3: +y, 4: -y, 5: -x, 6: +x
        std::array<double, 3> tolerance{};  ///< the parent's last differences to the base normal
        std::int32_t kind = 0;              ///< see KeepBorderCells
    };

    /// A kept cell.
    struct Cell {
        PlaneCell key;
        std::vector<int> indices;  ///< as handed on: ascending distance from the centre
        SimplePointT<double> centre;
        SimplePointT<double> normal;    ///< of unit length
        SimplePointT<double> centroid;  ///< of all neighbours, those above MinPlane included
        bool border = false;            ///< kept by KeepBorderCells in spite of its normal
    };

    struct RejectedCell {
        PlaneCell key;
        Rejection why = Rejection::FewPoints;
    };

    /// The host's function: the cell's point indices (valid during the call) and their number.
    using CollectFunction = void (*)(int* indices, int count);

    explicit PlaneWorm(std::shared_ptr<PlaneWormSettings> settings);
    PlaneWorm(const PlaneWorm& other) = default;
    PlaneWorm& operator=(const PlaneWorm& other) = default;
    ~PlaneWorm() = default;

    /// Stores a CollectFunction, as a plain pointer; null calls nobody.
    void CollectCallback(void* fn);
    std::shared_ptr<PlaneWormSettings> Settings();
    /// Forgets visited cells, kept and rejected cells, counters and the largest distance. Base,
    /// cloud, seed, limits and the stop flag stay.
    void Clear();
    void Launch(RelationToBase relation);

    /// The plane to grow on; relation Free refits it, and keeps the points it already holds.
    void SetBase(const FittedPlane& base);
    /// The index and the points it was built over, in the same order; both must be given.
    void SetCloud(std::shared_ptr<CNearestNeighbour> index,
                  std::shared_ptr<const std::vector<SimplePointT<float>>> points);
    /// Where cell (0, 0) lies; to be set before each launch, because when the seed's cell is kept
    /// the seed point becomes the base plane's centroid: that is where the reach is measured from.
    void SetSeed(const SimplePointT<double>& seed);
    /// How the seed grows: 0 along both axes, 1 along x, 2 along y. Default (or any other value):
    /// the number of the launch's relation.
    void SetSeedDirection(std::int32_t direction);
    /// The largest distance from the seed point; a cell is within reach when its centre is, and the
    /// corner of its box that lies ahead. Default: no limit.
    void SetReach(double metres);
    /// The most cells that one launch processes; at least the seed is. Default: ten million.
    void SetStepBudget(std::int64_t cells);
    /// Which outline relation Outline uses: a fixed outline (IsPointInBound), else the 3D bound
    /// (IsPointIn3dBound), else the bound (IsPointInBound), else the contour (IsPointInContour).
    void SetOutlineTest(bool fixedOutline, bool bound3d, bool bound);
    /// The base point list: relation Outline then enters a cell only where one of these points
    /// lies, projected along the base normal (the lowest index stands for the cell); the seed's
    /// cell needs none. Empty: no test.
    void SetBasePoints(std::vector<SimplePointT<double>> points);
    /// Keeps cells that fail the normal test as border cells: the centre of one moves back to the
    /// middle of the side that faces its parent, or, for kind 3, to the corner of its box nearest
    /// to the seed point, and it spawns nothing.
    void KeepBorderCells(bool keep, std::int32_t kind = 0);
    /// Asked before each cell after the seed; false ends the launch as the stop flag does.
    void SetWatch(std::function<bool()> proceed);

    /// A value other than 0 ends a running launch before its next cell, from any thread, and lets
    /// later launches process their seed alone until it is set back to 0.
    void Stop(int flag = 1) { stop_.value.store(flag); }
    int StopFlag() const { return stop_.value.load(); }

    const std::vector<Cell>& Cells() const { return cells_; }
    const std::vector<RejectedCell>& RejectedCells() const { return rejected_; }
    Ended HowItEnded() const { return ended_; }
    /// Cells that the last launch looked at, those that a test dropped at once included.
    std::int64_t Steps() const { return steps_; }
    double LargestDistance() const { return largestDistance_; }
    /// The last differences |(|cell| - |base|)| of the normals' a, b and c.
    const std::array<double, 3>& LastDifferences() const { return differences_; }
    const FittedPlane& Base() const { return base_; }
    const SimplePointT<double>& Seed() const { return seed_; }
    const PlaneGrid& Grid() const { return grid_; }

private:
    /// A flag that a copy takes over as it stands at that moment.
    struct SharedFlag {
        SharedFlag() = default;
        SharedFlag(const SharedFlag& other) : value(other.value.load()) {}
        SharedFlag& operator=(const SharedFlag& other) {
            value.store(other.value.load());
            return *this;
        }
        ~SharedFlag() = default;
        std::atomic<int> value{0};
    };
    /// What the visited set holds of 8 x 8 cells, a bit each: a launch asks for every cell four times,
    /// and what it asks for stays in the cache.
    struct VisitedBlock {
        std::uint64_t entered = 0;
        std::uint64_t done = 0;  ///< what relation Outline goes by
    };

    bool CheckCellDist(double& dist, SimplePointT<double>* centre, const SimplePointT<double>* c1,
                       const SimplePointT<double>* c2, const SimplePointT<double>* c3,
                       const SimplePointT<double>* c4, const CellSniff& cell);
    std::vector<CellSniff> RecursiveNeighbourPlaneSearch(CellSniff& cell);

    bool Enter(const CellSniff& cell, const SimplePointT<double>& centre);
    bool InsideOutline(const SimplePointT<double>& centre) const;
    Cell Fit(const CellSniff& cell, const SimplePointT<double>& centre);
    bool NormalFits(const SimplePointT<double>& normal);
    SimplePointT<double> BorderCorner(const CellSniff& cell,
                                      const SimplePointT<double>& centre) const;
    void TakeUp(const std::vector<SimplePointT<double>>& points);
    void FitBase();
    std::vector<CellSniff> Children(const CellSniff& cell);
    void Emit(const CellSniff& parent, std::int32_t direction, std::vector<CellSniff>& out);
    bool LayGrid(RelationToBase relation);
    bool MayGoOn();
    void GrowInWaves(std::vector<CellSniff> wave);

    SharedFlag stop_;
    SimplePointT<double> seed_;
    RelationToBase relation_ = RelationToBase::Free;
    bool fixedOutline_ = false;
    bool bound3d_ = false;
    bool bound_ = false;
    bool keepBorder_ = false;
    std::int32_t borderKind_ = 0;
    std::unordered_map<PlaneCell, VisitedBlock, PlaneCellHash> visited_;  // by key / 8
    double largestDistance_ = 0;
    FittedPlane base_;
    std::shared_ptr<const detail::ContourBox> box_;  // of the base
    std::shared_ptr<CNearestNeighbour> index_;
    std::shared_ptr<const std::vector<SimplePointT<float>>> points_;
    CollectFunction collect_ = nullptr;
    std::function<bool()> watch_;
    std::vector<RejectedCell> rejected_;
    std::vector<Cell> cells_;
    std::vector<SimplePointT<double>> basePoints_;
    std::shared_ptr<PlaneWormSettings> settings_;

    double reach_ = std::numeric_limits<double>::infinity();
    std::int64_t stepBudget_ = 10'000'000;
    std::int64_t steps_ = 0;
    std::int32_t seedDirection_ = -1;
    bool beyondReach_ = false;
    bool beyondOutline_ = false;
    Ended ended_ = Ended::NotLaunched;
    std::array<double, 3> differences_{};
    PlaneGrid grid_;
    std::map<PlaneCell, std::int64_t> basePointAt_;
    std::size_t fittedPoints_ = 0;
    FittedPlane fit_;              // of one cell; kept for its buffer
    std::vector<int> neighbours_;  // of one cell; kept for its memory
};

}  // namespace orvix
