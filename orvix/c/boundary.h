// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <tl/expected.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "orvix/c/orvix.h"
#include "orvix/platform/error.h"

namespace orvix::detail {

/// Why a call of the C interface did not do what it was asked for.
struct Refusal {
    orvix_status status = ORVIX_FAILED;
    std::string text;  ///< UTF-8, one sentence
};

using Answer = tl::expected<void, Refusal>;

inline tl::unexpected<Refusal> Refuse(orvix_status status, std::string text) {
    return tl::unexpected<Refusal>(Refusal{status, std::move(text)});
}

/// A failure of our own layers in the interface's terms.
tl::unexpected<Refusal> Refuse(const Error& error);

/// Puts status and text into the caller's struct, as far as that reaches; returns the status.
orvix_status FillError(orvix_error* error, orvix_status status, const std::string& text) noexcept;

/// The same for the exception that is being handled.
orvix_status FillFromException(orvix_error* error) noexcept;

/// Runs the body of one call. Nothing that it throws gets out.
///
///     return Answered(error, [&]() -> Answer { ... });
template <class Body>
orvix_status Answered(orvix_error* error, Body body) noexcept {
    try {
        const Answer answer = body();
        return answer ? ORVIX_OK : FillError(error, answer.error().status, answer.error().text);
    } catch (...) {
        return FillFromException(error);
    }
}

/// A host's callback as our own layers ask it, for work whose done part nobody knows; empty for null.
inline std::function<bool()> Asked(orvix_proceed proceed, void* user) {
    if (proceed == nullptr) return {};
    return [proceed, user] { return proceed(user, -1.0) != 0; };
}

Answer RequirePointer(const void* pointer, const char* name);
/// `size` is one that a versioned struct can have.
Answer RequireSize(std::uint32_t size, const char* name);
/// `first` to `first + count - 1` are among `total`.
Answer RequireRange(std::uint64_t first, std::uint64_t count, std::uint64_t total,
                    const char* things);

/// The caller's options as this library knows them: members that the caller's struct lacks are
/// zero, members that this library lacks must be. Null: all zero.
template <class Struct>
tl::expected<Struct, Refusal> Taken(const Struct* given, const char* name) {
    Struct taken{};
    if (given == nullptr) return taken;
    if (auto sound = RequireSize(given->size, name); !sound) {
        return ErrorOf(sound);
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(given);
    std::memcpy(&taken, bytes, std::min<std::size_t>(given->size, sizeof taken));
    for (std::size_t i = sizeof taken; i < given->size; ++i) {  // BEHAVIOUR B2
        if (bytes[i] == 0) continue;
        return Refuse(ORVIX_UNSUPPORTED, std::string(name) +
                                             " asks for what this library is too old to know; use "
                                             "a newer one, or leave its later members zero");
    }
    return taken;
}

/// Fills the caller's struct as far as it reaches; what this library does not know becomes zero.
template <class Struct>
Answer Give(const Struct& filled, Struct* out, const char* name) {
    if (auto there = RequirePointer(out, name); !there) return there;
    const std::uint32_t size = out->size;
    if (auto sound = RequireSize(size, name); !sound) return sound;
    const std::size_t known = std::min<std::size_t>(size, sizeof filled);  // BEHAVIOUR B1
    std::memcpy(out, &filled, known);
    std::memset(reinterpret_cast<unsigned char*>(out) + known, 0, size - known);
    out->size = size;
    return {};
}

/// The rule for lists: puts the number of items into `count`, and returns whether the caller's
/// array is to be filled. False: only the number was asked for.
tl::expected<bool, Refusal> Fits(std::uint64_t items, const void* array, std::uint64_t capacity,
                                 std::uint64_t* count, const char* things);

}  // namespace orvix::detail
