// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "orvix/platform/error.h"

namespace orvix::view {

enum class Method { Get, Head, Post, Other };

/// A request as it came, with the headers that decide whether it is answered.
struct Request {
    Method method = Method::Get;
    std::string target;               ///< "/TOKEN/points?first=0&count=5"
    std::optional<std::string> host;  ///< none, where it comes more than once
    std::optional<std::string> origin;
    std::string body;
};

/// What follows the path, by name: first=0&count=5.
///
/// Errors  BadInput for a name that is not among those asked about, or comes twice, and for a value
///         that is no whole number.
class Parameters {
public:
    static Expected<Parameters> Parse(std::string_view text,
                                      std::initializer_list<std::string_view> known);
    [[nodiscard]] bool Has(std::string_view name) const;
    /// Precondition: 0 where the parameter is not there and has no other default.
    [[nodiscard]] std::uint64_t Number(std::string_view name, std::uint64_t otherwise = 0) const;

private:
    std::map<std::string, std::uint64_t, std::less<>> values_;
};

}  // namespace orvix::view
