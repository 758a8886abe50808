// SPDX-License-Identifier: GPL-3.0-or-later
// orvix-ifc FILE.ifc > FILE.obj: the triangles of each element of an IFC model, as IfcPlusPlus reads
// them, world coordinates in metres; an object for each, named "GlobalId IfcClass Name".
//
// A program of its own: the library that it links is large, lives on few systems, and a broken model
// may end it; the command that runs it goes on then and says so.
#include <ifcpp/IFC4/include/IfcGloballyUniqueId.h>
#include <ifcpp/IFC4/include/IfcLabel.h>
#include <ifcpp/IFC4/include/IfcLengthMeasure.h>
#include <ifcpp/IFC4/include/IfcMapConversion.h>
#include <ifcpp/IFC4/include/IfcOpeningElement.h>
#include <ifcpp/IFC4/include/IfcProduct.h>
#include <ifcpp/IFC4/include/IfcReal.h>
#include <ifcpp/IFC4/include/IfcSpace.h>
#include <ifcpp/geometry/Carve/GeometryConverter.h>
#include <ifcpp/model/BuildingModel.h>
#include <ifcpp/reader/ReaderSTEP.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

// IfcPlusPlus reads nothing without a locale named en_US, which few machines have; it needs none.
extern "C" __attribute__((visibility("default"))) char* setlocale(int, const char*) noexcept {
    static char name[] = "C";
    return name;
}

namespace {

using Corner = carve::geom::vector<3>;
using Triangle = std::array<Corner, 3>;
using Meshes = std::vector<std::shared_ptr<carve::mesh::MeshSet<3>>>;

void AppendUtf8(std::string& text, unsigned long letter) {
    const auto put = [&text](unsigned long byte) { text += static_cast<char>(byte); };
    if (letter < 0x80) {
        put(letter < 0x20 ? ' ' : letter);
    } else if (letter < 0x800) {
        put(0xC0 | letter >> 6);
        put(0x80 | (letter & 0x3F));
    } else if (letter < 0x10000) {
        put(0xE0 | letter >> 12);
        put(0x80 | (letter >> 6 & 0x3F));
        put(0x80 | (letter & 0x3F));
    } else {
        put(0xF0 | (letter >> 18 & 7));
        put(0x80 | (letter >> 12 & 0x3F));
        put(0x80 | (letter >> 6 & 0x3F));
        put(0x80 | (letter & 0x3F));
    }
}

std::string Utf8Of(const std::wstring& wide) {
    std::string text;
    for (const wchar_t letter : wide) AppendUtf8(text, static_cast<unsigned long>(letter));
    return text;
}

std::wstring WideOf(const std::string& text) {
    return std::wstring(text.begin(), text.end());  // bytes: so does IfcPlusPlus narrow it again
}

/// The triangles of a mesh, turned so that a solid's fronts are outside.
void Append(const carve::mesh::Mesh<3>& mesh, bool closed, std::vector<Triangle>& triangles) {
    const std::size_t first = triangles.size();
    std::vector<carve::mesh::Vertex<3>*> corners;
    for (const auto* face : mesh.faces) {
        face->getVertices(corners);
        for (std::size_t i = 1; i + 1 < corners.size(); ++i)
            triangles.push_back({corners[0]->v, corners[i]->v, corners[i + 1]->v});
    }
    if (!closed || triangles.size() == first) return;
    double volume = 0;
    const Corner origin = triangles[first][0];
    for (std::size_t i = first; i < triangles.size(); ++i)
        volume += carve::geom::dot(
            triangles[i][0] - origin,
            carve::geom::cross(triangles[i][1] - origin, triangles[i][2] - origin));
    if (volume >= 0) return;
    for (std::size_t i = first; i < triangles.size(); ++i)
        std::swap(triangles[i][1], triangles[i][2]);
}

std::vector<Triangle> TrianglesOf(ProductShapeData& shape) {
    std::vector<Triangle> triangles;
    for (const auto& representation : shape.m_vec_representations) {
        for (const auto& item : representation->m_vec_item_data) {
            for (const auto& [meshes, closed] :
                 {std::pair{&item->m_meshsets, true}, std::pair{&item->m_meshsets_open, false}})
                for (const auto& set : *meshes)
                    for (const auto* mesh : set->meshes) Append(*mesh, closed, triangles);
        }
    }
    const carve::math::Matrix place = shape.getTransform();
    for (Triangle& triangle : triangles)
        for (Corner& corner : triangle) corner = place * corner;
    return triangles;
}

/// From the model's own axes to the map's, where the model says where it stands.
struct MapPlace {
    Corner zero = carve::geom::VECTOR(0, 0, 0);
    double along = 1, across = 0;  ///< the map's x and y of the model's x axis, with the scale
    double scale = 1;

    [[nodiscard]] Corner Of(const Corner& c) const {
        return carve::geom::VECTOR(zero.x + along * c.x - across * c.y,
                                   zero.y + across * c.x + along * c.y, zero.z + scale * c.z);
    }
};

MapPlace MapPlaceOf(const BuildingModel& model) {
    MapPlace place;
    for (const auto& [number, entity] : model.getMapIfcEntities()) {
        const auto map = std::dynamic_pointer_cast<IfcMapConversion>(entity);
        if (!map || !map->m_Eastings || !map->m_Northings || !map->m_OrthogonalHeight) continue;
        place.zero = carve::geom::VECTOR(map->m_Eastings->m_value, map->m_Northings->m_value,
                                         map->m_OrthogonalHeight->m_value);
        if (map->m_Scale && map->m_Scale->m_value > 0) place.scale = map->m_Scale->m_value;
        double x = map->m_XAxisAbscissa ? map->m_XAxisAbscissa->m_value : 1;
        double y = map->m_XAxisOrdinate ? map->m_XAxisOrdinate->m_value : 0;
        const double length = std::sqrt(x * x + y * y);
        if (!(length > 0)) x = 1, y = 0;
        place.along = place.scale * x / (length > 0 ? length : 1);
        place.across = place.scale * y / (length > 0 ? length : 1);
        break;
    }
    return place;
}

void Print(const IfcProduct& product, const std::vector<Triangle>& triangles) {
    const std::string name = product.m_Name ? Utf8Of(product.m_Name->m_value) : std::string();
    std::printf("o %s %s %s\n", Utf8Of(product.m_GlobalId->m_value).c_str(), product.className(),
                name.c_str());
    for (const Triangle& triangle : triangles)
        for (const Corner& c : triangle) std::printf("v %.13g %.13g %.13g\n", c.x, c.y, c.z);
    // Corners by their place backward, so that objects do not depend on those before them.
    for (std::size_t i = triangles.size(); i > 0; --i)
        std::printf("f -%zu -%zu -%zu\n", 3 * i, 3 * i - 1, 3 * i - 2);
}

bool IsFinite(const std::vector<Triangle>& triangles) {
    for (const Triangle& triangle : triangles)
        for (const Corner& c : triangle)
            if (!std::isfinite(c.x) || !std::isfinite(c.y) || !std::isfinite(c.z)) return false;
    return true;
}

int Convert(const std::string& path) {
    auto model = std::make_shared<BuildingModel>();
    ReaderSTEP reader;
    reader.loadModelFromFile(WideOf(path), model);
    GeometryConverter converter(model);
    converter.convertGeometry();
    const MapPlace map = MapPlaceOf(*model);
    // By GlobalId: the converter's own order is that of addresses.
    std::map<std::wstring, std::pair<std::shared_ptr<IfcProduct>, std::vector<Triangle>>> elements;
    for (const auto& [guid, shape] : converter.getShapeInputData()) {
        const auto product =
            std::dynamic_pointer_cast<IfcProduct>(shape->m_ifc_object_definition.lock());
        if (!product || !product->m_GlobalId || dynamic_cast<IfcSpace*>(product.get()) ||
            dynamic_cast<IfcOpeningElement*>(product.get()))
            continue;
        std::vector<Triangle> triangles = TrianglesOf(*shape);
        for (Triangle& triangle : triangles)
            for (Corner& corner : triangle) corner = map.Of(corner);
        if (!triangles.empty() && IsFinite(triangles))
            elements[product->m_GlobalId->m_value] = {product, std::move(triangles)};
    }
    if (elements.empty()) {
        std::fprintf(stderr, "%s holds no element with a shape\n", path.c_str());
        return 3;
    }
    for (const auto& [guid, element] : elements) Print(*element.first, element.second);
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
    if (count != 2) {
        std::fputs("orvix-ifc FILE.ifc > FILE.obj\n", stderr);
        return 2;
    }
    try {
        return Convert(words[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", words[1], error.what());
        return 3;
    }
}
