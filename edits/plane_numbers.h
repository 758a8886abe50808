// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "detection/plane_set.h"
#include "orvix/platform/error.h"
#include "orvix/project/access/open_project.h"

namespace orvix::edits {

/// Writes plane numbers, 0 for none, into the first value of the points' DCLC pairs, in place: in
/// Grid.pts and in the skeleton. Nothing else changes. Points are changed one after the other: who
/// interrupts it may run it again.
///
/// `searched` is the project whose planes these are.
///
/// Errors   Failure where another project has taken its name, and nothing is written, or where the
///          point files cannot be written; Cancelled where `proceed` says no; BadInput for more than
///          65,535 planes.
/// Cost     one pass over the points, and then a wait until what changed is on the disk.
Expected<void> ApplyPlaneNumbers(const detail::OpenProject& searched,
                                 const detection::PlaneSet& planes,
                                 const std::function<bool()>& proceed);

}  // namespace orvix::edits
