// SPDX-License-Identifier: GPL-3.0-or-later
// Prints the name of each element of an IFC4 file that has a shape, and the area of its faces, as
// IfcPlusPlus reads them: read_ifc FILE [SET]. Fails on whatever that warns of, on an element without
// the property set SET (Orvix_Plane), and on one outside the storeys.
#include <ifcpp/IFC4/include/IfcBuildingElement.h>
#include <ifcpp/IFC4/include/IfcLabel.h>
#include <ifcpp/IFC4/include/IfcPropertySet.h>
#include <ifcpp/IFC4/include/IfcPropertySetDefinition.h>
#include <ifcpp/IFC4/include/IfcRelContainedInSpatialStructure.h>
#include <ifcpp/IFC4/include/IfcRelDefinesByProperties.h>
#include <ifcpp/geometry/Carve/GeometryConverter.h>
#include <ifcpp/model/BuildingModel.h>
#include <ifcpp/reader/ReaderSTEP.h>

#include <clocale>
#include <cstdio>
#include <string>

// IfcPlusPlus reads nothing without a locale named en_US, which few machines have; it needs none.
extern "C" __attribute__((visibility("default"))) char* setlocale(int, const char*) noexcept {
    static char name[] = "C";
    return name;
}

namespace {

int faults = 0;

void Fault(const std::wstring& what) {
    std::fprintf(stderr, "%ls\n", what.c_str());
    ++faults;
}

void Listen(void*, shared_ptr<StatusCallback::Message> message) {
    using Type = StatusCallback::MessageType;
    for (const Type type :
         {Type::MESSAGE_TYPE_MINOR_WARNING, Type::MESSAGE_TYPE_WARNING, Type::MESSAGE_TYPE_ERROR})
        if (message->m_message_type == type) Fault(message->m_message_text);
}

// Of a face: half the length of the sum of its corners' cross products.
double AreaOf(const carve::mesh::Face<3>& face) {
    std::vector<carve::mesh::Vertex<3>*> corners;
    face.getVertices(corners);
    carve::geom::vector<3> sum = carve::geom::VECTOR(0, 0, 0);
    for (std::size_t i = 0; i + 1 < corners.size(); ++i)
        sum += carve::geom::cross(corners[i]->v - corners[0]->v, corners[i + 1]->v - corners[0]->v);
    return sum.length() / 2;
}

double AreaOf(const ProductShapeData& shape) {
    double area = 0;
    for (const auto& representation : shape.m_vec_representations)
        for (const auto& item : representation->m_vec_item_data)
            for (const auto* meshes : {&item->m_meshsets, &item->m_meshsets_open})
                for (const auto& set : *meshes)
                    for (const auto* mesh : set->meshes)
                        for (const auto* face : mesh->faces) area += AreaOf(*face);
    return area;
}

bool HasProperties(const IfcObject& object, const std::wstring& name) {
    for (const auto& weak : object.m_IsDefinedBy_inverse) {
        const auto relation = weak.lock();
        const auto set =
            dynamic_pointer_cast<IfcPropertySet>(relation->m_RelatingPropertyDefinition);
        if (set && set->m_Name->m_value == name && set->m_HasProperties.size() >= 4) return true;
    }
    return false;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2 || count > 3) return 2;
    const std::string path = arguments[1], name = count == 3 ? arguments[2] : "Orvix_Plane";
    const std::wstring set(name.begin(), name.end());
    auto model = std::make_shared<BuildingModel>();
    ReaderSTEP reader;
    reader.setMessageCallBack(&faults, Listen);
    reader.loadModelFromFile(std::wstring(path.begin(), path.end()), model);
    GeometryConverter converter(model);
    converter.setMessageCallBack(&faults, Listen);
    converter.convertGeometry();
    for (const auto& [guid, shape] : converter.getShapeInputData()) {
        const auto element =
            dynamic_pointer_cast<IfcElement>(shape->m_ifc_object_definition.lock());
        if (!element || !element->m_Representation) continue;
        // A part of another element is where that is.
        if (element->m_ContainedInStructure_inverse.size() + element->m_Decomposes_inverse.size() !=
            1)
            Fault(element->m_Name->m_value + L" is in no storey");
        if (!HasProperties(*element, set)) Fault(element->m_Name->m_value + L" lacks properties");
        std::printf("%ls %.9f\n", element->m_Name->m_value.c_str(), AreaOf(*shape));
    }
    return faults == 0 ? 0 : 1;
}
