// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/ifc_properties.h"

#include <algorithm>

#include "building/building_words.h"
#include "output/ifc/global_id.h"

namespace orvix::output {

namespace {

// "1, 3, 4"
template <class List>
std::string Joined(const List& list) {
    return fmt::format("{}", fmt::join(list, ", "));
}

}  // namespace

std::string IfcIds::Of(const std::string& bytes) {
    std::string id = GlobalIdOf(bytes);
    for (std::uint64_t count = 1; !given_.insert(id).second; ++count) {
        std::string counted = bytes;
        AppendBytes(counted, count);
        id = GlobalIdOf(counted);
    }
    return id;
}

void IfcProperties::AddValue(const char* name, const std::string& value) {
    properties_.push_back(file_.Add("IFCPROPERTYSINGLEVALUE('{}',$,{},$)", name, value));
}

void IfcProperties::Add(const char* name, const char* type, double value) {
    AddValue(name, fmt::format("{}({})", type, Real(value)));
}

void IfcProperties::Add(const char* name, std::uint64_t count) {
    AddValue(name, fmt::format("IFCINTEGER({})", count));
}

void IfcProperties::Add(const char* name, bool value) {
    AddValue(name, value ? "IFCBOOLEAN(.T.)" : "IFCBOOLEAN(.F.)");
}

void IfcProperties::Add(const char* name, const std::string& text) {
    AddValue(name, fmt::format("IFCTEXT({})", Text(text)));
}

void IfcProperties::Add(const char* name, const std::vector<std::string>& texts) {
    std::vector<std::string> values;
    for (const std::string& text : texts) values.push_back(fmt::format("IFCTEXT({})", Text(text)));
    if (!values.empty())
        properties_.push_back(
            file_.Add("IFCPROPERTYLISTVALUE('{}',$,({}),$)", name, fmt::join(values, ",")));
}

void IfcProperties::Add(const char* name, const char* type, const building::Measure& measure) {
    properties_.push_back(file_.Add("IFCPROPERTYBOUNDEDVALUE('{}',$,{}({}),{}({}),$,{}({}))", name,
                                    type, Real(measure.high), type, Real(measure.low), type,
                                    Real(measure.value)));
}

void IfcProperties::Add(const building::Evidence& evidence) {
    const auto share = [](double value) { return std::clamp(value, 0.0, 1.0); };
    Add("Seen", "IFCNORMALISEDRATIOMEASURE", share(evidence.seen));
    Add("Hidden", "IFCNORMALISEDRATIOMEASURE", share(evidence.hidden));
    Add("Points", evidence.points);
    Add("Rms", "IFCLENGTHMEASURE", evidence.rms);
    Add("Tolerance", "IFCLENGTHMEASURE", evidence.tolerance);
    Add("Stations", Joined(evidence.stations));
    Add("Planes", Joined(evidence.planes));
    Add("Inferred", Joined(building::WordsOf(evidence.inferred)));
}

void IfcProperties::AddLength(const char* name, double metres) {
    quantities_.push_back(file_.Add("IFCQUANTITYLENGTH('{}',$,$,{},$)", name, Real(metres)));
}

void IfcProperties::AddArea(const char* name, double squareMetres) {
    quantities_.push_back(file_.Add("IFCQUANTITYAREA('{}',$,$,{},$)", name, Real(squareMetres)));
}

void IfcProperties::AddVolume(const char* name, double cubicMetres) {
    quantities_.push_back(file_.Add("IFCQUANTITYVOLUME('{}',$,$,{},$)", name, Real(cubicMetres)));
}

void IfcProperties::Attach(std::size_t definition, std::size_t element, const std::string& bytes) {
    file_.Add("IFCRELDEFINESBYPROPERTIES('{}',$,$,$,(#{}),#{})", ids_.Of("attaches " + bytes),
              element, definition);
}

void IfcProperties::AttachSet(const char* name, std::size_t element, const std::string& bytes) {
    if (properties_.empty()) return;
    const std::string own = name + bytes;
    const std::size_t set =
        file_.Add("IFCPROPERTYSET('{}',$,'{}',$,{})", ids_.Of(own), name, ListOf(properties_));
    properties_.clear();
    Attach(set, element, own);
}

void IfcProperties::AttachQuantities(const char* name, std::size_t element,
                                     const std::string& bytes) {
    if (quantities_.empty()) return;
    const std::string own = name + bytes;
    const std::size_t set = file_.Add("IFCELEMENTQUANTITY('{}',$,'{}',$,$,{})", ids_.Of(own), name,
                                      ListOf(quantities_));
    quantities_.clear();
    Attach(set, element, own);
}

}  // namespace orvix::output
