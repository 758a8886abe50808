// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

namespace orvix {

/// A slider without a toolkit, as a dialog's logic knows it: a range of whole positions and one of
/// them.
///
///     CSliderCtrl slider;
///     slider.SetRange(1, 100);
///     slider.SetPos(250);  // the position is 100
///
/// Boundaries a position outside the range becomes the range's nearest end.
class CSliderCtrl {
public:
    /// `high` is at least `low`.
    void SetRange(int low, int high) {
        low_ = low;
        high_ = high;
        SetPos(position_);
    }
    void SetPos(int position) { position_ = std::clamp(position, low_, high_); }

    [[nodiscard]] int GetPos() const { return position_; }
    [[nodiscard]] int GetRangeMin() const { return low_; }
    [[nodiscard]] int GetRangeMax() const { return high_; }

private:
    int low_ = 0;
    int high_ = 100;
    int position_ = 0;
};

}  // namespace orvix
