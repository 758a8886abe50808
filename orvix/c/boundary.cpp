// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/c/boundary.h"

#include <fmt/format.h>

#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>

namespace orvix::detail {
namespace {

constexpr std::uint32_t kSmallestStruct = 8;
constexpr std::uint32_t kLargestStruct = 4096;

static_assert(sizeof(orvix_error) == 1024 && offsetof(orvix_error, text) == 8);

orvix_status StatusOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::BadInput:
            return ORVIX_BAD_INPUT;
        case ErrorCode::NoSpace:
            return ORVIX_NO_SPACE;
        case ErrorCode::Damaged:
            return ORVIX_DAMAGED;
        case ErrorCode::Cancelled:
            return ORVIX_CANCELLED;
        case ErrorCode::NoMemory:
            return ORVIX_NO_MEMORY;
        case ErrorCode::Failure:
            break;
    }
    return ORVIX_FAILED;
}

// As many bytes of a UTF-8 text as fit without cutting a character in two.
// BEHAVIOUR B3
std::size_t WholeCharacters(const char* text, std::size_t bytes, std::size_t room) {
    if (bytes <= room) return bytes;
    while (room > 0 && (static_cast<unsigned char>(text[room]) & 0xC0) == 0x80) --room;
    return room;
}

bool IsStructSize(std::uint32_t size) {
    return size >= kSmallestStruct && size <= kLargestStruct && size % 8 == 0;
}

// Allocates nothing: memory may be what ran out.
orvix_status Put(orvix_error* error, orvix_status status, const char* text,
                 std::size_t bytes) noexcept {
    if (error == nullptr || !IsStructSize(error->size)) return status;
    error->status = status;
    const std::size_t reach = std::min<std::size_t>(error->size, sizeof *error);
    const std::size_t room = reach - offsetof(orvix_error, text);
    if (room == 0) return status;
    const std::size_t kept = WholeCharacters(text, bytes, room - 1);
    std::memcpy(error->text, text, kept);
    std::memset(reinterpret_cast<unsigned char*>(error) + offsetof(orvix_error, text) + kept, 0,
                error->size - offsetof(orvix_error, text) - kept);
    return status;
}

}  // namespace

tl::unexpected<Refusal> Refuse(const Error& error) {
    return Refuse(StatusOf(error.code), error.message);
}

orvix_status FillError(orvix_error* error, orvix_status status, const std::string& text) noexcept {
    return Put(error, status, text.data(), text.size());
}

orvix_status FillFromException(orvix_error* error) noexcept {
    const auto put = [error](orvix_status status, const char* text) {
        return Put(error, status, text, std::strlen(text));
    };
    constexpr const char* kNoMemory =
        "there is not enough memory for this call; free some, or ask for less at a time";
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return put(ORVIX_NO_MEMORY, kNoMemory);
    } catch (const std::length_error&) {
        return put(ORVIX_NO_MEMORY, kNoMemory);
    } catch (const std::exception& thrown) {
        return put(ORVIX_FAILED, thrown.what());  // BEHAVIOUR B6
    } catch (...) {
        return put(ORVIX_FAILED,
                   "something was thrown that says nothing about itself; callbacks "
                   "must not throw");
    }
}

Answer RequirePointer(const void* pointer, const char* name) {
    if (pointer != nullptr) return {};
    return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("{} is null; it is needed here", name));
}

Answer RequireSize(std::uint32_t size, const char* name) {
    if (IsStructSize(size)) return {};
    return Refuse(
        ORVIX_BAD_ARGUMENT,
        fmt::format("{}.size is {}; set it to sizeof the struct before the call", name, size));
}

Answer RequireRange(std::uint64_t first, std::uint64_t count, std::uint64_t total,
                    const char* things) {
    if (first <= total && count <= total - first) return {};
    return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("{} {} from {} on are asked for, of {}", count,
                                                  things, first, total));
}

tl::expected<bool, Refusal> Fits(std::uint64_t items, const void* array, std::uint64_t capacity,
                                 std::uint64_t* count, const char* things) {
    if (count != nullptr) *count = items;
    if (array == nullptr && capacity == 0) return false;
    if (array == nullptr) {
        return Refuse(
            ORVIX_BAD_ARGUMENT,
            fmt::format("the array for {} is null; its capacity is {}", things, capacity));
    }
    if (capacity >= items) return true;  // BEHAVIOUR B4
    return Refuse(ORVIX_TOO_SMALL,
                  fmt::format("there are {} {}; the array holds {}", items, things, capacity));
}

}  // namespace orvix::detail
