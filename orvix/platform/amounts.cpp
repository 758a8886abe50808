// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/amounts.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace orvix::platform {

namespace {

std::string_view Trim(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::optional<double> FactorOf(std::string_view unit) {
    std::string lower;
    for (const char c : unit) lower += Lower(c);
    if (lower.empty() || lower == "b") return 1.0;
    const std::size_t power = std::string_view("kmgt").find(lower[0]);
    if (power == std::string_view::npos) return std::nullopt;
    const std::string_view rest = std::string_view(lower).substr(1);
    const double exponent = static_cast<double>(power) + 1;
    if (rest.empty() || rest == "ib" || rest == "i") return std::pow(1024.0, exponent);
    if (rest == "b") return std::pow(1000.0, exponent);
    return std::nullopt;
}

// The number at the start of `text`, which is cut off it.
std::optional<double> TakeNumber(std::string_view& text) {
    double value = 0;
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || !std::isfinite(value)) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
    text = Trim(text);
    const std::optional<double> value = TakeNumber(text);
    return text.empty() ? value : std::nullopt;
}

std::optional<std::uint64_t> ParseBytes(std::string_view text) {
    text = Trim(text);
    const std::optional<double> amount = TakeNumber(text);
    const std::optional<double> factor = FactorOf(Trim(text));
    if (!amount || !factor || *amount < 0) return std::nullopt;
    const double bytes = *amount * *factor;
    if (bytes >= 9.2e18) return std::nullopt;
    return static_cast<std::uint64_t>(bytes);
}

std::optional<std::array<double, 3>> ParsePosition(std::string_view text) {
    std::array<double, 3> position{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t comma = axis < 2 ? text.find(',') : text.size();
        if (comma == std::string_view::npos) return std::nullopt;
        const std::optional<double> value = ParseNumber(text.substr(0, comma));
        if (!value) return std::nullopt;
        position[axis] = *value;
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return position;
}

std::string CountText(std::uint64_t count) {
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3;) digits.insert(place -= 3, 1, ',');
    return digits;
}

std::string BytesText(std::uint64_t bytes) {
    if (bytes < 1024) return fmt::format("{} bytes", bytes);
    double amount = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; amount >= 1024 && unit < 3; ++unit) amount /= 1024;
    constexpr std::array kUnits{"KiB", "MiB", "GiB", "TiB"};
    return fmt::format("{:.1f} {}", amount, kUnits[unit]);
}

std::string HexText(std::uint64_t value) {
    return fmt::format("{:016x}", value);
}

}  // namespace orvix::platform
