// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

/// Finds the points near a position, exactly, by their indices in the container it was built from.
///
/// `Find` answers into an array that the object owns; `FindWithin` and `FindNearest` answer the
/// same questions without touching the object, so that several threads can share one.
///
///     CNearestNeighbour index(&points);                             // vector<SimplePointT<float>>
///     int count = 0;
///     const int* found = index.Find(&query, 0.25 * 0.25, count);    // within 25 cm
///     for (int i = 0; i < count; ++i) Use(points[found[i]]);
///     if (index.FindNearest(query, nearest)) Use(points[nearest]);
///
/// Units      those of the points; every radius is squared: for distance r pass r x r.
/// Shape      2D from pairs, map keys or CPoint (a query's z is ignored), 3D from SimplePointT.
/// Order      ascending distance; equal distances by ascending index. The single nearest point
///            is the one of lowest index among equals.
/// Boundaries the bound is inclusive, 0.0 included: it finds the points at the query itself.
///            Distances are sums of squares in double, x then y then z. A point or a query with a
///            coordinate that is not finite is near nothing, nor is anything within a bound that
///            is not a number, or at a distance whose square exceeds every double.
/// Errors     none are reported; finding nothing is a count of 0.
/// Lifetime   coordinates are copied: the container may go. `Find`'s array holds until a later
///            `Find` that finds something, or destruction.
/// Threads    `Find` belongs to one thread per object; const queries to any number of threads.
///            Objects share nothing.
/// Cost       building n log n (1 M points in a tenth of a second, about 37 bytes a point while it
///            lasts, 24 afterwards); a query log n plus what it finds, sorted. `Find` frees its array
///            and allocates one of the size of the result; `FindWithin` allocates only where `found`
///            is too small; nothing else is allocated. More than 1,024 points are found twice, to
///            count and to fill, instead of growing a buffer. A third of nanoflann's time for
///            building, 0.25 to 0.65 of it for a sorted search, about its time for the nearest point
///            of a small cloud and half of it in a large one (bench_find_neighbours).
class ORVIX_API CNearestNeighbour {
public:
    /// The keys, in ascending order; the mapped values are ignored.
    explicit CNearestNeighbour(std::map<std::pair<int, int>, std::pair<int, double>>& points);
    explicit CNearestNeighbour(const std::vector<std::pair<int, int>>& points);
    explicit CNearestNeighbour(const std::vector<CPoint>& points);
    explicit CNearestNeighbour(const std::vector<const SimplePointT<float>*>* points);
    explicit CNearestNeighbour(const std::vector<SimplePointT<float>>* points);
    /// The index over many points that a user may grow tired of: `proceed` is asked every few
    /// milliseconds, on the calling thread; null when it said no. An empty function is not asked.
    static std::unique_ptr<CNearestNeighbour> Make(const std::vector<SimplePointT<float>>& points,
                                                   const std::function<bool()>& proceed);
    ~CNearestNeighbour();
    CNearestNeighbour(const CNearestNeighbour&) = delete;
    CNearestNeighbour& operator=(const CNearestNeighbour&) = delete;

    /// All points whose squared distance is at most `radius`; for a negative `radius` the single
    /// nearest. When nothing is found, `count` is 0 and the array of the previous call (null
    /// before any) is returned unchanged: decide by `count`, not by the pointer.
    int* Find(const SimplePointT<double>* query, double radius, int& count);

    /// All points whose squared distance is at most `squaredRadius` into `found`, replacing what
    /// it holds and reusing its memory.
    void FindWithin(const SimplePointT<double>& query, double squaredRadius,
                    std::vector<int>& found) const;
    /// The nearest point; false, with `nearest` untouched, when there is none.
    bool FindNearest(const SimplePointT<double>& query, int& nearest) const;

private:
    struct Tree;
    template <class Coordinate, std::size_t Dimension>
    struct TreeOf;

    explicit CNearestNeighbour(std::unique_ptr<Tree> tree);
    template <class Allocate>
    std::size_t AllWithin(const SimplePointT<double>& query, double bound, Allocate allocate) const;
    int* NewResult(std::size_t count);

    std::unique_ptr<Tree> tree_;
    std::unique_ptr<int[]> result_;
};

}  // namespace orvix
