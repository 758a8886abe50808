// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/ply/ply_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "importer/formats/line_blocks.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kHeaderLimit = 1u << 20;
constexpr std::size_t kPropertyLimit = 4096;

struct TypeName {
    std::string_view name;
    PlyType type;
};
constexpr TypeName kTypeNames[] = {
    {"char", PlyType::Int8},      {"int8", PlyType::Int8},     {"uchar", PlyType::UInt8},
    {"uint8", PlyType::UInt8},    {"short", PlyType::Int16},   {"int16", PlyType::Int16},
    {"ushort", PlyType::UInt16},  {"uint16", PlyType::UInt16}, {"int", PlyType::Int32},
    {"int32", PlyType::Int32},    {"uint", PlyType::UInt32},   {"uint32", PlyType::UInt32},
    {"float", PlyType::Float},    {"float32", PlyType::Float}, {"double", PlyType::Double},
    {"float64", PlyType::Double},
};

std::optional<PlyType> FindType(std::string_view name) {
    for (const TypeName& known : kTypeNames) {
        if (known.name == name) return known.type;
    }
    return std::nullopt;
}

bool IsFloating(PlyType type) {
    return type == PlyType::Float || type == PlyType::Double;
}

std::vector<std::string_view> Words(std::string_view line) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at < line.size();) {
        if (IsBlank(line[at])) {
            ++at;
            continue;
        }
        const std::size_t start = at;
        while (at < line.size() && !IsBlank(line[at])) ++at;
        words.push_back(line.substr(start, at - start));
    }
    return words;
}

/// Reads the header's lines one by one; each method returns what is wrong with its line, if
/// anything is.
class HeaderParser {
public:
    using Fault = std::optional<std::string>;

    Fault Line(const std::vector<std::string_view>& words) {
        if (words.empty() || words[0] == "obj_info") return {};
        if (words[0] == "comment") {
            Comment(words);
            return {};
        }
        if (words[0] == "format") return Format(words);
        if (words[0] == "element") return Element(words);
        if (words[0] == "property") return Property(words);
        return "this keyword is not of a PLY header. Where the data begin here, the line "
               "end_header before them is missing";
    }
    /// What is missing once the header has ended.
    Fault Finish();

    PlyHeader header;

private:
    void Comment(const std::vector<std::string_view>& words);
    Fault Format(const std::vector<std::string_view>& words);
    Fault Element(const std::vector<std::string_view>& words);
    Fault Property(const std::vector<std::string_view>& words);
    void ChooseColourScale();

    bool hasFormat_ = false;
    std::size_t properties_ = 0;
};

// A comment of that name that holds anything else is a comment like any other.
void HeaderParser::Comment(const std::vector<std::string_view>& words) {
    if (words.size() != 5 || words[1] != "orvix_origin") return;
    std::array<double, 3> origin{};
    for (std::size_t axis = 0; axis < origin.size(); ++axis) {
        const std::string_view word = words[2 + axis];
        const auto result = std::from_chars(word.data(), word.data() + word.size(), origin[axis]);
        if (result.ec != std::errc() || result.ptr != word.data() + word.size()) return;
    }
    header.exportedOrigin = origin;
}

HeaderParser::Fault HeaderParser::Format(const std::vector<std::string_view>& words) {
    hasFormat_ = true;
    const std::string_view name = words.size() > 1 ? words[1] : "";
    if (name == "ascii") {
        header.encoding = PlyEncoding::Ascii;
    } else if (name == "binary_little_endian") {
        header.encoding = PlyEncoding::LittleEndian;
    } else if (name == "binary_big_endian") {
        header.encoding = PlyEncoding::BigEndian;
    } else {
        return "the format is none of ascii, binary_little_endian and binary_big_endian";
    }
    return {};
}

HeaderParser::Fault HeaderParser::Element(const std::vector<std::string_view>& words) {
    PlyElement element;
    if (words.size() != 3) return "an element needs a name and a count";
    element.name = words[1];
    const bool again = element.name == "vertex" &&
                       std::any_of(header.elements.begin(), header.elements.end(),
                                   [](const PlyElement& e) { return e.name == "vertex"; });
    if (again) return "there is a vertex element already, and a scan has one list of points";
    const char* last = words[2].data() + words[2].size();
    const auto result = std::from_chars(words[2].data(), last, element.count);
    if (result.ec != std::errc() || result.ptr != last) {
        return "the count is no whole number below 2^64";
    }
    if (header.elements.size() == kPropertyLimit) return "there are too many elements";
    header.elements.push_back(std::move(element));
    return {};
}

HeaderParser::Fault HeaderParser::Property(const std::vector<std::string_view>& words) {
    if (header.elements.empty()) return "a property stands before the first element";
    if (++properties_ > kPropertyLimit) return "there are too many properties";
    const bool list = words.size() == 5 && words[1] == "list";
    if (!list && words.size() != 3) return "a property needs a type and a name";
    PlyProperty property;
    const auto type = FindType(list ? words[3] : words[1]);
    if (!type) return "this property type is not known";
    property.type = *type;
    property.name = words.back();
    if (list) {
        property.countType = FindType(words[2]);
        if (!property.countType || IsFloating(*property.countType)) {
            return "a list needs its length in an integer type";
        }
    }
    header.elements.back().properties.push_back(std::move(property));
    return {};
}

HeaderParser::Fault HeaderParser::Finish() {
    if (!hasFormat_) return "it has no format line";
    const auto& elements = header.elements;
    const auto vertex = std::find_if(elements.begin(), elements.end(),
                                     [](const PlyElement& e) { return e.name == "vertex"; });
    if (vertex == elements.end()) return "it has no vertex element, so there are no points";
    header.vertexElement = static_cast<std::size_t>(vertex - elements.begin());
    std::vector<std::string> names;
    for (const PlyProperty& property : vertex->properties) {
        names.push_back(property.countType ? std::string() : property.name);
    }
    header.columns = FindRoles(names);
    if (!header.columns.HasPosition()) return "its vertices have no properties x, y and z";
    ChooseColourScale();
    return {};
}

void HeaderParser::ChooseColourScale() {
    if (!header.columns.HasColour()) return;
    const auto& properties = header.Vertex().properties;
    const PlyType type = properties[header.columns.Of(Role::Red)].type;
    if (IsFloating(type)) header.colourScale = 65535;  // BEHAVIOUR X7
    if (SizeOf(type) == 1) header.colourBits = 8;
    if (SizeOf(type) == 2 || IsFloating(type)) header.colourBits = 16;
}

/// A line as a message may hold it: binary data show as dots.
std::string Printable(std::string_view line) {
    std::string text(line);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
    return text;
}

/// The header is read in one go; only its first line shows how lines end.
char LineEndOf(std::string_view text) {
    const std::size_t end = text.find_first_of("\r\n");
    const bool carriageReturn = end != std::string_view::npos && text[end] == '\r' &&
                                (end + 1 == text.size() || text[end + 1] != '\n');
    return carriageReturn ? '\r' : '\n';
}

}  // namespace

std::size_t SizeOf(PlyType type) {
    constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    return kSizes[static_cast<std::size_t>(type)];
}

bool PlyElement::HasList() const {
    return std::any_of(properties.begin(), properties.end(),
                       [](const PlyProperty& p) { return p.countType.has_value(); });
}

std::uint64_t PlyElement::MinBytes() const {
    std::uint64_t bytes = 0;
    for (const PlyProperty& property : properties) {
        bytes += SizeOf(property.countType.value_or(property.type));
    }
    return bytes;
}

Expected<PlyHeader> ReadPlyHeader(const ScanFile& file) {
    std::vector<std::uint8_t> bytes;
    const std::uint64_t read = std::min(file.Size(), kHeaderLimit);
    if (auto done = file.ReadBlock(0, static_cast<std::size_t>(read), bytes); !done) {
        return ErrorOf(done);
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    HeaderParser parser;
    parser.header.lineEnd = LineEndOf(text);
    LineCursor lines(text, parser.header.lineEnd);
    std::string_view line;
    std::uint64_t lineNumber = 0;
    while (lines.Next(line)) {
        ++lineNumber;
        const auto words = Words(line);
        if (lineNumber == 1) continue;
        if (words.size() == 1 && words[0] == "end_header") {
            if (const auto complaint = parser.Finish()) {
                return file.Bad("the PLY header cannot be used: " + *complaint + ".");
            }
            parser.header.bodyByte = text.size() - lines.Rest().size();
            parser.header.bodyLine = lineNumber;
            return std::move(parser.header);
        }
        if (const auto complaint = parser.Line(words)) {
            return file.Bad(fmt::format("line {} of the PLY header, \"{}\", cannot be used: {}.",
                                        lineNumber, Printable(line.substr(0, 80)), *complaint));
        }
    }
    return file.Bad(fmt::format(
        "the PLY header does not end: there is no end_header line in the first {} bytes. The file "
        "is cut short or damaged; copy or export it again.",
        platform::CountText(read)));
}

ScanInfo DescribePly(const PlyHeader& header) {
    constexpr std::string_view kNames[] = {"PLY ascii", "PLY binary little-endian",
                                           "PLY binary big-endian"};
    ScanInfo info;
    info.format = kNames[static_cast<std::size_t>(header.encoding)];
    info.declaredPoints = header.Vertex().count;
    DescribeRoles(header.columns, info);
    info.colourBits = header.colourBits;
    info.exportedOrigin = header.exportedOrigin;
    return info;
}

}  // namespace orvix::importer
