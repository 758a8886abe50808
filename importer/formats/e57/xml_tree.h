// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvix/platform/error.h"

namespace orvix::importer {

/// An element of an XML document; its name is as written, with a prefix.
struct XmlElement {
    std::string name;
    std::string text;  ///< all character data directly in it, CDATA included
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlElement> children;

    /// The first child of that name; null when there is none.
    [[nodiscard]] const XmlElement* Child(std::string_view childName) const;
    /// The attribute's value; null when there is none.
    [[nodiscard]] const std::string* Attribute(std::string_view attributeName) const;
};

/// Parses a whole XML document; its bytes may be hostile.
///
/// Boundaries at most 64 MiB, 64 elements deep, 2,000,000 elements and attributes together, and no
///            document type declaration, so that no entity can grow. All of that is checked before
///            the parser itself starts.
/// Errors   BadInput with what is wrong and at which byte of the text.
/// Cost     about 300 bytes of memory per element.
Expected<XmlElement> ParseXml(std::string_view text);

}  // namespace orvix::importer
