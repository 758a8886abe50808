// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/error.h"

namespace orvix::cli {

/// How the command ends; scripts act on these, so they never change their meaning.
enum ExitCode : int {
    kExitOk = 0,
    kExitFailure = 1,   ///< anything not named below: a refused permission, a broken device
    kExitUsage = 2,     ///< the command line itself
    kExitBadInput = 3,  ///< a file that is missing or is not what it claims to be, a useless value
    kExitNoSpace = 4,   ///< the disk is full, or would be
    kExitDamaged = 5,   ///< a project whose files contradict each other
    kExitCancelled = 130  ///< Ctrl-C, or the system's request to end
};

/// The exit code and the JSON word of an error.
inline ExitCode ExitCodeOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::BadInput:
            return kExitBadInput;
        case ErrorCode::NoSpace:
            return kExitNoSpace;
        case ErrorCode::Damaged:
            return kExitDamaged;
        case ErrorCode::Cancelled:
            return kExitCancelled;
        case ErrorCode::NoMemory:
        case ErrorCode::Failure:
            break;
    }
    return kExitFailure;
}

inline const char* WordOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::BadInput:
            return "bad-input";
        case ErrorCode::NoSpace:
            return "no-space";
        case ErrorCode::Damaged:
            return "damaged";
        case ErrorCode::Cancelled:
            return "cancelled";
        case ErrorCode::NoMemory:
        case ErrorCode::Failure:
            break;
    }
    return "failure";
}

}  // namespace orvix::cli
