// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::detail {

/// The squared deviation of a growing class from its mean.
///
/// Divisions are decided on these sums, so every bit counts: keep the order of operations.
class RunningDeviation {
public:
    void Add(double value) {
        squares_ += value * value;
        sum_ += value;
        count_ += 1.0;
    }
    [[nodiscard]] double Value() const { return squares_ - sum_ * sum_ / count_; }

private:
    double squares_ = 0;
    double sum_ = 0;
    double count_ = 0;
};

}  // namespace orvix::detail
