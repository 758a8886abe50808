// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/piece_queue.h"

namespace orvix::importer {

Expected<void> PieceQueue::Rewind() {
    current_ = 0;
    for (const ScanInput& input : inputs_) {
        if (auto rewound = input.reader->Rewind(); !rewound) return rewound;
    }
    return {};
}

Expected<bool> PieceQueue::TakeFrom(std::size_t input, StationPiece& next) {
    ScanReader& reader = *inputs_[input].reader;
    for (;;) {
        if (auto entered = stations_.EnterScans(input); !entered) return ErrorOf(entered);
        next.piece.scan = 0;
        next.piece.fileBytes.reset();
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
    for (; current_ < inputs_.size(); ++current_) {
        Expected<bool> more = TakeFrom(current_, next);
        if (!more || *more) return more;
    }
    return false;
}

}  // namespace orvix::importer
