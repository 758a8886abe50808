// SPDX-License-Identifier: GPL-3.0-or-later
// The part of SectionWork that chooses a device and works with it.
#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "orvix/gpu/section_loop.h"
#include "orvix/gpu/section_pass.h"
#include "orvix/gpu/section_work.h"

namespace orvix::detail {
namespace {

// Below this, a pass takes less time than it takes to find out.
constexpr std::uint64_t kWorthMeasuring = 4 << 20;
// Fewer indices of a list are looked up here before a launch has begun.
constexpr std::size_t kWorthALaunch = 4096;

template <class Work>
std::chrono::duration<double> TimeOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
}

}  // namespace

bool SectionWork::MayUseDevice() {
    if (entries_.points.count == 0) return false;
    switch (WishOf(options_.device).device) {
        case SectionDevice::Cpu:
            return false;
        case SectionDevice::Gpu:
            return OpenDevice();
        case SectionDevice::Auto:
            break;
    }
    // A single pass is over before its points have reached a device.
    if (!held_ || choice_ == Choice::Processor || entries_.points.count < kWorthMeasuring) {
        return false;
    }
    return OpenDevice();
}

bool SectionWork::OpenDevice() {
    while (!device_ && !none_) {
        auto opened = devices_->Open(options_.softwareDevices);
        if (!opened) {
            none_ = true;
            break;
        }
        auto work = std::make_unique<DeviceWork>(std::move(opened), options_.deviceMemory);
        if (work->AnswersKnownQuestions()) {
            device_ = std::move(work);
        } else {
            devices_->GiveUp(work->Device().Api());
        }
    }
    return device_ != nullptr;
}

void SectionWork::DropDevice() {
    devices_->GiveUp(device_->Device().Api());
    device_.reset();
    uploaded_ = false;
    choice_ = Choice::Open;  // another device is measured anew
}

// Points that are not held have nothing to wait for.
bool SectionWork::HoldOnDevice() {
    if (!held_ || uploaded_) return true;
    uploaded_ = device_->Hold(entries_.points);
    if (!uploaded_) DropDevice();
    return uploaded_;
}

// Under Auto, a first pass over one job of the held points decides, on either side the second of
// two, so that neither waits for memory or a compiler.
bool SectionWork::IsDeviceFaster(const SectionRule& rule) {
    if (WishOf(options_.device).device == SectionDevice::Gpu) return true;
    if (choice_ != Choice::Open) return choice_ == Choice::Device;
    choice_ = Choice::Processor;
    const std::uint64_t count = std::min(device_->AtOnce(), device_->HeldCount());
    if (count == 0) return false;
    const Job job{Stretch(entries_.points, 0, count), 0, {}};
    std::vector<SectionClass> classes(count);
    std::vector<std::uint8_t> steps(rule.steps != 0 ? count : 0);
    bool works = true;
    const auto there = [&] {
        works = works && device_->Start(0, rule, job) &&
                device_->Finish(0, classes.data(), steps.data());
    };
    const auto here = [&] {
        ClassifyPoints(rule, job.points, classes.data(), rule.steps != 0 ? steps.data() : nullptr);
    };
    there();
    here();
    const auto timeThere = TimeOf(there);
    const auto timeHere = TimeOf(here);
    if (!works) {
        DropDevice();
        return false;
    }
    if (timeThere < timeHere) {
        choice_ = Choice::Device;
    } else {
        device_->Release();
        uploaded_ = false;
    }
    return choice_ == Choice::Device;
}

// The entries cut into jobs.
std::vector<SectionWork::Job> SectionWork::JobsOf() const {
    std::vector<Job> jobs;
    const std::uint64_t most = device_->AtOnce();
    if (entries_.listed) {
        ForEachListed(entries_, most, [&](std::span<const std::uint64_t> indices, std::uint64_t) {
            jobs.push_back({entries_.points, {}, indices});
        });
        return jobs;
    }
    for (std::uint64_t first = 0; first < entries_.points.count; first += most) {
        const std::uint64_t count = std::min(most, entries_.points.count - first);
        Job job{Stretch(entries_.points, first, count), {}, {}};
        if (first + count <= device_->HeldCount()) job.heldFirst = first;
        jobs.push_back(job);
    }
    return jobs;
}

bool SectionWork::ClassifyOnDevice(Pass& pass) {
    pass.Reserve(device_->AtOnce());
    const auto jobs = JobsOf();
    const std::string name = device_->Device().Name();
    if (!RunJobs(pass, jobs)) {
        DropDevice();
        return false;
    }
    if (pass.done != 0) lastUsed_ = name;
    return true;
}

// One job is under way while the one before comes back. What is not sent is done in between: a list
// that is short or scattered over the device's buffers, and under Auto the points that it does not hold.
bool SectionWork::RunJobs(Pass& pass, std::span<const Job> jobs) {
    const bool sendAll = WishOf(options_.device).device == SectionDevice::Gpu;
    std::vector<bool> goesThere;
    for (const Job& job : jobs) {
        goesThere.push_back(job.indices.empty() ? sendAll || job.heldFirst.has_value()
                                                : job.indices.size() >= kWorthALaunch &&
                                                      device_->AreTogether(job.indices));
    }
    const auto start = [&](std::size_t k) {
        return k >= jobs.size() || !goesThere[k] ||
               device_->Start(k % DeviceWork::kSlots, pass.rule, jobs[k]);
    };
    if (!start(0)) return false;
    for (std::size_t k = 0; k < jobs.size(); ++k) {
        if (!start(k + 1)) return false;
        if (!goesThere[k]) {
            ClassifyJobHere(pass, jobs[k]);
            continue;
        }
        if (!device_->Finish(k % DeviceWork::kSlots, pass.To(), pass.Steps())) return false;
        const std::uint64_t count = jobs[k].Count();
        const auto found = CountsOf(pass.To(), count);
        if (found.Total() != count) return false;  // a class that does not exist
        pass.Take(count, found, jobs[k].indices.data());
    }
    return true;
}

void SectionWork::ClassifyJobHere(Pass& pass, const Job& job) {
    if (job.indices.empty()) {
        pass.Take(job.points.count, ClassifyPoints(pass.rule, job.points, pass.To(), pass.Steps()),
                  nullptr);
        return;
    }
    std::vector<SimplePointT<float>> gathered;
    gathered.reserve(job.indices.size());
    for (const std::uint64_t index : job.indices) gathered.push_back(PointAt(job.points, index));
    const auto points = SectionPoints::Of(std::span<const SimplePointT<float>>(gathered));
    pass.Take(job.indices.size(), ClassifyPoints(pass.rule, points, pass.To(), pass.Steps()),
              job.indices.data());
}

// The device bounds groups of points from below; the nearest groups are looked at here, until no
// other can hold a better point.
bool SectionWork::SnapOnDevice(std::span<const SnapRule> rules, std::span<SnapBest> bests) {
    if (entries_.listed || !held_) return false;
    if (WishOf(options_.device).device == SectionDevice::Auto && choice_ != Choice::Device) {
        return false;
    }
    if (!MayUseDevice() || !HoldOnDevice()) return false;
    if (device_->HeldCount() != entries_.points.count) return false;
    std::vector<float> bounds;
    std::vector<std::pair<float, std::uint64_t>> groups;
    for (std::size_t k = 0; k < rules.size(); ++k) {
        if (!device_->BoundsOfGroups(rules[k], bounds)) {
            DropDevice();
            for (SnapBest& best : bests) best = {};
            return false;
        }
        groups.clear();
        for (std::uint64_t g = 0; g < bounds.size(); ++g) {
            if (bounds[g] < std::numeric_limits<float>::infinity())
                groups.push_back({bounds[g], g});
        }
        std::sort(groups.begin(), groups.end());
        for (const auto& [bound, group] : groups) {
            if (!bests[k].MayGain(bound)) break;
            const std::uint64_t first = group * DeviceWork::kGroup;
            const std::uint64_t end = std::min(first + DeviceWork::kGroup, entries_.points.count);
            for (std::uint64_t i = first; i < end; ++i) {
                bests[k].Offer(rules[k], MeasureOf(rules[k], PointAt(entries_.points, i)), i);
            }
        }
    }
    return true;
}

}  // namespace orvix::detail
