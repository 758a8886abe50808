// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orvix::cli {

/// How progress is reported, always on standard error.
enum class ProgressMode {
    Automatic,  ///< a bar on a terminal, nothing elsewhere
    Bar,        ///< a bar on a terminal, plain lines elsewhere
    Plain,      ///< a line every two seconds
    Json,       ///< one object per line: phase, fraction, bytes, points, seconds_left
    None
};

/// "auto", "bar", "plain", "json" or "none"; any other word is Automatic.
ProgressMode ProgressModeOf(const std::string& word);

struct ProgressState {
    std::string phase;    ///< "sorting"
    double fraction = 0;  ///< of the whole work, 0 to 1
    std::uint64_t bytes = 0;
    std::uint64_t points = 0;
    double secondsLeft = -1;  ///< negative: not known yet
};

/// Reports the progress of long work at a reader's pace, however often it is called: a bar ten
/// times a second, JSON five times, lines every two seconds, and each phase at least once.
///
///     ProgressReporter progress(ProgressModeOf(context.progressWord));
///     progress.Report({"sorting", 0.4, bytes, points, 12.0});
///     progress.Finish();                     // takes the bar away before results are printed
///
/// Threads  one at a time.
/// Cost     one reading of the clock per call.
class ProgressReporter {
public:
    explicit ProgressReporter(ProgressMode mode);
    ~ProgressReporter() { Finish(); }
    ProgressReporter(const ProgressReporter&) = delete;
    ProgressReporter& operator=(const ProgressReporter&) = delete;

    void Report(const ProgressState& state);
    void Finish();

private:
    void Print(const ProgressState& state);

    ProgressMode mode_;
    std::chrono::steady_clock::time_point last_;
    std::string lastPhase_;
    bool barShown_ = false;
};

/// The bar as one line of `columns` characters, without its line break.
std::string BarLine(const ProgressState& state, int columns);

/// "4 s", "2 min 5 s", "1 h 20 min".
std::string DurationText(double seconds);

}  // namespace orvix::cli
