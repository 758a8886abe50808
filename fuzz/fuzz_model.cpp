// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "building/element_meshes.h"
#include "building/saved/building_records.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/saved/model_file.h"
#include "output/building/building_json.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
using building::Building;

void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

void Use(const Building& building) {
    for (const building::Wall& wall : building.walls) {
        Require(wall.storey < building.storeys.size(), "a wall's storey is one");
        Require(std::isfinite(wall.base) && wall.profile.size() >= 3, "walls have a face");
    }
    for (const building::Opening& opening : building.openings)
        Require(opening.wall < building.walls.size(), "an opening's wall is one");
    for (const building::Room& room : building.rooms)
        Require(std::isfinite(room.volume.value) && room.plan.outer.size() >= 3, "rooms");
    for (const building::RoofEdge& edge : building.edges)
        Require(edge.slopes[0] < building.slopes.size() && edge.slopes[1] < building.slopes.size(),
                "an edge's slopes are some");
    for (const building::ElementMesh& element : building::MeshesOf(building)) {
        const bool solid =
            element.kind == building::ElementKind::Wall && building.walls[element.place].thickness;
        Require(!solid || element.closed || element.mesh.triangles.empty(), "walls are closed");
        for (const auto& triangle : element.mesh.triangles)
            for (const std::uint32_t corner : triangle)
                Require(corner < element.mesh.points.size(), "a triangle's corners are points");
    }
    Require(!output::JsonOf(building, {}).empty(), "JSON");
    std::vector<std::uint8_t> bytes;
    EncodeBuilding(building, bytes);
    Building again;
    std::string fault;
    Require(DecodeBuilding(bytes, again, fault), "what was read can be written and read");
}

void Read(const CString& path, const std::vector<std::uint8_t>& bytes) {
    test::WriteRecords(path, bytes);
    const auto file = detail::ModelFile::Open(path);
    if (!file) return Require(!file.error().message.empty(), "an error has a sentence");
    Building building;
    std::string fault;
    if (DecodeBuilding(file->Content(), building, fault)) return Use(building);
    Require(!fault.empty(), "a refusal has a sentence");
}

}  // namespace

// The bytes as they are, and once more with a checksum that is right: else none would get past it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::ScratchFolder folder;
    std::vector<std::uint8_t> bytes(data, data + size);
    Read(folder / L"model", bytes);
    std::uint64_t hash = 0;
    if (size < sizeof hash) return 0;
    hash = detail::HashOf(bytes.data(), size - sizeof hash);
    std::memcpy(bytes.data() + size - sizeof hash, &hash, sizeof hash);
    Read(folder / L"model", bytes);
    return 0;
}
