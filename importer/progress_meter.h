// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "importer/import_options.h"

namespace orvix::importer {

/// Sums the progress of an import's threads and reports it to the caller's callback, which may ask
/// to stop.
///
///     meter.Begin(ImportPhase::Scan, bytesOfAllInputs);
///     meter.Add(piece.bytes.size(), points);          // on a worker
///     while (!done) meter.Tick();                     // on the importing thread
///
/// Units    a phase's fraction counts bytes; each phase has a fixed share of the whole.
/// Order    the fraction never falls.
/// Threads  `Add` and `Cancelled` anywhere, everything else on the importing thread.
class ProgressMeter {
public:
    explicit ProgressMeter(ImportCallback callback);

    /// A phase of `bytes` bytes starts; phases come in the order of ImportPhase.
    void Begin(ImportPhase phase, std::uint64_t bytes) { Begin(phase, bytes, phase); }
    /// The same where its work is that of all phases to `last`.
    void Begin(ImportPhase phase, std::uint64_t bytes, ImportPhase last);
    void Add(std::uint64_t bytes, std::uint64_t points) {
        bytes_.fetch_add(bytes, std::memory_order_relaxed);
        points_.fetch_add(points, std::memory_order_relaxed);
    }
    /// Calls the callback; false from then on once it asked to stop.
    bool Tick();
    /// The last call, with a fraction of 1.
    void Complete();
    [[nodiscard]] bool Cancelled() const { return cancelled_.load(std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;

    bool Report();

    ImportCallback callback_;
    Clock::time_point start_ = Clock::now();
    ImportProgress progress_;
    double from_ = 0;
    double share_ = 0;
    std::uint64_t total_ = 0;
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> points_{0};
    std::atomic<bool> cancelled_{false};
};

}  // namespace orvix::importer
