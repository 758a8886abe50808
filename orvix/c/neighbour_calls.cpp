// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "orvix/c/boundary.h"
#include "orvix/points/nearest_neighbour.h"

using namespace orvix;
using namespace orvix::detail;

/// An index; it has a copy of the points.
struct orvix_neighbours {
    std::unique_ptr<CNearestNeighbour> index;
};

namespace {

constexpr std::uint64_t kMaxPoints = std::numeric_limits<std::int32_t>::max();  // named by ints
constexpr std::uint64_t kPositionBytes = 3 * sizeof(float);

std::vector<SimplePointT<float>> PositionsOf(const void* points, std::uint64_t count,
                                             std::uint64_t stride) {
    std::vector<SimplePointT<float>> positions(static_cast<std::size_t>(count));
    const auto* bytes = static_cast<const unsigned char*>(points);
    for (std::uint64_t i = 0; i < count; ++i) {
        std::memcpy(static_cast<void*>(&positions[static_cast<std::size_t>(i)]), bytes + i * stride,
                    kPositionBytes);
    }
    return positions;
}

/// Looks for the points within a radius.
class Within {
public:
    Within(const orvix_neighbours& neighbours, double radius)
        : index_(*neighbours.index), radius_(radius) {}
    /// Valid until the next call.
    const std::vector<int>& Of(const double* position) {
        found_.clear();
        if (radius_ >= 0)
            index_.FindWithin({position[0], position[1], position[2]}, radius_ * radius_, found_);
        return found_;
    }

private:
    const CNearestNeighbour& index_;
    double radius_;
    std::vector<int> found_;
};

std::int32_t Nearest(const orvix_neighbours& neighbours, const double* position) {
    int nearest = -1;
    neighbours.index->FindNearest({position[0], position[1], position[2]}, nearest);
    return nearest;
}

/// Asks the host after every hundred thousand neighbours or thousand positions, about: after some
/// milliseconds.
class Questions {
public:
    Questions(orvix_proceed proceed, void* user, std::uint64_t positions)
        : proceed_(proceed), user_(user), positions_(positions) {}
    [[nodiscard]] Answer Ask(std::uint64_t position, std::size_t found) {
        work_ += kOfAPosition + found;
        if (work_ < kWorkPerQuestion || proceed_ == nullptr) return {};
        work_ = 0;
        const double done = static_cast<double>(position) / static_cast<double>(positions_);
        if (proceed_(user_, done) != 0) return {};
        return Refuse(ORVIX_CANCELLED, "the search for neighbours was cancelled");
    }

private:
    static constexpr std::uint64_t kWorkPerQuestion = 100'000;
    static constexpr std::uint64_t kOfAPosition = 100;

    orvix_proceed proceed_;
    void* user_;
    std::uint64_t positions_;
    std::uint64_t work_ = 0;
};

Answer RequireQueries(const orvix_neighbours* neighbours, const double* xyz, std::uint64_t count,
                      const void* answers, const char* name) {
    if (auto there = RequirePointer(neighbours, "neighbours"); !there) return there;
    if (count == 0) return {};
    if (auto there = RequirePointer(xyz, "xyz"); !there) return there;
    return RequirePointer(answers, name);
}

}  // namespace

orvix_status orvix_neighbours_open(const void* points, uint64_t count, uint64_t stride,
                                   orvix_neighbours** neighbours, orvix_error* error) {
    return orvix_neighbours_open_while(points, count, stride, nullptr, nullptr, neighbours, error);
}

orvix_status orvix_neighbours_open_while(const void* points, uint64_t count, uint64_t stride,
                                         orvix_proceed proceed, void* user,
                                         orvix_neighbours** neighbours, orvix_error* error) {
    if (neighbours != nullptr) *neighbours = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(neighbours, "neighbours"); !there) return there;
        if (count > kMaxPoints) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          fmt::format("{} points are too many for one index; it takes {}", count,
                                      kMaxPoints));
        }
        if (count > 0) {
            if (auto there = RequirePointer(points, "points"); !there) return there;
        }
        if (stride < kPositionBytes || stride > kMaxPoints) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          fmt::format("a stride of {} bytes; three floats take 12", stride));
        }
        auto index =
            CNearestNeighbour::Make(PositionsOf(points, count, stride), Asked(proceed, user));
        if (!index) return Refuse(ORVIX_CANCELLED, "the index over points was cancelled");
        *neighbours = new orvix_neighbours{std::move(index)};
        return {};
    });
}

orvix_status orvix_neighbours_within(const orvix_neighbours* neighbours, const double* position,
                                     double radius, int32_t* indices, uint64_t capacity,
                                     uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(neighbours, "neighbours"); !there) return there;
        if (auto there = RequirePointer(position, "position"); !there) return there;
        Within within(*neighbours, radius);
        const std::vector<int>& found = within.Of(position);
        const auto fill = Fits(found.size(), indices, capacity, count, "neighbours");
        if (!fill) return ErrorOf(fill);
        if (*fill) std::copy(found.begin(), found.end(), indices);
        return {};
    });
}

orvix_status orvix_neighbours_within_many(const orvix_neighbours* neighbours, const double* xyz,
                                          uint64_t count, double radius, orvix_proceed proceed,
                                          void* user, uint32_t* counts, int32_t* indices,
                                          uint64_t capacity, uint64_t* searched,
                                          orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(searched, "searched"); !there) return there;
        *searched = 0;
        if (auto sound = RequireQueries(neighbours, xyz, count, counts, "counts"); !sound)
            return sound;
        if (capacity > 0) {
            if (auto there = RequirePointer(indices, "indices"); !there) return there;
        }
        Within within(*neighbours, radius);
        Questions questions(proceed, user, count);
        std::uint64_t room = capacity;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::vector<int>& found = within.Of(xyz + 3 * i);
            counts[i] = static_cast<std::uint32_t>(found.size());
            if (indices != nullptr) {
                if (found.size() > room) {  // BEHAVIOUR B8
                    if (i > 0) return {};
                    return Refuse(ORVIX_TOO_SMALL,
                                  fmt::format("the first position has {} neighbours, and the array "
                                              "room for {}",
                                              found.size(), room));
                }
                indices = std::copy(found.begin(), found.end(), indices);
                room -= found.size();
            }
            *searched = i + 1;
            if (auto on = questions.Ask(i, found.size()); !on) return on;
        }
        return {};
    });
}

orvix_status orvix_neighbours_nearest(const orvix_neighbours* neighbours, const double* position,
                                      int32_t* index, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(neighbours, "neighbours"); !there) return there;
        if (auto there = RequirePointer(position, "position"); !there) return there;
        if (auto there = RequirePointer(index, "index"); !there) return there;
        *index = Nearest(*neighbours, position);
        return {};
    });
}

orvix_status orvix_neighbours_nearest_many(const orvix_neighbours* neighbours, const double* xyz,
                                           uint64_t count, orvix_proceed proceed, void* user,
                                           int32_t* indices, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto sound = RequireQueries(neighbours, xyz, count, indices, "indices"); !sound)
            return sound;
        Questions questions(proceed, user, count);
        for (std::uint64_t i = 0; i < count; ++i) {
            indices[i] = Nearest(*neighbours, xyz + 3 * i);
            if (auto on = questions.Ask(i, 1); !on) return on;
        }
        return {};
    });
}

void orvix_neighbours_close(orvix_neighbours* neighbours) {
    delete neighbours;
}
