// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "orvix/points/records.h"

namespace orvix::cli {

/// [x, y, z].
inline nlohmann::ordered_json PointJson(const SimplePointT<double>& p) {
    return nlohmann::ordered_json::array({p.x, p.y, p.z});
}

/// The name of a file that was asked for; null where none was.
inline nlohmann::ordered_json NameOrNull(const std::string& name) {
    return name.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(name);
}

}  // namespace orvix::cli
