// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "building/building.h"
#include "building/room_shell.h"
#include "orvix/planes/seed/plane_mesh.h"
#include "output/ifc/ifc_file.h"

namespace orvix::output {

/// How a kind of element looks in a viewer.
struct IfcLook {
    const char* name = "";
    double red = 0;
    double green = 0;
    double blue = 0;
    double transparency = 0;
};

/// Where a shape stands: its zero, where its z axis points to, and its x axis.
struct IfcPlace {
    detail::Vector location;
    detail::Vector axis{0, 0, 1};
    detail::Vector reference{1, 0, 0};
};

/// The shapes of an IFC file's elements. Every function adds entities and returns the last one's
/// number.
class IfcShapes {
public:
    explicit IfcShapes(IfcFile& file);

    [[nodiscard]] std::size_t Context() const { return context_; }
    /// A placement within another one; in the world where `parent` is 0.
    std::size_t AddPlacement(std::size_t parent, const IfcPlace& place);

    /// Solids: a profile pushed from `place` along its z axis, or a closed shell.
    std::size_t AddBox(const IfcPlace& place, double width, double depth, double height);
    std::size_t AddExtrusion(const IfcPlace& place, const building::PlanRegion& profile,
                             double height);
    std::size_t AddSolid(const building::RoomShell& shell, const detail::Vector& zero);
    std::size_t AddSurface(const detail::TriangleMesh& mesh);

    /// The representations of an element, and the definition that joins them.
    std::size_t AddAxis(double length);
    std::size_t AddBody(const char* type, const std::vector<std::size_t>& items,
                        const IfcLook& look);
    /// What an opening takes out: a body without a look.
    std::size_t AddVoid(std::size_t solid);
    std::size_t AddDefinition(const std::vector<std::size_t>& representations);

private:
    std::size_t AddPoint(const detail::Vector& p);
    std::size_t AddDirection(const detail::Vector& d);
    std::size_t AddAxes(const IfcPlace& place);
    std::size_t AddRing(const building::PlanRing& ring);
    std::size_t AddFace(const std::vector<std::vector<std::size_t>>& rings);
    std::size_t AddPushed(std::size_t profile, const IfcPlace& place, double height);
    std::size_t StyleOf(const IfcLook& look);

    IfcFile& file_;
    std::size_t up_ = 0;
    std::size_t level_ = 0;  // axes of a profile that is not moved
    std::size_t context_ = 0;
    std::size_t body_ = 0;
    std::size_t axis_ = 0;
    std::vector<std::pair<const char*, std::size_t>> styles_;
};

}  // namespace orvix::output
