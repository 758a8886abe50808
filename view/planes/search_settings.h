// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "detection/plane_search.h"
#include "reports/plane_finding.h"
#include "view/http/answer.h"

namespace orvix::view {

/// The settings of the searches as a page shows them: {"plane": [...], "planes": [...]}, each with
/// name, caption, unit, bounds, choices, the project's value and its meaning.
///
/// Errors  those of detail::SettingsUnsaved.
Expected<Json> SettingsJson(const CString& project);

/// What a body asks for: {"seed": [x, y, z], "settings": {...}}.
///
/// Errors  BadInput for what is no JSON, a name that is not among the settings and a value outside its
///         bounds.
Expected<reports::PlaneRequest> PlaneRequestOf(const std::string& body);

/// {"saved": true} or {"saved": false, "options": {...}}.
struct PlanesRequest {
    bool saved = false;
    detection::PlaneSearchOptions options;
};
/// Errors  as of PlaneRequestOf.
Expected<PlanesRequest> PlanesRequestOf(const std::string& body);

/// {"format": "dxf", "planes": [1, 7]}.
struct ExportRequest {
    std::string format;
    std::vector<std::uint32_t> planes;
};
/// Errors  as of PlaneRequestOf; BadInput for a format that is not among these, and for no plane.
Expected<ExportRequest> ExportRequestOf(const std::string& body);
/// ["ply", "obj", "dxf", "geojson", "ifc"].
Json FormatsJson();

}  // namespace orvix::view
