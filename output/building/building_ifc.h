// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/building.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/transform_file.h"

namespace orvix::output {

/// Writes a building as IFC4.
///
/// A storey holds IfcWall with its axis and a solid, or a surface where one face was seen;
/// IfcOpeningElement, filled by IfcDoor or IfcWindow unless it is a mere hole; IfcSlab and IfcSpace.
/// The slopes are slabs of one IfcRoof in the highest storey. Each element has the property set
/// Orvix_Evidence, which says what it rests on and between which bounds its measures lie, and the
/// standard's base quantities; what the scan does not tell is in Orvix_Model of the building.
///
/// Units    metres. The site's placement turns the project's frame into the world's; the model's zero
///          lies near the building, and a map conversion says where.
/// Shape    an opening is as deep as its wall. In a wall that is a surface it is cut out of that, and
///          has no shape of its own.
/// Order    identifiers, dates and entities follow from the building and the frame, not from the
///          clock. An element's identifier is its own: those beside it do not matter.
/// Errors   BadInput for a frame that is no turn and shift, which no placement can say; NoSpace or
///          Failure, with the path, when writing fails.
Expected<void> WriteIfc(const CString& path, const building::Building& building,
                        const detail::LocalToWorld& frame);

}  // namespace orvix::output
