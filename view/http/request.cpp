// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/request.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace orvix::view {

namespace {

std::string_view CutAt(std::string_view& text, char mark) {
    const std::size_t at = text.find(mark);
    const std::string_view before = text.substr(0, at);
    text = at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
    return before;
}

// The caller's words go into a sentence, so no more of them than a sentence has room for.
std::string Shown(std::string_view word) {
    return std::string(word.substr(0, 40));
}

}  // namespace

Expected<Parameters> Parameters::Parse(std::string_view text,
                                       std::initializer_list<std::string_view> known) {
    Parameters parameters;
    while (!text.empty()) {
        std::string_view value = CutAt(text, '&');
        const std::string_view name = CutAt(value, '=');
        if (std::find(known.begin(), known.end(), name) == known.end())
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} is no parameter of this request", Shown(name)));
        std::uint64_t number = 0;
        const auto [stop, fault] =
            std::from_chars(value.data(), value.data() + value.size(), number);
        if (fault != std::errc{} || stop != value.data() + value.size())
            return Fail(ErrorCode::BadInput,
                        fmt::format("{}={} is no whole number", name, Shown(value)));
        if (!parameters.values_.emplace(name, number).second)
            return Fail(ErrorCode::BadInput, fmt::format("{} is given twice", name));
    }
    return parameters;
}

bool Parameters::Has(std::string_view name) const {
    return values_.find(name) != values_.end();
}

std::uint64_t Parameters::Number(std::string_view name, std::uint64_t otherwise) const {
    const auto found = values_.find(name);
    return found == values_.end() ? otherwise : found->second;
}

}  // namespace orvix::view
