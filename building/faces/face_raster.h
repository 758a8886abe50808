// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <vector>

#include "building/faces/face_line.h"

namespace orvix::building {

/// Where on a face line points lie: squares along it and up.
///
/// Threads Mark may run side by side.
class FaceRaster {
public:
    FaceRaster(const FaceLine& line, double cell)
        : cell_(cell),
          begin_(line.begin),
          bottom_(line.bottom),
          columns_(CellsOf(line.end - line.begin)),
          rows_(CellsOf(line.top - line.bottom)),
          marks_(static_cast<std::size_t>(columns_ * rows_)) {}

    [[nodiscard]] double Cell() const { return cell_; }
    [[nodiscard]] std::int64_t Columns() const { return columns_; }
    [[nodiscard]] std::int64_t Rows() const { return rows_; }
    [[nodiscard]] double Along(std::int64_t column) const {
        return begin_ + (static_cast<double>(column) + 0.5) * cell_;
    }
    [[nodiscard]] double Height(std::int64_t row) const {
        return bottom_ + (static_cast<double>(row) + 0.5) * cell_;
    }
    [[nodiscard]] std::int64_t ColumnOf(double along) const {
        return static_cast<std::int64_t>(std::floor((along - begin_) / cell_));
    }
    [[nodiscard]] std::int64_t RowOf(double height) const {
        return static_cast<std::int64_t>(std::floor((height - bottom_) / cell_));
    }
    /// False outside.
    [[nodiscard]] bool Marked(std::int64_t column, std::int64_t row) const {
        return column >= 0 && row >= 0 && column < columns_ && row < rows_ &&
               marks_[static_cast<std::size_t>(column * rows_ + row)] != 0;
    }
    void Mark(double along, double height) {
        const std::int64_t column = ColumnOf(along), row = RowOf(height);
        if (column < 0 || row < 0 || column >= columns_ || row >= rows_) return;
        std::uint8_t& mark = marks_[static_cast<std::size_t>(column * rows_ + row)];
        std::atomic_ref<std::uint8_t>(mark).store(1, std::memory_order_relaxed);
    }

    /// Takes over what another line of about the same way has marked. Its squares lie across ours: each
    /// marks two of them where it lies on both.
    void Take(const FaceRaster& other, const FaceLine& otherLine, const FaceLine& own) {
        for (std::int64_t column = 0; column < other.columns_; ++column) {
            const double along = own.Along(otherLine.At(other.Along(column)));
            for (std::int64_t row = 0; row < other.rows_; ++row) {
                if (!other.Marked(column, row)) continue;
                Mark(along - 0.3 * cell_, other.Height(row));
                Mark(along + 0.3 * cell_, other.Height(row));
            }
        }
    }

private:
    [[nodiscard]] std::int64_t CellsOf(double length) const {
        return static_cast<std::int64_t>(length / cell_) + 1;
    }

    double cell_;
    double begin_;
    double bottom_;
    std::int64_t columns_;
    std::int64_t rows_;
    std::vector<std::uint8_t> marks_;  // column by column, from the bottom
};

}  // namespace orvix::building
