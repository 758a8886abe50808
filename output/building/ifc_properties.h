// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "building/building.h"
#include "output/ifc/ifc_file.h"

namespace orvix::output {

/// GlobalIds that are each given once: things with the same values have the same identifier but for a
/// count.
class IfcIds {
public:
    std::string Of(const std::string& bytes);

private:
    std::set<std::string> given_;
};

/// The properties and quantities of an IFC file's elements.
///
///     IfcProperties properties(file, ids);
///     properties.Add("Width", building::Measure{0.3, 0.298, 0.302});
///     properties.AttachSet("Orvix_Evidence", wall, wallBytes);
class IfcProperties {
public:
    IfcProperties(IfcFile& file, IfcIds& ids) : file_(file), ids_(ids) {}

    /// Each is a property of the set that is attached next.
    void Add(const char* name, const char* type, double value);
    void Add(const char* name, std::uint64_t count);
    void Add(const char* name, bool value);
    void Add(const char* name, const std::string& text);
    void Add(const char* name, const std::vector<std::string>& texts);
    /// A value with its bounds; `type` such as IFCLENGTHMEASURE.
    void Add(const char* name, const char* type, const building::Measure& measure);
    void Add(const building::Evidence& evidence);

    /// Each is a quantity of the set that is attached next.
    void AddLength(const char* name, double metres);
    void AddArea(const char* name, double squareMetres);
    void AddVolume(const char* name, double cubicMetres);

    /// Attaches what was added to an element, whose identity is `bytes`; nothing where nothing was.
    void AttachSet(const char* name, std::size_t element, const std::string& bytes);
    void AttachQuantities(const char* name, std::size_t element, const std::string& bytes);

private:
    void AddValue(const char* name, const std::string& value);
    void Attach(std::size_t definition, std::size_t element, const std::string& bytes);

    IfcFile& file_;
    IfcIds& ids_;
    std::vector<std::size_t> properties_;
    std::vector<std::size_t> quantities_;
};

}  // namespace orvix::output
