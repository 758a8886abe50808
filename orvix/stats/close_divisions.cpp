// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/close_divisions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "orvix/stats/division_costs.h"
#include "orvix/stats/min_sums.h"
#include "orvix/stats/running_deviation.h"

namespace orvix::detail {
namespace {

constexpr double kLargestValue = 1e140;  // squares of more than this may overflow
constexpr double kVanishing = 1e-300;    // more than what all squares lose that vanish
constexpr std::size_t kMaxValues = std::size_t{1} << 24;

/// A number of first values, and the first positions of their last class that may be best. Once
/// decided there is one position, and its sum.
struct Row {
    std::size_t length = 0;
    std::vector<std::size_t> firsts;
    double sum = 0;
};
/// The rows that matter for a number of classes, by ascending length.
using Level = std::vector<Row>;

bool Fits(std::span<const double> values) {
    return values.size() < kMaxValues && std::is_sorted(values.begin(), values.end()) &&
           std::all_of(values.begin(), values.end(),
                       [](double value) { return std::abs(value) <= kLargestValue; });
}

class CloseDivisions {
public:
    CloseDivisions(std::span<const double> values, std::size_t classes)
        : values_(values),
          costs_(values),
          minSums_(costs_, classes - 1),
          levels_(classes + 1),
          effortLeft_(values.size() * (values.size() / 2 + 64)) {
        squares_.reserve(values.size() + 1);
        squares_.push_back(0);
        for (const double value : values) squares_.push_back(squares_.back() + value * value);
    }

    /// False when it would take longer than trying every position.
    bool Decide() {
        const std::size_t classes = levels_.size() - 1;
        levels_[classes].push_back({values_.size(), {}, 0});
        std::size_t undecided = 0;
        for (std::size_t j = classes; j >= 2; --j) {
            if (!FindFirsts(j)) return false;
            const bool open = std::any_of(levels_[j].begin(), levels_[j].end(),
                                          [](const Row& row) { return row.firsts.size() > 1; });
            if (open && undecided == 0) undecided = j;
        }
        if (undecided == 0) return true;
        if (!SpendOn(undecided)) return false;
        for (Row& row : levels_[1]) row.sum = WholeDeviation(row.length);
        for (std::size_t j = 2; j <= undecided; ++j) {
            for (Row& row : levels_[j]) DecideRow(row, levels_[j - 1]);
        }
        return true;
    }

    [[nodiscard]] std::vector<std::size_t> Firsts() const {
        std::vector<std::size_t> firsts;
        std::size_t length = values_.size();
        for (std::size_t j = levels_.size() - 1; j >= 2; --j) {
            firsts.push_back(length < 2 ? 0 : RowOf(levels_[j], length).firsts.front());
            length = std::max<std::size_t>(firsts.back(), 1) - 1;
        }
        return firsts;
    }

private:
    static const Row& RowOf(const Level& level, std::size_t length) {
        return *std::lower_bound(level.begin(), level.end(), length,
                                 [](const Row& row, std::size_t l) { return row.length < l; });
    }

    bool Spend(std::size_t effort) {
        if (effort > effortLeft_) return false;
        effortLeft_ -= effort;
        return true;
    }

    /// How far a fast sum over `length` values can lie from the deciding one.
    [[nodiscard]] double MarginOf(std::size_t length) const {
        const auto roundings = static_cast<double>(3 * length + 5 + 2 * levels_.size());
        return roundings * 0x1p-53 * 1.01 * squares_[length] + minSums_.MarginOf(levels_.size()) +
               minSums_.RoundingMargin() + kVanishing;
    }

    /// The positions of a row, from `lowest` to `highest`, that come within `margin` of the best.
    void FindFirstsOf(Row& row, std::size_t j, std::size_t lowest, std::size_t highest,
                      double margin) const {
        const std::size_t last = std::min(highest, row.length);
        const auto sum = [&](std::size_t first) { return minSums_.With(first, row.length, j); };
        double min = std::numeric_limits<double>::infinity();
        if (j < levels_.size() - 1) {
            min = minSums_[j][row.length];
        } else {
            for (std::size_t i = lowest; i <= last; ++i) min = std::min(min, sum(i));
        }
        for (std::size_t i = lowest; i <= last; ++i) {
            if (sum(i) <= min + margin) row.firsts.push_back(i);
        }
    }

    /// Finds the close positions of a level's rows, and makes the rows of the level below. What is
    /// not close to the left of the shortest row's best, or to the right of the longest row's, is
    /// not close in any row between; a quarter of the margin more than twice covers the rounding
    /// in that.
    bool FindFirsts(std::size_t j) {
        Level& level = levels_[j];
        if (level.empty()) return true;
        const double margin = 2.5 * MarginOf(level.back().length);
        FindFirstsOf(level.front(), j, 2, level.front().length, margin);
        if (level.size() > 1) {
            FindFirstsOf(level.back(), j, 2, level.back().length, margin);
            const std::size_t lowest = level.front().firsts.front();
            const std::size_t highest = level.back().firsts.back();
            if (!Spend(level.size() * (highest - lowest + 1))) return false;
            for (std::size_t i = 1; i + 1 < level.size(); ++i) {
                FindFirstsOf(level[i], j, lowest, highest, margin);
            }
        }
        return AddRowsBelow(level, levels_[j - 1]);
    }

    bool AddRowsBelow(const Level& level, Level& below) {
        std::vector<std::size_t> lengths;
        for (const Row& row : level) {
            if (!Spend(row.firsts.size())) return false;
            for (const std::size_t first : row.firsts) {
                if (first > 2) lengths.push_back(first - 1);
            }
        }
        std::sort(lengths.begin(), lengths.end());
        lengths.erase(std::unique(lengths.begin(), lengths.end()), lengths.end());
        for (const std::size_t length : lengths) below.push_back({length, {}, 0});
        return true;
    }

    /// What deciding the levels up to `highest` takes.
    bool SpendOn(std::size_t highest) {
        for (const Row& row : levels_[1]) {
            if (!Spend(row.length)) return false;
        }
        for (std::size_t j = 2; j <= highest; ++j) {
            for (const Row& row : levels_[j]) {
                if (!Spend(row.length - row.firsts.front())) return false;
            }
        }
        return true;
    }

    [[nodiscard]] double WholeDeviation(std::size_t length) const {
        RunningDeviation deviation;
        for (std::size_t i = length; i >= 1; --i) deviation.Add(values_[i - 1]);
        return deviation.Value();
    }

    // Of equal sums the smaller position.
    // BEHAVIOUR H8
    void DecideRow(Row& row, const Level& below) const {
        double min = std::numeric_limits<double>::infinity();
        std::size_t best = 0;
        RunningDeviation deviation;
        std::size_t next = row.length;
        for (std::size_t place = row.firsts.size(); place-- > 0;) {
            const std::size_t first = row.firsts[place];
            for (; next >= first; --next) deviation.Add(values_[next - 1]);
            const double rest = first > 2 ? RowOf(below, first - 1).sum : 0.0;
            const double sum = deviation.Value() + rest;
            if (!(min >= sum)) continue;
            min = sum;
            best = first;
        }
        row.firsts.assign(1, best);
        row.sum = min;
    }

    std::span<const double> values_;
    DivisionCosts costs_;
    MinSums minSums_;
    std::vector<Level> levels_;  // by number of classes
    std::size_t effortLeft_;
    std::vector<double> squares_;  // of the first l values
};

}  // namespace

std::vector<std::size_t> CloseFirsts(std::span<const double> values, std::size_t classes) {
    if (classes < 2 || !Fits(values)) return {};
    CloseDivisions divisions(values, classes);
    if (!divisions.Decide()) return {};
    return divisions.Firsts();
}

}  // namespace orvix::detail
