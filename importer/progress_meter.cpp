// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/progress_meter.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvix::importer {
namespace {

// Where each phase starts on the way from 0 to 1, as measured on a large LAS file.
constexpr std::array<double, 7> kPhaseStarts{0.0, 0.12, 0.42, 0.86, 0.90, 0.92, 1.0};
// Before this much is done an estimate of the time left would be a guess.
constexpr double kEstimable = 0.02;

}  // namespace

ProgressMeter::ProgressMeter(ImportCallback callback) : callback_(std::move(callback)) {}

void ProgressMeter::Begin(ImportPhase phase, std::uint64_t bytes, ImportPhase last) {
    progress_.phase = phase;
    from_ = kPhaseStarts[static_cast<std::size_t>(phase)];
    share_ = kPhaseStarts[static_cast<std::size_t>(last) + 1] - from_;
    total_ = bytes;
    bytes_ = 0;
    points_ = 0;
    Tick();
}

bool ProgressMeter::Tick() {
    progress_.bytes = bytes_.load(std::memory_order_relaxed);
    progress_.points = points_.load(std::memory_order_relaxed);
    const double part = total_ == 0 ? 0
                                    : static_cast<double>(std::min(progress_.bytes, total_)) /
                                          static_cast<double>(total_);
    progress_.fraction = std::max(progress_.fraction, from_ + share_ * part);
    return Report();
}

void ProgressMeter::Complete() {
    progress_.fraction = 1;
    Report();
}

bool ProgressMeter::Report() {
    if (Cancelled() || !callback_) return !Cancelled();
    const std::chrono::duration<double> elapsed = Clock::now() - start_;
    if (progress_.fraction >= kEstimable) {
        progress_.secondsLeft = elapsed.count() * (1 / progress_.fraction - 1);
    }
    if (!callback_(progress_)) cancelled_ = true;
    return !Cancelled();
}

}  // namespace orvix::importer
