// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/text_file.h"

namespace orvix::output {

/// The entities of an IFC4 file in their order, each with the number by which others name it.
///
///     IfcFile ifc(file, "planes.ifc");
///     const std::size_t point = ifc.Add("IFCCARTESIANPOINT(({},{}))", Real(x), Real(y));
///     ifc.End();
///
/// Dates and names of persons are left empty, so that the same model is the same bytes.
class IfcFile {
public:
    IfcFile(TextFile& file, std::string_view name);

    template <class... Arguments>
    std::size_t Add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        file_.Print("#{}={};\n", ++last_,
                    fmt::format(format, std::forward<Arguments>(arguments)...));
        return last_;
    }
    /// Metres, square and cubic metres, radians.
    std::size_t AddUnits();
    /// Says where the model's zero lies in the world; nothing where it is the world's own.
    void AddMapConversion(std::size_t context, const detail::Vector& zero);
    void End();

private:
    TextFile& file_;
    std::size_t last_ = 0;
};

/// "(#1,#2)"
std::string ListOf(const std::vector<std::size_t>& ids);

/// A number with up to nine digits behind the point, which it always has: "12.5", "3.".
std::string Real(double value);

/// A text between apostrophes; what is no printable ASCII character is escaped.
std::string Text(std::string_view utf8);

/// Where a model's zero lies: whole hundreds of metres near `place`, so that coordinates stay small;
/// zero itself where the farthest of them are small already.
detail::Vector ModelZero(double farthestCoordinate, const detail::Vector& place);

}  // namespace orvix::output
