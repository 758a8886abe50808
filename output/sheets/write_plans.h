// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/building.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/transform_file.h"
#include "output/plans/draw_plans.h"

namespace orvix::output {

/// Whether the name's ending is one that WritePlans knows: .svg, .dxf or .png, in any case.
bool IsPlansName(const CString& path);

/// Writes the plans of a building, all storeys beside each other from the lowest on, by the name's
/// ending:
///
/// - .svg: true to scale, its units millimetres of paper; a group for each storey ("storey-1"), in it one
///   for each kind of line, with a class ("wall", "door", "room-text") that a style sheet may change;
/// - .dxf: R12, metres in the world; the lowest storey at its own place, the others moved by whole
///   metres to the right of it, along the greater part of the walls; layers by kind (A-WALL, A-WALL-PATT,
///   A-DOOR, A-GLAZ, A-AREA-IDEN, A-DIMS and others), hatching and dimensions as lines; letters that
///   are no ASCII as \U+XXXX;
/// - .png: the same at 200 dots an inch of its scale, fewer where that were more than 12 million.
///
/// `frame` leads from the project's frame, in which the building is, to the world.
///
/// Errors  BadInput for another ending; NoSpace or Failure, with the path, when writing fails.
Expected<void> WritePlans(const CString& path, const building::Building& building,
                          const detail::LocalToWorld& frame, const PlanOptions& options = {});

}  // namespace orvix::output
