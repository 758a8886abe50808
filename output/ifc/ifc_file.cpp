// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/ifc/ifc_file.h"

#include <cmath>

#include "orvix/platform/text.h"

namespace orvix::output {

IfcFile::IfcFile(TextFile& file, std::string_view name) : file_(file) {
    file_.Print(
        "ISO-10303-21;\nHEADER;\n"
        "FILE_DESCRIPTION(('ViewDefinition [notYetAssigned]'),'2;1');\n"
        "FILE_NAME('{}','1970-01-01T00:00:00',(''),(''),'orvix','orvix','');\n"
        "FILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n",
        name);
}

std::size_t IfcFile::AddUnits() {
    std::vector<std::size_t> units;
    for (const auto& [quantity, unit] :
         {std::pair{"LENGTHUNIT", "METRE"}, std::pair{"AREAUNIT", "SQUARE_METRE"},
          std::pair{"VOLUMEUNIT", "CUBIC_METRE"}, std::pair{"PLANEANGLEUNIT", "RADIAN"}})
        units.push_back(Add("IFCSIUNIT(*,.{}.,$,.{}.)", quantity, unit));
    return Add("IFCUNITASSIGNMENT({})", ListOf(units));
}

void IfcFile::AddMapConversion(std::size_t context, const detail::Vector& zero) {
    if (zero.x == 0 && zero.y == 0 && zero.z == 0) return;
    const std::size_t system =
        Add("IFCPROJECTEDCRS('Scan','The coordinate system of the scan',$,$,$,$,$)");
    Add("IFCMAPCONVERSION(#{},#{},{:.1f},{:.1f},{:.1f},1.,0.,1.)", context, system, zero.x, zero.y,
        zero.z);
}

void IfcFile::End() {
    file_.Print("ENDSEC;\nEND-ISO-10303-21;\n");
}

std::string ListOf(const std::vector<std::size_t>& ids) {
    std::string list = "(";
    for (const std::size_t id : ids) list += fmt::format("{}#{}", list.size() > 1 ? "," : "", id);
    return list + ")";
}

std::string Real(double value) {
    std::string text = fmt::format("{:.9f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    return text == "-0." ? "0." : text;
}

// Printable ASCII stands for itself; another character is its code in four or eight hexadecimal digits.
std::string Text(std::string_view utf8) {
    std::string text = "'";
    std::uint32_t high = 0;
    for (const wchar_t unit : platform::FromUtf8(utf8)) {
        auto c = static_cast<std::uint32_t>(unit);
        // Where wide characters have 16 bits, one beyond them is two.
        if (c >= 0xD800 && c < 0xDC00) {
            high = c;
            continue;
        }
        if (c >= 0xDC00 && c < 0xE000 && high != 0)
            c = 0x10000 + ((high - 0xD800) << 10) + (c - 0xDC00);
        high = 0;
        if (c >= 0xD800 && c < 0xE000) c = '?';  // a byte that is no UTF-8
        if (c == '\'' || c == '\\')
            text.append(2, static_cast<char>(c));
        else if (c >= 32 && c < 127)
            text += static_cast<char>(c);
        else
            text += c < 0x10000 ? fmt::format("\\X2\\{:04X}\\X0\\", c)
                                : fmt::format("\\X4\\{:08X}\\X0\\", c);
    }
    return text + "'";
}

detail::Vector ModelZero(double farthestCoordinate, const detail::Vector& place) {
    constexpr double kSmall = 1000, kStep = 100;
    if (farthestCoordinate <= kSmall) return {};
    const auto whole = [](double value) { return std::floor(value / kStep) * kStep; };
    return {whole(place.x), whole(place.y), whole(place.z)};
}

}  // namespace orvix::output
