// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "orvix/platform/lost_pages.h"

namespace orvix::platform::detail {

/// A text in memory of its own: what runs while a page is missing may not ask for any.
class FixedText {
public:
    void Assign(std::string_view text) {
        size_ = 0;
        Add(text);
    }
    void Add(std::string_view text) {
        const std::size_t bytes = std::min(text.size(), bytes_.size() - size_);
        if (bytes != 0) std::memcpy(bytes_.data() + size_, text.data(), bytes);
        size_ += bytes;
    }
    void Add(char c) { Add(std::string_view(&c, 1)); }
    [[nodiscard]] std::string_view View() const { return {bytes_.data(), size_}; }

private:
    std::array<char, 8192> bytes_{};
    std::size_t size_ = 0;
};

/// The texts of a LostPageEnd, kept.
struct LostPageTexts {
    FixedText before, after, jsonBefore, jsonAfter;
    int exitCode = 1;

    void Keep(const LostPageEnd& end) {
        constexpr std::size_t kMaxText = 1023;
        before.Assign(std::string_view(end.before).substr(0, kMaxText));
        after.Assign(std::string_view(end.after).substr(0, kMaxText));
        jsonBefore.Assign(std::string_view(end.jsonBefore).substr(0, kMaxText));
        jsonAfter.Assign(std::string_view(end.jsonAfter).substr(0, kMaxText));
        exitCode = end.exitCode;
    }

    /// "before NAME after"; bytes of the name that a terminal would obey become question marks.
    void Sentence(std::string_view name, FixedText& text) const {
        text.Assign(before.View());
        for (const char c : name) text.Add(static_cast<unsigned char>(c) < 0x20 ? '?' : c);
        text.Add(after.View());
    }

    /// The same as JSON; empty where none is wanted.
    void Json(std::string_view name, FixedText& text) const {
        text.Assign(jsonBefore.View());
        if (jsonBefore.View().empty()) return;
        for (const char c : name) {
            if (c == '"' || c == '\\') text.Add('\\');
            text.Add(static_cast<unsigned char>(c) < 0x20 ? '?' : c);
        }
        text.Add(jsonAfter.View());
    }
};

}  // namespace orvix::platform::detail
