// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/marked_planes.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

#include "bench/planes/plane_score.h"
#include "orvix/geometry/vector.h"
#include "orvix/platform/file.h"

namespace orvix::bench {
namespace {

using detail::Dot, detail::Vector;

/// Even-odd over all rings, so that a hole's corners may run either way.
bool Holds(const std::vector<MarkedPlane::Ring>& rings, double u, double v) {
    bool inside = false;
    for (const MarkedPlane::Ring& ring : rings) {
        const std::array<double, 2>* last = &ring.back();
        for (const auto& corner : ring) {
            const auto [u0, v0] = *last;
            const auto [u1, v1] = corner;
            if ((v0 <= v) != (v1 <= v) && u < u0 + (v - v0) / (v1 - v0) * (u1 - u0))
                inside = !inside;
            last = &corner;
        }
    }
    return inside;
}

std::array<double, 2> Without(int axis, const Vector& p) {
    if (axis == 0) return {p.y, p.z};
    return {p.x, axis == 1 ? p.z : p.y};
}

class Parser {
public:
    explicit Parser(std::string_view name) : name_(name) {}

    Expected<std::vector<MarkedPlane>> Parse(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            ++line_;
            if (auto done = Take(text.substr(0, end)); !done) return ErrorOf(done);
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        if (auto done = Finish(); !done) return ErrorOf(done);
        if (planes_.empty()) return Wrong("the file marks no plane");
        return std::move(planes_);
    }

private:
    tl::unexpected<Error> Wrong(std::string_view what) const {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{}, line {}: {}; bench/planes/truth/README.md "
                                "says what the lines of such a file are",
                                name_, line_, what));
    }

    Expected<void> Take(std::string_view line) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.remove_suffix(1);
        if (line.empty() || line.front() == '#') return {};
        const std::size_t blank = std::min(line.find(' '), line.size());
        const std::string_view word = line.substr(0, blank);
        const std::string_view rest = line.substr(std::min(blank + 1, line.size()));
        if (word == "plane") return Begin(rest);
        if (!Numbers(rest)) return Wrong(fmt::format("\"{}\" is followed by no numbers", word));
        if (word == "tolerance") return Tolerance();
        if (planes_.empty()) return Wrong(fmt::format("\"{}\" before the first plane", word));
        if (word == "equation") return Equation();
        if (word == "ring") return Ring();
        if (word == "seed" && numbers_.size() == 3) return {};
        return Wrong(fmt::format("\"{}\" with {} numbers is no line of it", word, numbers_.size()));
    }

    Expected<void> Begin(std::string_view name) {
        if (auto done = Finish(); !done) return done;
        if (tolerance_ == 0) return Wrong("a plane before any tolerance");
        planes_.emplace_back().name = name;
        planes_.back().tolerance = tolerance_;
        return {};
    }

    Expected<void> Finish() const {
        if (planes_.empty()) return {};
        const MarkedPlane& plane = planes_.back();
        if (Dot(plane.normal, plane.normal) == 0)
            return Wrong(fmt::format("the plane \"{}\" ends without an equation", plane.name));
        if (plane.rings.empty())
            return Wrong(fmt::format("the plane \"{}\" ends without a ring", plane.name));
        return {};
    }

    Expected<void> Tolerance() {
        if (numbers_.size() != 1 || numbers_[0] <= 0)
            return Wrong("a tolerance is one number above zero");
        tolerance_ = numbers_[0];
        return {};
    }

    Expected<void> Equation() {
        if (numbers_.size() != 4) return Wrong("an equation has four numbers");
        MarkedPlane& plane = planes_.back();
        plane.normal = {numbers_[0], numbers_[1], numbers_[2]};
        plane.offset = numbers_[3];
        if (std::abs(Dot(plane.normal, plane.normal) - 1) > 2e-3)
            return Wrong("the normal's length is not one");
        return {};
    }

    Expected<void> Ring() {
        if (numbers_.size() < 6 || numbers_.size() % 2 != 0)
            return Wrong("a ring has three corners or more, two numbers each");
        MarkedPlane::Ring& ring = planes_.back().rings.emplace_back();
        for (std::size_t i = 0; i < numbers_.size(); i += 2)
            ring.push_back({numbers_[i], numbers_[i + 1]});
        return {};
    }

    bool Numbers(std::string_view text) {
        numbers_.clear();
        const char* at = text.data();
        const char* const end = at + text.size();
        while (at != end) {
            double value = 0;
            const auto [stop, error] = std::from_chars(at, end, value);
            if (error != std::errc{} || !std::isfinite(value)) return false;
            if (stop != end && *stop != ' ') return false;
            numbers_.push_back(value);
            at = stop;
            while (at != end && *at == ' ') ++at;
        }
        return !numbers_.empty();
    }

    std::string_view name_;
    int line_ = 0;
    double tolerance_ = 0;
    std::vector<double> numbers_;
    std::vector<MarkedPlane> planes_;
};

}  // namespace

int MarkedPlane::Axis() const {
    const double x = std::abs(normal.x), y = std::abs(normal.y), z = std::abs(normal.z);
    if (x >= y && x >= z) return 0;
    return y >= z ? 1 : 2;
}

double MarkedPlane::Area() const {
    // By even-odd the largest ring is the outline of a plane in one piece; rings within another
    // take from it, others add.
    double area = 0;
    for (std::size_t i = 0; i < rings.size(); ++i) {
        double twice = 0;
        for (std::size_t k = 0; k < rings[i].size(); ++k) {
            const auto& a = rings[i][k];
            const auto& b = rings[i][(k + 1) % rings[i].size()];
            twice += a[0] * b[1] - b[0] * a[1];
        }
        std::size_t around = 0;
        for (std::size_t other = 0; other < rings.size(); ++other)
            if (other != i && Holds({rings[other]}, rings[i][0][0], rings[i][0][1])) ++around;
        area += (around % 2 == 0 ? 0.5 : -0.5) * std::abs(twice);
    }
    const std::array<double, 3> components{normal.x, normal.y, normal.z};
    return area / std::abs(components[static_cast<std::size_t>(Axis())]);
}

Expected<std::vector<MarkedPlane>> ReadMarkedPlanes(const CString& path) {
    std::error_code error;
    const std::string name = platform::ToUtf8(path);
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return FailSystem(error, "cannot read " + name);
    std::string text(file.Size(), '\0');
    text.resize(file.ReadAt(0, text.data(), text.size(), error));
    if (error) return FailSystem(error, "cannot read " + name);
    return ParseMarkedPlanes(text, name);
}

Expected<std::vector<MarkedPlane>> ParseMarkedPlanes(std::string_view text, std::string_view name) {
    return Parser(name).Parse(text);
}

std::int32_t LabelOf(const std::vector<MarkedPlane>& planes, const Vector& world) {
    std::int32_t label = kUnknownPlane;
    double nearest = 0;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const MarkedPlane& plane = planes[i];
        const double height = Dot(plane.normal, world) + plane.offset;
        const double distance = std::abs(height);
        if (distance > plane.tolerance || (label >= 0 && distance >= nearest)) continue;
        using detection::operator-;
        using detection::operator*;
        const auto [u, v] = Without(plane.Axis(), world - plane.normal * height);
        if (!Holds(plane.rings, u, v)) continue;
        label = static_cast<std::int32_t>(i);
        nearest = distance;
    }
    return label;
}

}  // namespace orvix::bench
