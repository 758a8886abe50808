// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "tests/support/process.h"

namespace orvix::test {

using Json = nlohmann::json;
using Cloud = std::vector<SimplePointT<double>>;

/// Runs the built command with these arguments.
ProcessResult Orvix(std::vector<std::string> arguments, const InterruptWhen& interruptWhen = {});

/// The same with --json, which must succeed; its result.
Json OrvixJson(std::vector<std::string> arguments);

/// The error object that the command gives with --json, and its exit code in "exit".
Json OrvixError(std::vector<std::string> arguments);

/// A path as an argument.
std::string Utf8(const CString& path);

/// Writes a cloud as text, one point a line, with as many digits as it takes.
void WriteCloud(const CString& path, const Cloud& cloud);

/// Points on a rectangle `origin` + s * `u` + t * `v` (s, t in 0..1), in a fixed irregular pattern.
Cloud Sheet(std::size_t count, const SimplePointT<double>& origin, const SimplePointT<double>& u,
            const SimplePointT<double>& v);

/// A room of 8 x 6 x 3 m at `origin`: floor and four walls, the wall at y = 0 with a window of
/// 2 x 1 m in its middle.
Cloud Room(const SimplePointT<double>& origin = {});

}  // namespace orvix::test
