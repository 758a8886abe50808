// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/e57_document.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "importer/formats/number_text.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kMaxFields = 1000;
constexpr std::size_t kNameBytes = 4096;

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool ParseWhole(std::string_view text, std::int64_t& value) {
    text = Trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool ParseReal(std::string_view text, double& value) {
    text = Trimmed(text);
    const char* last = text.data() + text.size();
    return !text.empty() && ParseNumber(text.data(), last, '.', value) == last;
}

/// Reads elements and attributes, and notes the first fault in them.
class Reading {
public:
    explicit Reading(std::string place) : place_(std::move(place)) {}

    [[nodiscard]] bool Failed() const { return !fault_.empty(); }
    [[nodiscard]] tl::unexpected<Error> Fault() const { return Fail(ErrorCode::BadInput, fault_); }
    void NoteFault(const XmlElement& element, const std::string& what) {
        if (fault_.empty()) fault_ = fmt::format("{}: <{}> {}", place_, element.name, what);
    }

    /// An attribute that is a number; `absent` where there is none.
    std::int64_t Whole(const XmlElement& element, std::string_view name, std::int64_t absent) {
        const std::string* text = element.Attribute(name);
        if (text == nullptr || ParseWhole(*text, absent)) return absent;
        NoteFault(element, fmt::format("has the {} \"{}\", which is no whole number", name,
                                       text->substr(0, 40)));
        return 0;
    }
    double Real(const XmlElement& element, std::string_view name, double absent) {
        const std::string* text = element.Attribute(name);
        if (text == nullptr || (ParseReal(*text, absent) && std::isfinite(absent))) return absent;
        NoteFault(element,
                  fmt::format("has the {} \"{}\", which is no number", name, text->substr(0, 40)));
        return 0;
    }
    /// The number that an element of any numeric type holds; an empty one is 0.
    double Number(const XmlElement& element) {
        double value = 0;
        if (!Trimmed(element.text).empty() && !ParseReal(element.text, value)) {
            NoteFault(element,
                      fmt::format("holds \"{}\", which is no number", element.text.substr(0, 40)));
        }
        const std::string* type = element.Attribute("type");
        if (type == nullptr || *type != "ScaledInteger") return value;
        return value * Real(element, "scale", 1) + Real(element, "offset", 0);
    }
    double NumberOf(const XmlElement* parent, std::string_view child, double absent) {
        const XmlElement* element = parent == nullptr ? nullptr : parent->Child(child);
        return element == nullptr ? absent : Number(*element);
    }

private:
    std::string place_;
    std::string fault_;
};

// As much of a UTF-8 text as a name holds, and no half letter at its end.
std::string_view ShortName(std::string_view text) {
    if (text.size() <= kNameBytes) return text;  // BEHAVIOUR X19
    std::size_t end = kNameBytes;
    const auto continues = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    for (int i = 0; i < 3 && continues(end); ++i) --end;
    // Four continuations in a row are in no letter: such a text is no UTF-8, and is cut as bytes.
    return text.substr(0, continues(end) ? kNameBytes : end);
}

std::string TextOf(const XmlElement& parent, std::string_view child) {
    const XmlElement* element = parent.Child(child);
    if (element == nullptr) return {};
    return std::string(ShortName(Trimmed(element->text)));
}

E57Field ReadField(const XmlElement& element, Reading& reading) {
    using Kind = E57Field::Kind;
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    E57Field field;
    field.name = element.name;
    const std::string* type = element.Attribute("type");
    const std::string_view word = type == nullptr ? std::string_view() : std::string_view(*type);
    if (word == "Float") {
        const std::string* precision = element.Attribute("precision");
        const bool single = precision != nullptr && *precision == "single";
        field.kind = single ? Kind::Single : Kind::Double;
        field.bits = single ? 32 : 64;
    } else if (word == "Integer" || word == "ScaledInteger") {
        field.kind = word == "Integer" ? Kind::Integer : Kind::ScaledInteger;
        field.minimum = reading.Whole(element, "minimum", kMin);
        field.maximum = reading.Whole(element, "maximum", kMax);
        field.scale = reading.Real(element, "scale", 1);
        field.offset = reading.Real(element, "offset", 0);
        if (field.maximum < field.minimum) {
            reading.NoteFault(element, fmt::format("has the range {} to {}, which holds no number",
                                                   field.minimum, field.maximum));
        }
        field.bits = static_cast<unsigned>(std::bit_width(
            static_cast<std::uint64_t>(field.maximum) - static_cast<std::uint64_t>(field.minimum)));
    } else if (word == "String") {
        field.kind = Kind::String;
        field.bits = 8;
    } else {
        reading.NoteFault(element,
                          fmt::format("is of type \"{}\", which no record field is", word));
    }
    return field;
}

// Streams are numbered by the fields without fields of their own, in document order.
void CollectFields(const XmlElement& parent, bool outermost, Reading& reading,
                   std::vector<E57Field>& fields) {
    for (const XmlElement& child : parent.children) {
        const std::string* type = child.Attribute("type");
        if (fields.size() == kMaxFields) {
            return reading.NoteFault(parent, fmt::format("has more than {} fields", kMaxFields));
        }
        if (type != nullptr && (*type == "Structure" || *type == "Vector")) {
            CollectFields(child, false, reading, fields);
            continue;
        }
        fields.push_back(ReadField(child, reading));
        if (!outermost) fields.back().name.insert(0, parent.name + "/");
    }
}

void ReadCodecs(const XmlElement& points, Reading& reading) {
    const XmlElement* codecs = points.Child("codecs");
    if (codecs == nullptr) return;
    for (const XmlElement& codec : codecs->children) {
        if (codec.Child("bitPackCodec") != nullptr || codec.name == "bitPackCodec") continue;
        reading.NoteFault(codec,
                          "packs fields in a way that is not read; export the file without it");
    }
}

// BEHAVIOUR X17
void ReadPose(const XmlElement& scan, Reading& reading, ScanPose& pose) {
    const XmlElement* element = scan.Child("pose");
    if (element == nullptr) return;
    if (const XmlElement* turn = element->Child("rotation")) {
        const Quaternion stored{reading.NumberOf(turn, "w", 1), reading.NumberOf(turn, "x", 0),
                                reading.NumberOf(turn, "y", 0), reading.NumberOf(turn, "z", 0)};
        const auto unit = Normalised(stored);
        if (!unit) reading.NoteFault(*turn, "is no rotation");
        pose.rotation = unit.value_or(Quaternion{});
    }
    const XmlElement* move = element->Child("translation");
    pose.position = {reading.NumberOf(move, "x", 0), reading.NumberOf(move, "y", 0),
                     reading.NumberOf(move, "z", 0)};
    const auto& p = pose.position;
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
        reading.NoteFault(*move, "is no position");
    }
}

std::optional<E57Limits> LimitsOf(const E57Scan& scan, std::string_view fieldName,
                                  const XmlElement* element, const std::string& childName,
                                  Reading& reading) {
    const auto place = scan.Find(fieldName);
    if (!place) return std::nullopt;
    const E57Field& field = scan.fields[*place];
    E57Limits limits{0, 0};
    if (element != nullptr && element->Child(childName + "Maximum") != nullptr) {
        limits = {reading.NumberOf(element, childName + "Minimum", 0),
                  reading.NumberOf(element, childName + "Maximum", 0)};
    } else if (field.IsWhole() && field.bits <= 32) {
        const std::uint64_t span =
            static_cast<std::uint64_t>(field.maximum) - static_cast<std::uint64_t>(field.minimum);
        limits = {field.ValueOf(0), field.ValueOf(span)};
        if (limits.high < limits.low) std::swap(limits.low, limits.high);
    }
    const bool span = std::isfinite(limits.low) && std::isfinite(limits.high) &&
                      limits.high > limits.low && std::isfinite(limits.high - limits.low);
    return span ? std::optional(limits) : std::nullopt;
}

void ReadPoints(const XmlElement& points, Reading& reading, E57Scan& scan) {
    const std::int64_t offset = reading.Whole(points, "fileOffset", 0);
    const std::int64_t records = reading.Whole(points, "recordCount", 0);
    if (offset < 0 || records < 0) reading.NoteFault(points, "counts below zero");
    scan.sectionPhysical = static_cast<std::uint64_t>(offset);
    scan.records = static_cast<std::uint64_t>(records);
    if (const XmlElement* prototype = points.Child("prototype")) {
        CollectFields(*prototype, true, reading, scan.fields);
    }
    ReadCodecs(points, reading);
}

Expected<E57Scan> ReadScan(const XmlElement& element, std::size_t number) {
    E57Scan scan;
    scan.name = TextOf(element, "name");
    scan.guid = TextOf(element, "guid");
    Reading reading(scan.name.empty() ? fmt::format("scan {}", number + 1)
                                      : fmt::format("scan {} \"{}\"", number + 1, scan.name));
    ReadPose(element, reading, scan.pose);
    if (const XmlElement* points = element.Child("points")) ReadPoints(*points, reading, scan);
    scan.intensity =
        LimitsOf(scan, "intensity", element.Child("intensityLimits"), "intensity", reading);
    constexpr const char* kColours[] = {"colorRed", "colorGreen", "colorBlue"};
    for (std::size_t i = 0; i < scan.colour.size(); ++i) {
        scan.colour[i] =
            LimitsOf(scan, kColours[i], element.Child("colorLimits"), kColours[i], reading);
    }
    if (reading.Failed()) return reading.Fault();
    return scan;
}

}  // namespace

std::optional<std::size_t> E57Scan::Find(std::string_view field) const {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const E57Field& f) { return f.name == field; });
    if (found == fields.end()) return std::nullopt;
    return static_cast<std::size_t>(found - fields.begin());
}

Expected<std::vector<E57Scan>> ReadE57Scans(std::string_view xml) {
    // Writers fill the end of the section up.
    while (!xml.empty() && (xml.back() == '\0' || xml.back() == ' ')) xml.remove_suffix(1);
    auto root = ParseXml(xml);
    if (!root) return ErrorOf(root);
    if (root->name != "e57Root") {
        return Fail(ErrorCode::BadInput,
                    fmt::format("its outermost element is <{}> instead of <e57Root>",
                                root->name.substr(0, 40)));
    }
    std::vector<E57Scan> scans;
    const XmlElement* list = root->Child("data3D");
    if (list == nullptr) return scans;
    for (const XmlElement& element : list->children) {
        auto scan = ReadScan(element, scans.size());
        if (!scan) return ErrorOf(scan);
        scans.push_back(std::move(*scan));
    }
    return scans;
}

}  // namespace orvix::importer
