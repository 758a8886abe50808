// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_log.h"

#include <algorithm>

namespace orvix::detail {

void CheckLog::CannotRead(const CString& file, std::error_code cause) {
    const bool absent = cause == std::errc::no_such_file_or_directory ||
                        cause == std::errc::not_a_directory || cause == std::errc::is_a_directory ||
                        cause == std::errc::invalid_seek;
    if (absent) return Add(file, "cannot be read: {}", cause.message());
    Refuse(FailSystem(cause, platform::ToUtf8(file) +
                                 " cannot be read; check its permissions and its disk")
               .value());
}

void CheckLog::Refuse(Error refusal) {
    if (!refusal_) refusal_ = std::move(refusal);
    cancelled_ = true;
}

bool CheckLog::Advance(std::uint64_t bytes) {
    doneBytes_ += bytes;
    if (cancelled_ || !options_.progress) return !cancelled_;
    const double all = static_cast<double>(std::max(expectedBytes_, doneBytes_));
    cancelled_ = !options_.progress(all > 0 ? static_cast<double>(doneBytes_) / all : 1.0);
    return !cancelled_;
}

CheckReport CheckLog::Finish() {
    for (const Kind& kind : kinds_) {
        // BEHAVIOUR K2
        if (kind.count <= kExamples || kind.lastListed >= report_.faults.size()) continue;
        report_.faults[kind.lastListed].what +=
            fmt::format(" (and {} more like it)", kind.count - kExamples);
    }
    kinds_.clear();
    return std::exchange(report_, {});
}

CheckLog::Kind& CheckLog::KindOf(const CString& file, const char* text) {
    const auto same = [&](const Kind& kind) { return kind.text == text && kind.file == file; };
    const auto found = std::find_if(kinds_.begin(), kinds_.end(), same);
    return found != kinds_.end() ? *found : kinds_.emplace_back(Kind{text, file, 0, 0});
}

}  // namespace orvix::detail
