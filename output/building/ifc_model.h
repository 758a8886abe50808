// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "building/building.h"
#include "building/element_meshes.h"
#include "orvix/project/transform_file.h"
#include "output/building/ifc_properties.h"
#include "output/building/ifc_shapes.h"
#include "output/ifc/ifc_file.h"

namespace orvix::output {

/// The entities of one building's file; each kind of element in a source of its own.
class BuildingIfc {
public:
    BuildingIfc(TextFile& file, const building::Building& building,
                const detail::LocalToWorld& frame)
        : building_(building),
          frame_(frame),
          meshes_(MeshesOf(building)),
          file_(file, "building.ifc"),
          shapes_(file_),
          properties_(file_, ids_) {}

    void Print() {
        PrintProject();
        for (std::size_t i = 0; i < building_.walls.size(); ++i) walls_.push_back(AddWall(i));
        for (std::size_t i = 0; i < building_.openings.size(); ++i)
            openings_.push_back(AddOpening(i));
        for (std::size_t i = 0; i < building_.slabs.size(); ++i) AddSlab(i);
        for (std::size_t i = 0; i < building_.rooms.size(); ++i) AddRoom(i);
        if (!building_.slopes.empty()) AddRoof();
        for (const Part& part : parts_) PrintContents(part);
        file_.End();
    }

private:
    /// A part of the project in which elements are: a storey, or the building where it has none.
    struct Part {
        std::string bytes;
        std::size_t id = 0;
        std::size_t placement = 0;
        double elevation = 0;
        std::vector<std::size_t> elements;
        std::vector<std::size_t> spaces;
    };

    void PrintProject();
    void PrintContents(const Part& part);
    std::size_t AddWall(std::size_t place);
    std::size_t AddOpening(std::size_t place);
    std::size_t AddFilling(std::size_t place, const std::string& bytes, std::size_t placement);
    void AddSlab(std::size_t place);
    void AddRoom(std::size_t place);
    void AddBoundaries(std::size_t place, std::size_t space, const std::string& bytes);
    void AddRoof();
    std::size_t AddSlope(std::size_t place, const Part& part);

    [[nodiscard]] detail::Vector Zero() const;
    [[nodiscard]] const detail::TriangleMesh& MeshOf(building::ElementKind kind,
                                                     std::size_t place) const;
    [[nodiscard]] detail::TriangleMesh Moved(building::ElementKind kind, std::size_t place,
                                             const detail::Vector& zero) const;
    [[nodiscard]] std::string NameOf(building::ElementKind kind, std::size_t place) const {
        return Text(building::NameOf(building_, kind, place));
    }
    void Aggregate(const std::string& bytes, std::size_t whole,
                   const std::vector<std::size_t>& parts);
    void AddWallProperties(std::size_t place, std::size_t wall, const std::string& bytes);
    void AddSlabProperties(const building::Slab& slab, std::size_t id, const std::string& bytes);
    void AddOpeningProperties(const building::Opening& opening, std::size_t id,
                              const std::string& bytes);

    const building::Building& building_;
    const detail::LocalToWorld& frame_;
    std::vector<building::ElementMesh> meshes_;
    IfcFile file_;
    IfcShapes shapes_;
    IfcIds ids_;
    IfcProperties properties_;
    std::vector<Part> parts_;
    std::vector<std::size_t> walls_;
    std::vector<std::size_t> placements_;  // of walls
    std::vector<std::size_t> openings_;    // the door or window, else the opening
};

}  // namespace orvix::output
