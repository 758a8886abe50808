// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scans/e57_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace orvix::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

void Put(Bytes& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void PutAt(Bytes& out, std::size_t at, std::uint64_t value) {
    for (std::size_t i = 0; i < 8; ++i) out[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint64_t Physical(std::uint64_t content) {
    return content / 1020 * 1024 + content % 1020;
}

std::uint32_t SlowCrc(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t crc = ~0U;
    for (std::size_t i = 0; i < count; ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            const bool odd = ((crc ^ (bytes[i] >> bit)) & 1) != 0;
            crc = (crc >> 1) ^ (odd ? 0x82F63B78 : 0);
        }
    }
    return ~crc;
}

unsigned BitsOf(const E57Column& column) {
    unsigned bits = 0;
    for (auto span = static_cast<std::uint64_t>(column.maximum) -
                     static_cast<std::uint64_t>(column.minimum);
         span != 0; span >>= 1) {
        ++bits;
    }
    return bits;
}

Bytes StreamOf(const E57Column& column) {
    Bytes stream;
    for (const double value : column.real) {
        std::uint64_t bits = 0;
        if (column.kind == E57Column::Kind::Single) {
            const auto narrow = static_cast<float>(value);
            std::memcpy(&bits, &narrow, sizeof narrow);
            Put(stream, bits, 4);
        } else {
            std::memcpy(&bits, &value, sizeof value);
            Put(stream, bits, 8);
        }
    }
    std::size_t at = 0;
    const unsigned bits = BitsOf(column);
    for (const std::int64_t value : column.whole) {
        const auto stored =
            static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(column.minimum);
        for (unsigned bit = 0; bit < bits; ++bit, ++at) {
            if (at % 8 == 0) stream.push_back(0);
            if ((stored >> bit & 1) != 0) {
                stream.back() = static_cast<std::uint8_t>(stream.back() | 1U << (at % 8));
            }
        }
    }
    return stream;
}

void PutIdlePacket(Bytes& out, std::uint8_t kind, std::size_t bytes) {
    const std::size_t start = out.size();
    Put(out, kind, 1);
    Put(out, 0, 1);
    Put(out, bytes - 1, 2);
    out.resize(start + bytes, 0xAB);
}

void PutDataPacket(Bytes& out, const std::vector<Bytes>& parts) {
    std::size_t bytes = 6 + 2 * parts.size();
    for (const Bytes& part : parts) bytes += part.size();
    const std::size_t padded = (bytes + 3) / 4 * 4;
    Put(out, 1, 1);
    Put(out, 0, 1);
    Put(out, padded - 1, 2);
    Put(out, parts.size(), 2);
    for (const Bytes& part : parts) Put(out, part.size(), 2);
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    out.resize(out.size() + padded - bytes, 0);
}

// Hands the streams out in packets whose parts end anywhere.
void PutPackets(Bytes& out, std::vector<Bytes> streams, const E57Layout& layout) {
    std::mt19937 random(layout.seed);
    std::vector<std::size_t> used(streams.size(), 0);
    for (std::size_t packet = 0;; ++packet) {
        std::vector<Bytes> parts(streams.size());
        bool any = false;
        for (std::size_t i = 0; i < streams.size(); ++i) {
            const std::size_t left = streams[i].size() - used[i];
            if (left == 0 || (layout.columnByColumn && any)) continue;
            any = true;
            const std::size_t most = layout.bytesPerPacket / streams.size() + 1;
            const std::size_t part = std::min<std::size_t>(left, 1 + random() % (2 * most));
            const auto from = streams[i].begin() + static_cast<std::ptrdiff_t>(used[i]);
            parts[i].assign(from, from + static_cast<std::ptrdiff_t>(part));
            used[i] += part;
        }
        if (!any) return;
        if (layout.emptyPackets && packet % 3 == 1) PutIdlePacket(out, 2, 4 * (1 + packet % 5));
        if (layout.indexPackets && packet % 4 == 2) PutIdlePacket(out, 0, 16 + 16);
        PutDataPacket(out, parts);
    }
}

std::string FieldXml(const E57Column& column) {
    switch (column.kind) {
        case E57Column::Kind::Integer:
            return fmt::format("<{} type=\"Integer\" minimum=\"{}\" maximum=\"{}\"/>", column.name,
                               column.minimum, column.maximum);
        case E57Column::Kind::Scaled:
            return fmt::format(
                "<{} type=\"ScaledInteger\" minimum=\"{}\" maximum=\"{}\" "
                "scale=\"{}\" offset=\"{}\"/>",
                column.name, column.minimum, column.maximum, column.scale, column.offset);
        case E57Column::Kind::Single:
            return fmt::format("<{} type=\"Float\" precision=\"single\"/>", column.name);
        case E57Column::Kind::Double:
            break;
    }
    return fmt::format("<{} type=\"Float\"/>", column.name);
}

std::string ScanXml(const E57TestScan& scan, std::uint64_t offset) {
    const E57Column* first = scan.columns.empty() ? nullptr : &scan.columns.front();
    const std::size_t records = first == nullptr ? 0 : first->whole.size() + first->real.size();
    std::string xml = "<vectorChild type=\"Structure\">\n";
    if (!scan.name.empty()) {
        xml += fmt::format("<name type=\"String\"><![CDATA[{}]]></name>\n", scan.name);
    }
    if (scan.pose) {
        const auto& [w, x, y, z] = scan.pose->rotation;
        const auto& t = scan.pose->translation;
        xml += fmt::format(
            "<pose type=\"Structure\"><rotation type=\"Structure\">"
            "<w type=\"Float\">{}</w><x type=\"Float\">{}</x>"
            "<y type=\"Float\">{}</y><z type=\"Float\">{}</z></rotation>"
            "<translation type=\"Structure\"><x type=\"Float\">{}</x>"
            "<y type=\"Float\">{}</y><z type=\"Float\">{}</z></translation></pose>\n",
            w, x, y, z, t[0], t[1], t[2]);
    }
    xml += scan.extraXml;
    xml += fmt::format(
        "<points type=\"CompressedVector\" fileOffset=\"{}\" recordCount=\"{}\">"
        "<prototype type=\"Structure\">\n",
        scan.xmlOffset.value_or(offset), scan.xmlRecords.value_or(records));
    for (const E57Column& column : scan.columns) xml += FieldXml(column) + "\n";
    return xml + "</prototype><codecs type=\"Vector\"/></points>\n</vectorChild>\n";
}

}  // namespace

std::vector<std::uint8_t> PageE57(Bytes content, std::uint64_t xmlAt, std::uint64_t xmlBytes) {
    content.resize((content.size() + 1019) / 1020 * 1020, ' ');
    std::memcpy(content.data(), "ASTM-E57\1\0\0\0\0\0\0\0", 16);
    PutAt(content, 16, content.size() / 1020 * 1024);
    PutAt(content, 24, Physical(xmlAt));
    PutAt(content, 32, xmlBytes);
    PutAt(content, 40, 1024);
    Bytes file;
    for (std::size_t at = 0; at < content.size(); at += 1020) {
        const auto page = content.begin() + static_cast<std::ptrdiff_t>(at);
        file.insert(file.end(), page, page + 1020);
        const std::uint32_t crc = SlowCrc(content.data() + at, 1020);
        for (const int shift : {24, 16, 8, 0}) {
            file.push_back(static_cast<std::uint8_t>(crc >> shift));
        }
    }
    return file;
}

std::vector<std::uint8_t> MakeE57(const std::vector<E57TestScan>& scans, const E57Layout& layout) {
    Bytes content(48);
    std::string xml = layout.xmlBefore +
                      "<e57Root type=\"Structure\" xmlns=\"http://www.astm.org/COMMIT/E57/"
                      "2010-e57-v1.0\" xmlns:nor=\"http://example.org/normals\">\n"
                      "<nor:version type=\"Integer\">1</nor:version>\n"
                      "<data3D type=\"Vector\" allowHeterogeneousChildren=\"1\">\n";
    for (const E57TestScan& scan : scans) {
        const std::size_t start = content.size();
        content.resize(start + 32);
        std::vector<Bytes> streams;
        for (const E57Column& column : scan.columns) streams.push_back(StreamOf(column));
        PutPackets(content, streams, layout);
        content[start] = 1;
        PutAt(content, start + 8, content.size() - start);
        PutAt(content, start + 16, Physical(start + 32));
        xml += ScanXml(scan, Physical(start));
    }
    xml += "</data3D>\n</e57Root>\n";
    const std::size_t xmlAt = content.size();
    content.insert(content.end(), xml.begin(), xml.end());
    return PageE57(std::move(content), xmlAt, xml.size());
}

}  // namespace orvix::test
