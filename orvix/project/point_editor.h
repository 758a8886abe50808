// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "orvix/platform/error.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/project/project_core.h"

namespace orvix {
class ProjectManager;
}

namespace orvix::detail {

/// The DCLC pair of one point, in a view that can be written to. A value that is equal already is
/// not written, so that its page stays clean.
class DclcPair {
public:
    static constexpr std::size_t kBytes = 3;

    explicit DclcPair(std::uint8_t* bytes) : bytes_(bytes) {}

    [[nodiscard]] const std::uint8_t* Bytes() const { return bytes_; }

    void SetFirst(std::uint16_t value) const { Put(bytes_, &value, sizeof value); }
    void SetSecond(std::uint8_t value) const { Put(bytes_ + 2, &value, sizeof value); }
    /// Both values, laid out as in the record.
    void Set(const void* pair) const { Put(bytes_, pair, kBytes); }

private:
    static void Put(std::uint8_t* at, const void* value, std::size_t bytes) {
        if (std::memcmp(at, value, bytes) != 0) std::memcpy(at, value, bytes);
    }

    std::uint8_t* bytes_;
};

static_assert(offsetof(CCloudPoint<float>, dclcSecond) ==
              offsetof(CCloudPoint<float>, dclcFirst) + 2);
static_assert(offsetof(CPointDataFull, dclcSecond) == offsetof(CPointDataFull, dclcFirst) + 2);

/// Changes the DCLC pairs of a project's points in place, in Grid.pts and in the skeleton.
///
///     PointEditor editor(core);
///     const bool mapped = editor.ForEachPoint(run, [](const auto& point, DclcPair pair) {
///         pair.SetSecond(ClassOf(point.z));
///     });
///     if (auto done = PointEditor::Sync(paths); !done) return done;
///
/// Order    as stored. Precondition: CProjectCore::OpenCores4Write, and runs inside the file.
/// Errors   false where a view cannot be mapped; the points before it have their new values.
/// Lifetime borrows the core's mappings, and must not outlive them.
/// Threads  one per core.
/// Cost     one map and unmap per 8 MiB; only bytes that change are written. `Sync` waits until
///          every changed page is on the disk: up to the size of the two files at the disk's speed.
class PointEditor {
public:
    explicit PointEditor(const CProjectCore& core)
        : reader_(core.CreateAlivePointReaderWriter()),
          plainReader_(core.CreateAlivePointReader()) {}

    /// Calls use(point, pair) for each point of a run.
    template <class Use>
    [[nodiscard]] bool ForEachPoint(const CIndexerSmall& run, Use use) {
        CCloudPoint<float> point;
        while (reader_->ReadIndexPoints(run)) {
            std::uint8_t* const view = reader_->PtsMapAddressAlive();
            if (view == nullptr) return false;
            reader_->ReadCurrentPoint(point);
            use(point, DclcPair(view + reader_->CurrentPointPositionAlive() +
                                offsetof(CCloudPoint<float>, dclcFirst)));
        }
        return true;
    }

    /// One stretch of records, twice.
    struct Records {
        const std::uint8_t* read;
        std::uint8_t* write;
    };
    /// The records of a run of up to CAlivePointReader::kRunChunkPoints for loops that look at every
    /// point: nulls where they cannot be mapped. Valid until the next call.
    ///
    /// A page that is written to before it is read through the same view takes one fault, and may take
    /// its neighbours along; one that was read first takes a second one of its own, which was half of
    /// the time of an edit of all points. So records are read through one view and changed through
    /// another; both show the same bytes.
    [[nodiscard]] Records RecordsOf(const CIndexerSmall& run) {
        reader_->Reset();
        plainReader_->Reset();
        if (!reader_->ReadIndexPoints(run) || !plainReader_->ReadIndexPoints(run)) return {};
        const std::uint8_t* const read = plainReader_->PtsMapAddressAlive();
        std::uint8_t* const write = reader_->PtsMapAddressAlive();
        if (read == nullptr || write == nullptr) return {};
        return {read + plainReader_->CurrentPointPositionAlive(),
                write + reader_->CurrentPointPositionAlive()};
    }

    /// Calls use(place, data, pair) for the next `count` points of the skeleton, from its first on.
    template <class Use>
    [[nodiscard]] bool ForEachSkeletonPoint(std::uint64_t count, Use use) {
        SimplePointT<float> place;
        CPointDataFull data;
        for (std::uint64_t i = 0; i < count; ++i) {
            if (!reader_->ReadNextSkeletCoordPoint() || !reader_->ReadNextSkeletDataPoint() ||
                reader_->PtsMapAddressSkeletCoord() == nullptr ||
                reader_->PtsMapAddressSkeletData() == nullptr) {
                return false;
            }
            reader_->ReadCurrentSkeletPoint(place);
            reader_->ReadCurrentSkeletPointData(data);
            use(place, data,
                DclcPair(reader_->PtsMapAddressSkeletData() +
                         reader_->CurrentPointPositionSkeletData() +
                         offsetof(CPointDataFull, dclcFirst)));
        }
        return true;
    }

    /// Brings both point files to the disk. Call it when all is written.
    static Expected<void> Sync(const ProjectManager& paths);

private:
    std::shared_ptr<CAlivePointReader> reader_;
    std::shared_ptr<CAlivePointReader> plainReader_;  // of RecordsOf
};

}  // namespace orvix::detail
