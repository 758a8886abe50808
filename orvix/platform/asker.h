// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

namespace orvix::detail {

/// Asks a caller now and then whether long work goes on: once in so many steps, so that a step of some
/// nanoseconds stays one.
///
///     Asker asker(proceed, 4096);
///     for (const auto& point : points) {
///         if (!asker.GoesOn()) return false;
///         Insert(point);
///     }
///
/// Boundaries an empty function always goes on. After a no it is not asked again.
/// Lifetime   borrows the function.
class Asker {
public:
    Asker(const std::function<bool()>& proceed, std::uint32_t steps)
        : proceed_(proceed), steps_(steps) {}

    [[nodiscard]] bool GoesOn() {
        if (++taken_ < steps_) return !stopped_;
        taken_ = 0;
        stopped_ = stopped_ || (proceed_ && !proceed_());
        return !stopped_;
    }

private:
    const std::function<bool()>& proceed_;
    std::uint32_t steps_;
    std::uint32_t taken_ = 0;
    bool stopped_ = false;
};

}  // namespace orvix::detail
