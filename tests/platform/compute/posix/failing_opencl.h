// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::test {

/// What a run-time library of OpenCL does wrong that stands in for the system's (failing_opencl.cpp).
/// It has five devices, of which the processor, one of version 1.1 and one that is taken are of no
/// use, and of the others the second has memory of its own. A kernel copies the first word of its
/// parameters to the first word of its first output.
struct FailingOpenCl {
    int callsUntilFailure = -1;  ///< 0: the next call fails, once; below 0: none does
    int refusedBuilds = 0;       ///< so many devices refuse the program
    bool hangs = false;          ///< nothing that is begun ends
    bool failsLater = false;     ///< what is begun ends with an error
    int objects = 0;             ///< made and not yet released, maps included
};

/// The name under which the library exports `FailingOpenCl* ()`.
inline constexpr char kFailingOpenClName[] = "OrvixFailingOpenCl";

}  // namespace orvix::test
