// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvix {

/// The small value types that every room passes around, and the records of the point and index
/// files. Each record is laid out in memory exactly as on disk (little-endian, no header), so a
/// record in a mapped view is read by copying its bytes. docs/FORMAT.md shows every byte.
///
/// Units   metres; the project's own frame unless a caller says otherwise.
/// Threads plain values.

/// A position. `float`: the skeleton coordinate record (12 bytes); `double`: geometry in memory;
/// `int`: a cell key.
template <class T>
struct SimplePointT {
    T x{};
    T y{};
    T z{};
};

/// A position in a plane's own 2D frame.
template <class T>
struct SimplePoint2DT {
    T x{};
    T y{};
};

/// An axis-aligned bound: minimum corner, then maximum corner.
template <class T>
struct ExtendsT {
    SimplePointT<T> min;
    SimplePointT<T> max;
};

template <class T>
struct Extends2DT {
    SimplePoint2DT<T> min;
    SimplePoint2DT<T> max;
};

/// A cloud point; the general form holds a centroid and has no attributes.
template <class T>
struct CCloudPoint {
    T x{};
    T y{};
    T z{};
};

/// The alive point record: 24 bytes in Grid.pts.
///
/// The readers copy `attributes` and never interpret them; the importer writes intensity,
/// colour, class and station there. `dclcFirst` and `dclcSecond` are the DCLC pair: two values of
/// the host's own, which the library carries and a host may change in place.
template <>
struct CCloudPoint<float> {
    float x = 0;
    float y = 0;
    float z = 0;
    std::array<std::uint8_t, 8> attributes{};
    std::uint16_t dclcFirst = 0;
    std::uint8_t dclcSecond = 0;
    std::uint8_t reserved = 0;
};

/// The skeleton data record: 12 bytes in GridSkelet.datapts; record i belongs to coordinate
/// record i of GridSkelet.coordpts.
struct CPointDataFull {
    std::array<std::uint8_t, 6> attributes{};
    std::uint16_t dclcFirst = 0;
    std::uint8_t dclcSecond = 0;
    std::array<std::uint8_t, 3> reserved{};
};

/// A run: points `offset` to `offset + count - 1` of a file. Also the 16-byte record of
/// Grid1to10cm.idx, where it counts 10 cm entries.
struct CIndexerSmall {
    std::uint64_t offset = 0;
    std::uint32_t count = 0;
    std::uint32_t padding = 0;
};

/// An integer position in a plane raster.
struct CPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

/// One cell of the 1000 cm or the 100 cm index: 32 bytes. `offset` and `count` are a run of
/// 100 cm entries at the 1000 cm level, a run of alive points at the 100 cm level.
struct GridCellRecord {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::uint32_t padding = 0;
    std::uint64_t offset = 0;
    std::uint32_t count = 0;
    std::uint32_t padding2 = 0;
};

/// One cell of the 10 cm index: 24 bytes. Coordinates are 0..9 inside the 100 cm cell; `offset`
/// and `count` are a run of alive points.
struct FineCellRecord {
    std::int8_t x = 0;
    std::int8_t y = 0;
    std::int8_t z = 0;
    std::array<std::uint8_t, 5> padding{};
    std::uint64_t offset = 0;
    std::uint32_t count = 0;
    std::uint32_t padding2 = 0;
};

inline constexpr std::uint64_t kAlivePointBytes = 24;
inline constexpr std::uint64_t kSkeletonRecordBytes = 12;
inline constexpr std::uint64_t kRunRecordBytes = 16;
inline constexpr std::uint64_t kGridCellBytes = 32;
inline constexpr std::uint64_t kFineCellBytes = 24;

static_assert(sizeof(SimplePointT<float>) == kSkeletonRecordBytes);
static_assert(sizeof(SimplePointT<double>) == 24);
static_assert(sizeof(CCloudPoint<float>) == kAlivePointBytes);
static_assert(offsetof(CCloudPoint<float>, attributes) == 12);
static_assert(offsetof(CCloudPoint<float>, dclcFirst) == 20);
static_assert(offsetof(CCloudPoint<float>, dclcSecond) == 22);
static_assert(sizeof(CPointDataFull) == kSkeletonRecordBytes);
static_assert(offsetof(CPointDataFull, dclcFirst) == 6);
static_assert(offsetof(CPointDataFull, dclcSecond) == 8);
static_assert(sizeof(CIndexerSmall) == kRunRecordBytes && offsetof(CIndexerSmall, count) == 8);
static_assert(sizeof(GridCellRecord) == kGridCellBytes);
static_assert(offsetof(GridCellRecord, offset) == 16 && offsetof(GridCellRecord, count) == 24);
static_assert(sizeof(FineCellRecord) == kFineCellBytes);
static_assert(offsetof(FineCellRecord, offset) == 8 && offsetof(FineCellRecord, count) == 16);
static_assert(std::is_trivially_copyable_v<CCloudPoint<float>> &&
              std::is_trivially_copyable_v<GridCellRecord>);

}  // namespace orvix
