// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/piece_queue.h"

#include <fmt/format.h>

namespace orvix::importer {

// BEHAVIOUR I20
tl::unexpected<Error> FailChanged(const CString& path) {
    return Fail(ErrorCode::BadInput,
                fmt::format("{} changed while it was being imported; import it again once it is "
                            "complete",
                            platform::ToUtf8(path)));
}

Expected<void> PieceQueue::Rewind() {
    return GoTo({0, {}, inputs_.size() - 1, {}}, [] { return false; });
}

Expected<void> PieceQueue::GoTo(const InputStretch& stretch,
                                const std::function<bool()>& stopping) {
    stretch_ = stretch;
    current_ = stretch.firstInput;
    for (std::size_t i = current_ + (stretch.from ? 1 : 0); i <= stretch.lastInput; ++i) {
        if (auto rewound = inputs_[i].reader->Rewind(); !rewound) return rewound;
    }
    if (!stretch.from) return {};
    ScanReader& reader = *inputs_[current_].reader;
    if (auto gone = reader.GoTo(*stretch.from); !gone) return gone;
    for (RawPiece passed; reader.Place() != *stretch.from && !stopping();) {
        passed.scan = 0;
        passed.fileBytes.reset();
        const Expected<bool> more = reader.Next(passed);
        if (!more) return ErrorOf(more);
        if (!*more) return FailChanged(inputs_[current_].path);
    }
    return {};
}

bool PieceQueue::IsAtEnd(std::size_t input) const {
    return input == stretch_.lastInput && stretch_.to &&
           inputs_[input].reader->Place() == *stretch_.to;
}

Expected<bool> PieceQueue::TakeFrom(std::size_t input, StationPiece& next) {
    ScanReader& reader = *inputs_[input].reader;
    for (;;) {
        if (IsAtEnd(input)) return false;
        if (auto entered = stations_.EnterScans(input); !entered) return ErrorOf(entered);
        next.piece.scan = 0;
        next.piece.fileBytes.reset();
        next.place = reader.Place();
        Expected<bool> more = reader.Next(next.piece);
        if (!more) return more;
        if (auto entered = stations_.EnterScans(input); !entered) return ErrorOf(entered);
        if (!*more) return false;
        const auto station = stations_.Find(input, next.piece.scan);
        if (!station) continue;
        next.input = input;
        next.station = *station;
        next.reader = &reader;
        next.placement = stations_[*station].placement;
        return true;
    }
}

Expected<bool> PieceQueue::Take(StationPiece& next) {
    for (; current_ <= stretch_.lastInput; ++current_) {
        Expected<bool> more = TakeFrom(current_, next);
        if (!more || *more) return more;
    }
    return false;
}

}  // namespace orvix::importer
