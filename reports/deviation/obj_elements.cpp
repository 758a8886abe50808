// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/obj_elements.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <string_view>

#include "orvix/geometry/vector.h"
#include "orvix/platform/file.h"
#include "reports/deviation/polygon_triangles.h"

namespace orvix::reports {

namespace {

using detail::Vector;

constexpr std::size_t kBlock = 1 << 20;
constexpr std::size_t kLongestLine = 1 << 20;  // bytes
constexpr std::size_t kMostCorners = 1000;     // of a face: cutting it takes the square of them
constexpr double kFarthest = 1e12;             // metres; what lies beyond has no centimetres

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

/// Takes the next word off the front of a text; empty at its end.
std::string_view TakeWord(std::string_view& text) {
    std::size_t first = 0;
    while (first < text.size() && IsBlank(text[first])) ++first;
    std::size_t end = first;
    while (end < text.size() && !IsBlank(text[end])) ++end;
    const std::string_view word = text.substr(first, end - first);
    text.remove_prefix(end);
    return word;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// Whether a word is a GlobalId: 22 digits of base 64 as IFC writes them.
bool IsGlobalId(std::string_view word) {
    const auto isDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '_' || c == '$';
    };
    return word.size() == 22 && std::all_of(word.begin(), word.end(), isDigit);
}

DrawnElement NamedElement(std::string_view line) {
    DrawnElement element;
    std::string_view rest = line;
    const std::string_view id = TakeWord(rest), kind = TakeWord(rest);
    if (IsGlobalId(id) && kind.substr(0, 3) == "Ifc") {
        element.id = id;
        element.kind = kind;
        element.name = Trimmed(rest);
    } else {
        element.name = Trimmed(line);
    }
    return element;
}

class ObjReader {
public:
    explicit ObjReader(std::string file) : file_(std::move(file)) {}

    Expected<void> TakeLine(std::string_view line) {
        ++line_;
        if (!line.empty() && Trimmed(line).substr(0, 1) == "#") return {};
        const std::string_view whole = Trimmed(line);
        if (!whole.empty() && whole.back() == '\\') {  // goes on in the next line
            pending_ += whole.substr(0, whole.size() - 1);
            pending_ += ' ';
            return pending_.size() > kLongestLine ? TooLong() : Expected<void>();
        }
        if (pending_.empty()) return Understand(whole);
        pending_ += whole;
        const std::string joined = std::move(pending_);
        pending_.clear();
        return Understand(joined);
    }
    [[nodiscard]] tl::unexpected<Error> TooLong() const {
        return Wrong("is longer than any line of an OBJ file");
    }
    Expected<std::vector<DrawnElement>> Finish() && {
        elements_.erase(std::remove_if(elements_.begin(), elements_.end(),
                                       [](const auto& e) { return e.triangles.empty(); }),
                        elements_.end());
        if (elements_.empty())
            return Fail(ErrorCode::BadInput, file_ + " holds no faces to hold points against");
        return std::move(elements_);
    }

private:
    Expected<void> Understand(std::string_view line) {
        const std::string_view word = TakeWord(line);
        if (word == "v") return TakeCorner(line);
        if (word == "f") return TakeFace(line);
        if (word == "o" || word == "g") Begin(Trimmed(line));
        return {};
    }

    Expected<void> TakeCorner(std::string_view line) {
        std::array<double, 3> at{};
        for (double& coordinate : at) {
            const std::string_view word = TakeWord(line);
            const auto read = std::from_chars(word.data(), word.data() + word.size(), coordinate);
            if (read.ec != std::errc() || read.ptr != word.data() + word.size() ||
                !(std::abs(coordinate) < kFarthest))
                return Wrong(fmt::format("has \"{}\" for a coordinate", word.substr(0, 40)));
        }
        corners_.push_back({at[0], at[1], at[2]});
        return {};
    }

    Expected<void> TakeFace(std::string_view line) {
        ring_.clear();
        for (;;) {
            std::string_view word = TakeWord(line);
            if (word.empty()) break;
            word = word.substr(0, word.find('/'));
            const auto corner = CornerOf(word);
            if (!corner)
                return Wrong(fmt::format("names the corner \"{}\", which is not defined before it",
                                         word.substr(0, 40)));
            ring_.push_back(*corner);
            if (ring_.size() > kMostCorners)
                return Wrong(fmt::format("has a face of more than {} corners", kMostCorners));
        }
        if (ring_.size() < 3) return Wrong("has a face of fewer than three corners");
        if (elements_.empty()) Begin({});
        AddTriangles(ring_, elements_[current_].triangles);
        return {};
    }

    /// Corners count from 1, or from -1 backward.
    [[nodiscard]] std::optional<Vector> CornerOf(std::string_view word) const {
        std::int64_t number = 0;
        const auto read = std::from_chars(word.data(), word.data() + word.size(), number);
        if (read.ec != std::errc() || read.ptr != word.data() + word.size()) return std::nullopt;
        const auto count = static_cast<std::int64_t>(corners_.size());
        if (number == 0 || number > count || number < -count) return std::nullopt;
        return corners_[static_cast<std::size_t>(number > 0 ? number - 1 : count + number)];
    }

    void Begin(std::string_view name) {
        const auto [place, isNew] = places_.try_emplace(std::string(name), elements_.size());
        if (isNew) elements_.push_back(NamedElement(name));
        current_ = place->second;
    }

    [[nodiscard]] tl::unexpected<Error> Wrong(const std::string& what) const {
        return Fail(ErrorCode::BadInput, fmt::format("{}: line {} {}", file_, line_, what));
    }

    std::string file_;
    std::uint64_t line_ = 0;
    std::string pending_;
    std::vector<Vector> corners_, ring_;
    std::vector<DrawnElement> elements_;
    std::map<std::string, std::size_t> places_;
    std::size_t current_ = 0;
};

}  // namespace

Expected<std::vector<DrawnElement>> ReadObjElements(const CString& path) {
    const std::string name = platform::ToUtf8(path);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return FailSystem(error, name + " cannot be read");
    ObjReader reader(name);
    std::string text;  // what was read and is not understood yet
    for (std::uint64_t at = 0;;) {
        const std::size_t kept = text.size();
        text.resize(kept + kBlock);
        const std::size_t got = file.ReadAt(at, text.data() + kept, kBlock, error);
        if (error) return FailSystem(error, name + " cannot be read");
        text.resize(kept + got);
        at += got;
        if (got == 0 && !text.empty()) text += '\n';
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            if (auto taken = reader.TakeLine(std::string_view(text).substr(begin, end - begin));
                !taken)
                return ErrorOf(taken);
        }
        text.erase(0, begin);
        if (text.size() > kLongestLine) return reader.TooLong();
        if (got == 0) break;
    }
    return std::move(reader).Finish();
}

}  // namespace orvix::reports
