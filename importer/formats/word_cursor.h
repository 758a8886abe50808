// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "importer/formats/line_blocks.h"
#include "importer/formats/number_text.h"

namespace orvix::importer {

/// The words of one line, separated by blanks, each a number or to be skipped.
class WordCursor {
public:
    explicit WordCursor(std::string_view line)
        : at_(line.data()), end_(line.data() + line.size()) {}

    /// False when no word is left.
    bool Skip() {
        if (!FindWord()) return false;
        while (at_ != end_ && !IsBlank(*at_)) ++at_;
        return true;
    }
    /// False when no word is left or it is no number; it is not passed then.
    bool Number(double& value) {
        if (!FindWord()) return false;
        const char* end = ParseNumber(at_, end_, '.', value);
        if (end == nullptr || (end != end_ && !IsBlank(*end))) return false;
        at_ = end;
        return true;
    }

private:
    bool FindWord() {
        while (at_ != end_ && IsBlank(*at_)) ++at_;
        return at_ != end_;
    }

    const char* at_;
    const char* end_;
};

}  // namespace orvix::importer
