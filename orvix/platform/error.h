// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <tl/expected.hpp>

#include <string>
#include <system_error>
#include <utility>

namespace orvix {

/// What went wrong, in the classes that a caller acts upon differently; the command's exit codes
/// follow from them.
enum class ErrorCode {
    Failure,    ///< anything not named below: a refused permission, a broken device
    BadInput,   ///< a file that is not what it claims to be, or a value that cannot be used
    NoSpace,    ///< the disk is full, or would be
    Damaged,    ///< a project whose files contradict each other
    Cancelled,  ///< the caller asked to stop
    NoMemory,   ///< the system refuses more memory
};

/// A failure of our own layers (importer, checks, command): a code, and one UTF-8 sentence that
/// says what happened, where (the file, the numbers), and what to do next.
struct Error {
    ErrorCode code = ErrorCode::Failure;
    std::string message;
};

template <class T>
using Expected = tl::expected<T, Error>;

inline tl::unexpected<Error> Fail(ErrorCode code, std::string message) {
    return tl::unexpected<Error>(Error{code, std::move(message)});
}

/// The error of a call that failed, passed on as it is to one's own caller:
///
///     auto record = ReadRecord(path);
///     if (!record) return ErrorOf(record);
template <class T, class E>
[[nodiscard]] tl::unexpected<E> ErrorOf(const tl::expected<T, E>& failed) {
    return tl::unexpected<E>(failed.error());
}

/// The failure of a system call on `what`; a full disk or quota is NoSpace, a name that no
/// file can have BadInput, anything else Failure.
inline tl::unexpected<Error> FailSystem(std::error_code cause, const std::string& what) {
    const bool full = cause == std::errc::no_space_on_device || cause == std::errc::file_too_large;
    const bool name = cause == std::errc::filename_too_long;
    const ErrorCode code = name ? ErrorCode::BadInput : ErrorCode::Failure;
    return Fail(full ? ErrorCode::NoSpace : code, what + ": " + cause.message());
}

}  // namespace orvix
