// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvix::test {

/// A field of a scan's records, with its values: whole numbers as they are stored in `whole`,
/// others in `real`.
struct E57Column {
    enum class Kind { Integer, Scaled, Single, Double };

    std::string name;
    Kind kind = Kind::Double;
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    double scale = 1;
    double offset = 0;
    std::vector<std::int64_t> whole{};
    std::vector<double> real{};
};

struct E57Pose {
    std::array<double, 4> rotation{1, 0, 0, 0};  ///< w, x, y, z
    std::array<double, 3> translation{0, 0, 0};
};

struct E57TestScan {
    std::string name;
    std::vector<E57Column> columns{};
    std::optional<E57Pose> pose{};
    std::string extraXml{};  ///< elements of the scan beside its points
    // What the XML says of the points where it is to contradict them.
    std::optional<std::uint64_t> xmlOffset{};
    std::optional<std::uint64_t> xmlRecords{};
};

/// How the records are laid out in packets.
struct E57Layout {
    std::size_t bytesPerPacket = 1000;  ///< of all streams, about
    unsigned seed = 1;                  ///< parts of streams are of random lengths
    bool columnByColumn = false;        ///< packets hold one stream after the other
    bool indexPackets = false;
    bool emptyPackets = false;
    std::string xmlBefore = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
};

/// A whole E57 file. Written on its own: bits one by one, checksums bit by bit.
std::vector<std::uint8_t> MakeE57(const std::vector<E57TestScan>& scans,
                                  const E57Layout& layout = {});

/// Content divided into pages with their checksums, behind a header that places `xmlBytes` of XML
/// at content byte `xmlAt`. The first 48 bytes of the content are the header's.
std::vector<std::uint8_t> PageE57(std::vector<std::uint8_t> content, std::uint64_t xmlAt,
                                  std::uint64_t xmlBytes);

}  // namespace orvix::test
