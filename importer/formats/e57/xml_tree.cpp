// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/xml_tree.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace orvix::importer {
namespace {

namespace pt = boost::property_tree;

constexpr std::size_t kMaxBytes = std::size_t{64} << 20;
constexpr std::size_t kMaxDepth = 64;
constexpr std::size_t kMaxNodes = 2'000'000;

tl::unexpected<Error> Bad(const std::string& what, std::size_t at) {
    return Fail(ErrorCode::BadInput, fmt::format("{}, at byte {} of it", what, at));
}

/// Walks the tags of a document without understanding them.
class ShapeCheck {
public:
    explicit ShapeCheck(std::string_view text) : text_(text) {}

    Expected<void> Run() {
        for (at_ = text_.find('<'); at_ != std::string_view::npos; at_ = text_.find('<', at_)) {
            const std::string_view rest = text_.substr(at_);
            Expected<void> done;
            if (rest.starts_with("<!--")) {
                done = SkipPast("-->");
            } else if (rest.starts_with("<![CDATA[")) {
                done = SkipPast("]]>");
            } else if (rest.starts_with("<?")) {
                done = SkipPast("?>");
            } else if (rest.starts_with("<!")) {
                done = Bad("it holds a document type declaration", at_);
            } else {
                done = Tag(rest.starts_with("</"));
            }
            if (!done) return done;
        }
        return {};
    }

private:
    Expected<void> SkipPast(std::string_view end) {
        const std::size_t found = text_.find(end, at_);
        if (found == std::string_view::npos) return Bad("a part of it has no end", at_);
        at_ = found + end.size();
        return {};
    }

    // Quotes count only where the parser takes them for a value's, after "=" and behind the name;
    // anywhere else they could hide elements from this walk.
    Expected<void> Tag(bool closing) {
        constexpr std::string_view kBlanks = " \t\r\n";
        const std::size_t start = at_;
        bool named = false;  // the element's name has ended
        char last = '<';     // that is not blank
        for (++at_; at_ < text_.size() && text_[at_] != '>'; ++at_) {
            const char c = text_[at_];
            if (kBlanks.find(c) != std::string_view::npos) {
                named = true;
                continue;
            }
            if (c == '<') return Bad("a tag holds another", start);
            if (c == '"' || c == '\'') {
                if (closing || !named || last != '=') return Bad("a quote is out of place", start);
                at_ = text_.find(c, at_ + 1);
                if (at_ == std::string_view::npos) {
                    return Bad("a value has no closing quote", start);
                }
                ++nodes_;
            }
            last = c;
        }
        if (at_ >= text_.size()) return Bad("a tag has no end", start);
        ++at_;
        ++nodes_;
        if (closing) {
            if (depth_ > 0) --depth_;
        } else if (last != '/' && ++depth_ > kMaxDepth) {
            return Bad(fmt::format("its elements are nested more than {} deep", kMaxDepth), start);
        }
        if (nodes_ > kMaxNodes) {
            return Bad(fmt::format("it holds more than {} elements and attributes", kMaxNodes),
                       start);
        }
        return {};
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0;
    std::size_t nodes_ = 0;
};

XmlElement Convert(const std::string& name, const pt::ptree& tree) {
    XmlElement element;
    element.name = name;
    element.text = tree.data();
    for (const auto& [key, child] : tree) {
        if (key == "<xmlattr>") {
            for (const auto& [attribute, value] : child) {
                element.attributes.emplace_back(attribute, value.data());
            }
        } else {
            element.children.push_back(Convert(key, child));
        }
    }
    return element;
}

}  // namespace

const XmlElement* XmlElement::Child(std::string_view childName) const {
    const auto found = std::find_if(children.begin(), children.end(), [&](const XmlElement& child) {
        return child.name == childName;
    });
    return found == children.end() ? nullptr : &*found;
}

const std::string* XmlElement::Attribute(std::string_view attributeName) const {
    const auto found =
        std::find_if(attributes.begin(), attributes.end(),
                     [&](const auto& attribute) { return attribute.first == attributeName; });
    return found == attributes.end() ? nullptr : &found->second;
}

Expected<XmlElement> ParseXml(std::string_view text) {
    if (text.size() > kMaxBytes) {
        return Bad(fmt::format("it is longer than {} bytes", kMaxBytes), kMaxBytes);
    }
    if (auto shape = ShapeCheck(text).Run(); !shape) return ErrorOf(shape);
    pt::ptree tree;
    try {
        std::istringstream stream{std::string(text)};
        pt::read_xml(stream, tree, pt::xml_parser::no_comments);
    } catch (const pt::xml_parser_error& error) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} in line {} of it", error.message(), error.line()));
    }
    if (tree.size() != 1) return Bad("it has no single outermost element", 0);
    return Convert(tree.front().first, tree.front().second);
}

}  // namespace orvix::importer
