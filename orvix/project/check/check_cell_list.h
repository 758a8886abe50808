// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_points.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Checks index_hash, where a project has one: it lists the keys of the grid's 100 cm cells, in
/// the order of Grid.idx, so that CIndexHashReader with the box of these cells finds each at its
/// number. A project without the file is whole.
///
/// Cost   a search is a pass over the list, so up to 1,024 cells are looked for, evenly spread from
///        the first to the last.
void CheckCellList(CheckLog& log, const ProjectManager& paths, const GridFiles& grid);

}  // namespace orvix::detail
