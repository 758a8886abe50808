// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/device_work.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <limits>

#include "orvix/gpu/kernels/section_program.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kPointBytes = 12;
constexpr std::uint64_t kMostAtOnce = 1 << 20;
constexpr std::uint64_t kLeastAtOnce = 4096;
// Of both slots: points, indices, classes and steps.
constexpr std::uint64_t kJobBytes = DeviceWork::kSlots * (kPointBytes + 4 + 1 + 1);
// A buffer of 96 MiB: every device has those.
constexpr std::uint64_t kMostPartPoints = 8 << 20;
constexpr std::uint8_t kUndecided = 255;
constexpr std::uint32_t kListed = 1;
constexpr std::uint32_t kWithSteps = 2;

std::span<const std::uint8_t> BytesOf(const void* data, std::uint64_t bytes) {
    return {static_cast<const std::uint8_t*>(data), bytes};
}

std::uint64_t RoundedUp(std::uint64_t value, std::uint64_t step) {
    return (value + step - 1) / step * step;
}

std::uint32_t Groups(std::uint64_t items) {
    return static_cast<std::uint32_t>(RoundedUp(items, platform::kComputeGroup) /
                                      platform::kComputeGroup);
}

using Words = std::array<std::uint32_t, platform::kComputeParameters>;

Words WordsOf(const SectionRule& rule, std::uint64_t count, std::uint64_t first,
              std::uint32_t flags) {
    Words words{};
    for (std::size_t k = 0; k < 12; ++k) words[k] = std::bit_cast<std::uint32_t>(rule.rows[k]);
    words[12] = std::bit_cast<std::uint32_t>(rule.halfThickness);
    words[13] = std::bit_cast<std::uint32_t>(rule.xLow);
    words[14] = std::bit_cast<std::uint32_t>(rule.xHigh);
    words[15] = std::bit_cast<std::uint32_t>(rule.zLow);
    words[16] = std::bit_cast<std::uint32_t>(rule.zHigh);
    words[17] = static_cast<std::uint32_t>(count);
    words[18] = static_cast<std::uint32_t>(first);
    words[19] = flags;
    words[20] = std::bit_cast<std::uint32_t>(rule.rampLow);
    words[21] = std::bit_cast<std::uint32_t>(rule.rampScale);
    words[22] = rule.steps;
    return words;
}

Words WordsOf(const SnapRule& rule, std::uint64_t count) {
    const auto bits = [](double value) {
        return std::bit_cast<std::uint32_t>(static_cast<float>(value));
    };
    Words words{};
    words[0] = bits(rule.origin.x);
    words[1] = bits(rule.origin.y);
    words[2] = bits(rule.origin.z);
    words[3] = bits(rule.direction.x);
    words[4] = bits(rule.direction.y);
    words[5] = bits(rule.direction.z);
    words[6] = bits(rule.radius);
    words[7] = bits(rule.tangent);
    words[8] = rule.isRay ? 0 : 1;
    words[17] = static_cast<std::uint32_t>(count);
    return words;
}

// Which class bytes are left to the processor, a word at a time.
template <class Use>
void ForEachUndecided(const SectionClass* classes, std::uint64_t count, const Use& use) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080;  // of no class
    for (std::uint64_t i = 0; i < count; i += 8) {
        std::uint64_t word = 0;
        const std::uint64_t bytes = std::min<std::uint64_t>(8, count - i);
        std::memcpy(&word, classes + i, bytes);
        for (word &= kHighBits; word != 0; word &= word - 1) {
            use(i + std::countr_zero(word) / 8);
        }
    }
}

}  // namespace

DeviceWork::DeviceWork(std::unique_ptr<platform::ComputeDevice> device, std::uint64_t memory)
    : device_(std::move(device)),
      memory_(std::max(memory, kLeastAtOnce * (kJobBytes + kPointBytes))) {
    atOnce_ = std::clamp(memory / (2 * kJobBytes), kLeastAtOnce, kMostAtOnce) / kLeastAtOnce *
              kLeastAtOnce;
    const std::uint64_t largest = std::max(device_->LargestBuffer(), atOnce_ * kPointBytes);
    partPoints_ = std::min(kMostPartPoints, largest / kPointBytes) / atOnce_ * atOnce_;
}

bool DeviceWork::Make(Buffer& buffer, std::uint64_t bytes) {
    bytes = RoundedUp(bytes, 4);
    if (buffer && buffer->Size() >= bytes) return true;
    buffer = device_->CreateBuffer(bytes);
    return buffer != nullptr;
}

bool DeviceWork::UploadPoints(platform::ComputeBuffer& buffer, std::uint64_t at,
                              const SectionPoints& points) {
    if (points.stride == kPointBytes) {
        return device_->Upload(buffer, at * kPointBytes,
                               BytesOf(points.data, points.count * kPointBytes));
    }
    for (std::uint64_t first = 0; first < points.count; first += atOnce_) {
        const std::uint64_t count = std::min(atOnce_, points.count - first);
        packed_.resize(count);
        for (std::uint64_t k = 0; k < count; ++k) packed_[k] = PointAt(points, first + k);
        if (!device_->Upload(buffer, (at + first) * kPointBytes,
                             BytesOf(packed_.data(), count * kPointBytes))) {
            return false;
        }
    }
    return true;
}

bool DeviceWork::Hold(const SectionPoints& points) {
    Release();
    const std::uint64_t forJobs = atOnce_ * kJobBytes;
    const std::uint64_t room = memory_ > forJobs ? (memory_ - forJobs) / kPointBytes : 0;
    const std::uint64_t most = std::min(points.count, room / atOnce_ * atOnce_);
    while (heldCount_ < most) {
        Part part;
        part.first = heldCount_;
        part.count = std::min(partPoints_, most - heldCount_);
        // What the device has no memory for stays with the processor.
        if (!Make(part.points, part.count * kPointBytes)) break;
        const SectionPoints piece = Stretch(points, part.first, part.count);
        for (std::uint64_t at = 0; at < part.count; at += atOnce_) {
            const std::uint64_t count = std::min(atOnce_, part.count - at);
            if (!UploadPoints(*part.points, at, Stretch(piece, at, count))) return false;
        }
        heldCount_ += part.count;
        parts_.push_back(std::move(part));
    }
    return true;
}

void DeviceWork::Release() {
    parts_.clear();
    heldCount_ = 0;
}

bool DeviceWork::AreTogether(std::span<const std::uint64_t> indices) const {
    const auto [least, most] = std::minmax_element(indices.begin(), indices.end());
    return *most < heldCount_ && *least / partPoints_ == *most / partPoints_;
}

bool DeviceWork::UploadIndices(Slot& slot, const Part& part) {
    const auto& indices = slot.job.indices;
    numbers_.resize(indices.size());
    for (std::size_t k = 0; k < indices.size(); ++k) {
        numbers_[k] = static_cast<std::uint32_t>(indices[k] - part.first);
    }
    return Make(slot.indices, atOnce_ * sizeof numbers_[0]) &&
           device_->Upload(*slot.indices, 0,
                           BytesOf(numbers_.data(), numbers_.size() * sizeof numbers_[0]));
}

bool DeviceWork::Start(std::size_t number, const SectionRule& rule, const Job& job) {
    assert(job.Count() != 0 && job.Count() <= atOnce_);
    Slot& slot = slots_[number];
    slot.rule = rule;
    slot.job = job;
    const bool ramp = rule.steps != 0;
    if (!Make(slot.classes, atOnce_) || (ramp && !Make(slot.steps, atOnce_))) return false;
    const platform::ComputeBuffer* points = nullptr;
    const platform::ComputeBuffer* indices = nullptr;
    std::uint64_t first = 0;
    std::uint32_t flags = ramp ? kWithSteps : 0;
    if (!job.indices.empty()) {
        const Part& part = parts_[job.indices[0] / partPoints_];
        if (!UploadIndices(slot, part)) return false;
        points = part.points.get();
        indices = slot.indices.get();
        flags |= kListed;
    } else if (job.heldFirst) {
        const Part& part = parts_[*job.heldFirst / partPoints_];
        points = part.points.get();
        first = *job.heldFirst - part.first;
    } else {
        if (!Make(slot.points, atOnce_ * kPointBytes)) return false;
        if (!UploadPoints(*slot.points, 0, job.points)) return false;
        points = slot.points.get();
    }
    if (indices == nullptr) indices = points;
    platform::ComputeBuffer& steps = ramp ? *slot.steps : *slot.classes;
    return device_->Launch(kClassifyKernel, *points, *indices, *slot.classes, steps,
                           WordsOf(rule, job.Count(), first, flags), Groups((job.Count() + 3) / 4));
}

bool DeviceWork::Finish(std::size_t number, SectionClass* classes, std::uint8_t* steps) {
    Slot& slot = slots_[number];
    const Job& job = slot.job;
    const std::uint64_t count = job.Count();
    const auto download = [&](platform::ComputeBuffer& from, std::uint8_t* to) {
        if (count % 4 == 0) return device_->Download(from, 0, {to, count});
        answer_.resize(RoundedUp(count, 4));
        if (!device_->Download(from, 0, answer_)) return false;
        std::memcpy(to, answer_.data(), count);
        return true;
    };
    if (!download(*slot.classes, reinterpret_cast<std::uint8_t*>(classes))) return false;
    const bool ramp = slot.rule.steps != 0;
    if (ramp && !download(*slot.steps, steps)) return false;
    bool sound = true;
    ForEachUndecided(classes, count, [&](std::uint64_t k) {
        sound = sound && static_cast<std::uint8_t>(classes[k]) == kUndecided;
        const auto p = PointAt(job.points, job.indices.empty() ? k : job.indices[k]);
        classes[k] = ClassOf(slot.rule, p);
        if (ramp) {
            steps[k] = classes[k] < SectionClass::Outside ? StepOf(slot.rule, p) : std::uint8_t{0};
        }
    });
    return sound;
}

bool DeviceWork::BoundsOfGroups(const SnapRule& rule, std::vector<float>& bounds) {
    bounds.clear();
    for (const Part& part : parts_) {
        const std::uint32_t groups = Groups(part.count);
        if (!Make(bounds_, Groups(partPoints_) * sizeof(float))) return false;
        if (!device_->Launch(kSnapKernel, *part.points, *part.points, *bounds_, *bounds_,
                             WordsOf(rule, part.count), groups)) {
            return false;
        }
        const std::size_t before = bounds.size();
        bounds.resize(before + groups);
        auto* const to = reinterpret_cast<std::uint8_t*>(bounds.data() + before);
        if (!device_->Download(*bounds_, 0, {to, groups * sizeof(float)})) return false;
    }
    return true;
}

bool DeviceWork::AnswersKnownQuestions() {
    const bool answers = AnswersClassify() && AnswersSnap();
    Release();
    return answers;
}

namespace {

// A turned, bounded slab with a ramp, and points about all its boundaries: on them, one float to
// either side, and further off.
SectionRule KnownRule() {
    SectionRule rule;
    rule.rows = {0.8F, 0.6F, 0, 1.25F, -0.6F, 0.8F, 0, 0.25F, 0, 0, 1, -2};
    rule.halfThickness = 0.05F;
    rule.xLow = -4;
    rule.xHigh = 3;
    rule.zLow = -1;
    rule.zHigh = 1.5F;
    rule.rampLow = -1;
    rule.rampScale = 8;
    rule.steps = 16;
    return rule;
}

std::vector<SimplePointT<float>> KnownPoints() {
    std::vector<SimplePointT<float>> points;
    for (int i = 0; i < 1003; ++i) {
        // A walk that meets 17 values of each axis in changing company.
        const auto at = [i](int step, float low, float high) {
            const float share = static_cast<float>(i * step % 17) / 16;
            const float value = low + share * (high - low);
            return i % 3 == 0 ? value : std::nextafter(value, i % 3 == 1 ? 1e30F : -1e30F);
        };
        points.push_back({at(1, -5, 4), at(5, -3, 3), at(7, 0.5F, 4)});
    }
    points[10].x = std::numeric_limits<float>::quiet_NaN();
    points[20].z = std::numeric_limits<float>::infinity();
    points[30].y = 1e-40F;
    return points;
}

}  // namespace

bool DeviceWork::AnswersClassify() {
    const SectionRule rule = KnownRule();
    const auto points = KnownPoints();
    const auto given = SectionPoints::Of(std::span<const SimplePointT<float>>(points));
    std::vector<std::uint64_t> backwards(points.size());
    for (std::size_t k = 0; k < points.size(); ++k) backwards[k] = points.size() - 1 - k;
    if (!Hold(given) || heldCount_ != given.count) return false;
    const Job jobs[] = {{given, 0, {}}, {given, {}, {}}, {given, {}, backwards}};
    for (const Job& job : jobs) {
        std::vector<SectionClass> classes(points.size());
        std::vector<std::uint8_t> steps(points.size());
        if (!Start(0, rule, job) || !Finish(0, classes.data(), steps.data())) return false;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const auto& p = points[job.indices.empty() ? k : job.indices[k]];
            const SectionClass known = ClassOf(rule, p);
            if (classes[k] != known) return false;
            if (known < SectionClass::Outside && steps[k] != StepOf(rule, p)) return false;
        }
    }
    return true;
}

bool DeviceWork::AnswersSnap() {
    const auto points = KnownPoints();
    if (!Hold(SectionPoints::Of(std::span<const SimplePointT<float>>(points)))) return false;
    const SnapRule rules[] = {{{-6, 0.1, 2}, {0.8, 0.6, 0}, 0.3, 0.05, true},
                              {{0, 0, 9}, {0, 0, -1}, 0.5, 0, true},
                              {{1, 1, 1}, {}, 1.5, 0, false},
                              {{90, 90, 90}, {}, 1.5, 0, false}};
    for (const SnapRule& rule : rules) {
        std::vector<float> bounds;
        if (!BoundsOfGroups(rule, bounds) || bounds.size() != Groups(points.size())) return false;
        bool anyReached = false;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const SnapMeasure measure = MeasureOf(rule, points[k]);
            if (measure.inAperture && !(bounds[k / kGroup] <= measure.Value(rule))) return false;
            anyReached = anyReached || measure.inAperture;
        }
        const bool anyBound = std::any_of(bounds.begin(), bounds.end(),
                                          [](float bound) { return std::isfinite(bound); });
        if (anyBound != anyReached) return false;
    }
    return true;
}

}  // namespace orvix::detail
