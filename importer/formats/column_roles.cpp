// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/column_roles.h"

#include <string_view>

namespace orvix::importer {
namespace {

constexpr std::size_t kSpellings = 10;

// Plainest first. Empty places end a row.
constexpr std::array<std::array<std::string_view, kSpellings>, kRoles> kNames{{
    {"x", "easting", "east"},
    {"y", "northing", "north"},
    {"z", "elevation", "height", "altitude"},
    {"intensity", "scalar_intensity", "reflectance", "scalar_reflectance", "reflectivity",
     "remission", "amplitude", "scalar_amplitude", "intens", "i"},
    {"red", "r", "diffuse_red"},
    {"green", "g", "diffuse_green"},
    {"blue", "b", "diffuse_blue"},
    {"classification", "scalar_classification", "class", "scalar_class", "label", "scalar_label"},
}};

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string Plain(std::string_view name) {
    std::string plain;
    for (const char c : name.substr(0, name.find_first_of("[("))) {
        if (c != '"' && c != '\'' && c != ' ' && c != '\t' && c != '\r') plain += Lower(c);
    }
    return plain;
}

std::optional<std::size_t> Find(std::span<const std::string> names, std::string_view wanted) {
    const auto found = std::find(names.begin(), names.end(), wanted);
    if (found == names.end()) return std::nullopt;
    return static_cast<std::size_t>(found - names.begin());
}

}  // namespace

std::vector<Role> RoleColumns::ByColumn() const {
    std::vector<Role> roles;
    for (std::size_t role = 0; role < kRoles; ++role) {
        if (!column[role]) continue;
        if (roles.size() <= *column[role]) roles.resize(*column[role] + 1, Role::None);
        roles[*column[role]] = static_cast<Role>(role);
    }
    return roles;
}

RoleColumns FindRoles(std::span<const std::string> names) {
    std::vector<std::string> plain;
    for (const std::string& name : names) plain.push_back(Plain(name));
    RoleColumns columns;
    for (std::size_t role = 0; role < kRoles; ++role) {
        for (const std::string_view spelling : kNames[role]) {
            if (!columns.column[role] && !spelling.empty()) {
                columns.column[role] = Find(plain, spelling);
            }
        }
    }
    if (!columns.Has(Role::Red) || !columns.Has(Role::Green) || !columns.Has(Role::Blue)) {
        for (const Role role : {Role::Red, Role::Green, Role::Blue}) {
            columns.column[static_cast<std::size_t>(role)].reset();
        }
    }
    return columns;
}

void DescribeRoles(const RoleColumns& columns, ScanInfo& info) {
    info.hasIntensity = columns.Has(Role::Intensity);
    info.hasColour = columns.HasColour();
    info.hasClassification = columns.Has(Role::Class);
}

}  // namespace orvix::importer
