// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/text.h"
#include "orvix/project/check/project_check.h"

namespace orvix::detail {

/// Records between two looks at the caller's wish to stop: some milliseconds' worth.
inline constexpr std::uint64_t kCheckBlock = 65'536;

/// Collects a check's faults, and reports its progress to the caller.
///
///     log.Add(file, "entry {} is empty", i);
///
/// Order    as found; of one kind (one format text in one file) the first three are listed, and
///          the third says how many more there are.
/// Errors   progress asked to stop, or the system refused a file: `Cancelled`, and loops end at
///          their next block.
class CheckLog {
public:
    explicit CheckLog(const CheckOptions& options) : options_(options) {}

    template <class... Args>
    void Add(const CString& file, fmt::format_string<Args...> what, Args&&... args) {
        ++report_.total;
        Kind& kind = KindOf(file, fmt::string_view(what).data());
        if (++kind.count > kExamples || report_.faults.size() >= options_.maxFaults) return;
        kind.lastListed = report_.faults.size();
        report_.faults.push_back(
            {platform::ToUtf8(file), fmt::format(what, std::forward<Args>(args)...)});
    }

    /// A file that cannot be opened or read. One that is not there, or is no file, is a fault of
    /// the project; what the system refuses says nothing about the project and ends the check.
    void CannotRead(const CString& file, std::error_code cause);
    void Refuse(Error refusal);
    /// What the system refused, if anything.
    [[nodiscard]] const std::optional<Error>& Refusal() const { return refusal_; }

    /// Announces bytes that `Advance` will count as done.
    void Expect(std::uint64_t bytes) { expectedBytes_ += bytes; }
    /// False when the check is to end.
    bool Advance(std::uint64_t bytes);
    [[nodiscard]] bool Cancelled() const { return cancelled_; }

    [[nodiscard]] std::uint64_t Total() const { return report_.total; }

    /// The report; the log is empty afterwards.
    CheckReport Finish();

private:
    static constexpr std::uint64_t kExamples = 3;

    struct Kind {
        const char* text;
        CString file;
        std::uint64_t count = 0;
        std::size_t lastListed = 0;
    };

    Kind& KindOf(const CString& file, const char* text);

    const CheckOptions& options_;
    CheckReport report_;
    std::vector<Kind> kinds_;
    std::optional<Error> refusal_;
    std::uint64_t expectedBytes_ = 0;
    std::uint64_t doneBytes_ = 0;
    bool cancelled_ = false;
};

}  // namespace orvix::detail
