// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "building/building.h"
#include "orvix/planes/seed/plane_mesh.h"

namespace orvix::building {

enum class ElementKind { Wall, Opening, Slab, Room, Slope };

/// The triangles of one element.
struct ElementMesh {
    ElementKind kind = ElementKind::Wall;
    std::size_t place = 0;  ///< in its list of the building
    std::string name;       ///< as NameOf
    bool closed = false;    ///< the triangles enclose a solid; else they are a surface
    detail::TriangleMesh mesh;
};

/// "wall 3", "door 2", "window 4", "hole 5", "slab 1", "room 1.2", "slope 2": the element's kind and
/// its number, rooms by their own name.
std::string NameOf(const Building& building, ElementKind kind, std::size_t place);

/// The triangles of all walls, slabs, slopes, rooms and openings.
///
///     for (const ElementMesh& element : MeshesOf(building)) Draw(element.mesh);
///
/// A wall is its profile without its openings, as thick as it is; a slab what lies between its
/// faces; a slope what lies under its upper face, square to it; a room its faces; an opening the box
/// that it takes out of its wall. Where one face alone was seen the element is that face, and an
/// opening of such a wall a rectangle.
///
/// Units      metres, project frame.
/// Shape      triangles are counter-clockwise seen from outside the solid; those of a surface seen
///            from where it was seen: a wall's from the seen side, a slab's top from above and its
///            bottom from below, a slope's from its outside. Each edge of a solid is of as many
///            triangles one way as the other way, so that nothing is open.
/// Order      walls, slabs, slopes, rooms, openings; each as in its list. A function of the building
///            alone.
/// Boundaries an element without an extent has no triangles. Coordinates are kept to 60 nanometres.
/// Cost       n log n of an element's corners; the square of a room's.
std::vector<ElementMesh> MeshesOf(const Building& building);

/// The triangles of one element alone. Precondition: the building has it.
ElementMesh ElementMeshOf(const Building& building, ElementKind kind, std::size_t place);

/// What a closed mesh encloses, cubic metres.
double VolumeOf(const detail::TriangleMesh& mesh);

}  // namespace orvix::building
