// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/pcd/pcd_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>

#include "importer/formats/line_blocks.h"
#include "importer/formats/number_text.h"
#include "importer/formats/split_columns.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kHeaderBytes = 64u << 10;
constexpr std::size_t kMaxRecordBytes = 64u << 10;
constexpr std::size_t kMaxFields = 1000;

using Words = std::vector<std::string_view>;

bool ParseCount(std::string_view text, std::uint64_t& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

class HeaderReading {
public:
    explicit HeaderReading(const ScanFile& file) : file_(file) {}

    Expected<PcdHeader> Run();

private:
    Expected<void> ReadLines(std::string_view text);
    Expected<void> Fill();
    Expected<void> FillFields();
    Expected<void> FillPoints();
    Expected<void> FillViewpoint();
    void FindColumns();
    [[nodiscard]] const Words* Line(std::string_view key) const {
        const auto found = lines_.find(key);
        return found == lines_.end() ? nullptr : &found->second;
    }
    [[nodiscard]] tl::unexpected<Error> Bad(const std::string& what) const {
        return file_.Bad("the PCD header " + what + ". Correct it, or export the file again.");
    }

    const ScanFile& file_;
    std::map<std::string_view, Words> lines_;
    PcdHeader header_;
};

Expected<PcdHeader> HeaderReading::Run() {
    std::vector<std::uint8_t> bytes;
    const auto size = static_cast<std::size_t>(std::min(file_.Size(), kHeaderBytes));
    if (auto read = file_.ReadBlock(0, size, bytes); !read) return ErrorOf(read);
    Expected<void> done = ReadLines({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (done) done = Fill();
    if (!done) return ErrorOf(done);
    return std::move(header_);
}

Expected<void> HeaderReading::ReadLines(std::string_view text) {
    LineCursor lines(text, '\n');
    std::string_view line;
    while (lines.Next(line)) {
        ++header_.bodyLine;
        Words words = SplitColumns(line, ' ');
        if (words.empty() || words[0].starts_with('#')) continue;
        const std::string_view key = words[0] == "COLUMNS" ? "FIELDS" : words[0];
        words.erase(words.begin());
        lines_[key] = std::move(words);
        if (key != "DATA") continue;
        header_.bodyByte = text.size() - lines.Rest().size();
        return {};
    }
    return Bad(fmt::format("has no line DATA in its first {} bytes", text.size()));
}

Expected<void> HeaderReading::Fill() {
    if (const Words* version = Line("VERSION"); version != nullptr && !version->empty()) {
        header_.version = (*version)[0].starts_with('.') ? "0" : "";
        header_.version += (*version)[0].substr(0, 10);
    }
    const Words* data = Line("DATA");
    const std::string_view word = data->empty() ? std::string_view() : data->front();
    if (word == "ascii") {
        header_.encoding = PcdEncoding::Ascii;
    } else if (word == "binary") {
        header_.encoding = PcdEncoding::Binary;
    } else if (word == "binary_compressed") {
        header_.encoding = PcdEncoding::Compressed;
    } else {
        return Bad(fmt::format("names the unknown encoding \"{}\"", word.substr(0, 40)));
    }
    Expected<void> done = FillFields();
    if (done) done = FillPoints();
    return done ? FillViewpoint() : done;
}

Expected<void> HeaderReading::FillFields() {
    const Words* names = Line("FIELDS");
    const Words* sizes = Line("SIZE");
    const Words* types = Line("TYPE");
    const Words* counts = Line("COUNT");
    if (names == nullptr || sizes == nullptr || types == nullptr ||
        sizes->size() != names->size() || types->size() != names->size() ||
        (counts != nullptr && counts->size() != names->size()) || names->size() > kMaxFields) {
        return Bad("does not contain a size and a type for each of its fields");
    }
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < names->size(); ++i) {
        PcdField field{std::string((*names)[i]), (*types)[i].front(), 0, 1};
        std::uint64_t size = 0;
        std::uint64_t count = 1;
        const bool counted = counts == nullptr || ParseCount((*counts)[i], count);
        const bool known =
            ParseCount((*sizes)[i], size) && (size == 1 || size == 2 || size == 4 || size == 8) &&
            (field.type == 'I' || field.type == 'U' || field.type == 'F') &&
            (*types)[i].size() == 1 && (field.type != 'F' || size >= 4 || field.name == "_");
        if (!known || !counted || count == 0 || count > kMaxRecordBytes) {
            return Bad(fmt::format("declares the field {} of {} numbers of type {}{}",
                                   field.name.substr(0, 40),
                                   counts == nullptr ? "1" : (*counts)[i].substr(0, 20),
                                   (*types)[i].substr(0, 20), (*sizes)[i].substr(0, 20)));
        }
        field.size = static_cast<std::size_t>(size);
        field.count = static_cast<std::size_t>(count);
        bytes += field.Bytes();
        if (bytes > kMaxRecordBytes) {
            return Bad(fmt::format("declares points of more than {} bytes", kMaxRecordBytes));
        }
        header_.fields.push_back(std::move(field));
    }
    FindColumns();
    return header_.columns.HasPosition() ? Expected<void>() : Bad("names no fields x, y and z");
}

void HeaderReading::FindColumns() {
    std::vector<std::string> names;
    for (const PcdField& field : header_.fields) names.push_back(field.name);
    header_.columns = FindRoles(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        const PcdField& field = header_.fields[i];
        if ((names[i] == "rgb" || names[i] == "rgba") && field.size == 4) header_.packed = i;
    }
}

Expected<void> HeaderReading::FillPoints() {
    const Words* points = Line("POINTS");
    if (points != nullptr) {
        if (points->size() == 1 && ParseCount(points->front(), header_.points)) return {};
        return Bad("holds no number of points in its line POINTS");
    }
    const Words* width = Line("WIDTH");
    const Words* height = Line("HEIGHT");
    std::uint64_t rows = 1;
    if (width == nullptr || width->size() != 1 || !ParseCount(width->front(), header_.points) ||
        (height != nullptr && (height->size() != 1 || !ParseCount(height->front(), rows))) ||
        (rows != 0 && header_.points > std::numeric_limits<std::uint64_t>::max() / rows)) {
        return Bad("holds no number of points");
    }
    header_.points *= rows;
    return {};
}

Expected<void> HeaderReading::FillViewpoint() {
    const Words* words = Line("VIEWPOINT");
    if (words == nullptr) return {};
    std::array<double, 7> v{};
    bool numbers = words->size() == v.size();
    for (std::size_t i = 0; numbers && i < v.size(); ++i) {
        const std::string_view word = (*words)[i];
        const char* last = word.data() + word.size();
        numbers = ParseNumber(word.data(), last, '.', v[i]) == last && std::isfinite(v[i]);
    }
    const auto rotation = numbers ? Normalised({v[3], v[4], v[5], v[6]}) : std::nullopt;
    if (!rotation) return Bad("has a line VIEWPOINT that is no position and rotation");
    header_.viewpoint = ScanPose{{v[0], v[1], v[2]}, *rotation};
    return {};
}

}  // namespace

std::size_t PcdHeader::RecordBytes() const {
    return std::accumulate(
        fields.begin(), fields.end(), std::size_t{0},
        [](std::size_t bytes, const PcdField& field) { return bytes + field.Bytes(); });
}

bool LooksLikePcd(std::string_view start) {
    return start.starts_with("# .PCD") || start.starts_with("VERSION .") ||
           start.starts_with("VERSION 0.");
}

Expected<PcdHeader> ReadPcdHeader(const ScanFile& file) {
    return HeaderReading(file).Run();
}

}  // namespace orvix::importer
