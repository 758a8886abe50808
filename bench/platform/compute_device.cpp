// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do a device's transfers and launches cost, whatever its kernels do?
// Ceiling:  memcpy of the same bytes by one thread; for points that the device holds, memcpy of them,
//           12 bytes each, in this machine's memory. Opening a device, the first time and again, and
//           one launch with its answer are times of their own.
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/gpu/kernels/section_program.h"
#include "support/dice.h"

namespace {

using namespace orvix::platform;  // NOLINT: a program of its own
using Words = std::array<std::uint32_t, kComputeParameters>;

constexpr std::uint64_t kLaunchPoints = std::uint64_t{1} << 20;
constexpr std::uint32_t kLaunchItems = kLaunchPoints / 4;

std::unique_ptr<ComputeDevice> Open(ComputeApi api) {
    ComputeDeviceOptions options;
    options.api = api;
    options.acceptSoftware = true;
    std::unique_ptr<ComputeDevice> device;
    const double seconds = orvix::bench::Seconds([&] {
        auto opened = OpenComputeDevice(orvix::detail::SectionProgram(), options);
        if (opened) {
            device = std::move(*opened);
        } else {
            fmt::print("{}\n", opened.error());
        }
    });
    if (device)
        fmt::print("compute_device: opened {} in {:.0f} ms\n", device->Name(), seconds * 1e3);
    return device;
}

/// Half of the points lie in the slab.
std::vector<float> Points(std::uint64_t count) {
    std::uint64_t state = 5;
    orvix::test::Dice dice(state);
    std::vector<float> points(count * 3);
    for (float& value : points) value = static_cast<float>(20 * (dice.Share() - 0.5));
    return points;
}

Words Slab() {
    const std::uint32_t one = std::bit_cast<std::uint32_t>(1.0F);
    Words words{};
    words[0] = words[5] = words[10] = one;
    words[12] = std::bit_cast<std::uint32_t>(5.0F);
    words[13] = words[15] = std::bit_cast<std::uint32_t>(-1e30F);
    words[14] = words[16] = std::bit_cast<std::uint32_t>(1e30F);
    return words;
}

class Held {
public:
    Held(ComputeDevice& device, std::vector<float> points)
        : device_(device),
          points_(std::move(points)),
          count_(points_.size() / 3),
          classes_(count_, 0xEE),
          held_(device.CreateBuffer(points_.size() * 4)),
          answers_(device.CreateBuffer(count_)) {
        orvix::bench::Require(held_ && answers_, "the device has no memory for the points");
    }

    void Upload() {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(points_.data());
        Done(device_.Upload(*held_, 0, {bytes, points_.size() * 4}));
        Wait();
    }
    void Download() {
        const auto bytes = reinterpret_cast<std::uint8_t*>(points_.data());
        Done(device_.Download(*held_, 0, {bytes, points_.size() * 4}));
    }
    /// All points, a launch per 1 Mi, and their classes as one byte each.
    void Classify() {
        Words words = Slab();
        words[17] = static_cast<std::uint32_t>(count_);
        for (std::uint64_t first = 0; first < count_; first += kLaunchPoints) {
            words[23] = static_cast<std::uint32_t>(first / 4);
            Done(device_.Launch(orvix::detail::kClassifyKernel, *held_, *held_, *answers_,
                                *answers_, words, kLaunchItems / kComputeGroup));
        }
        Done(device_.Download(*answers_, 0, classes_));
    }
    void Wait() {
        std::array<std::uint8_t, 4> last{};
        Done(device_.Download(*held_, 0, last));
    }
    void OneLaunch() {
        Words words = Slab();
        words[17] = 4;
        Done(device_.Launch(orvix::detail::kClassifyKernel, *held_, *held_, *answers_, *answers_,
                            words, 1));
        std::array<std::uint8_t, 4> answer{};
        Done(device_.Download(*answers_, 0, answer));
    }
    [[nodiscard]] bool IsRight() const {
        for (std::size_t i = 0; i < count_; ++i) {
            const float y = points_[3 * i + 1];
            const int expected = y > 5 ? 1 : (y < -5 ? 2 : 0);
            if (classes_[i] != expected && classes_[i] != 255) return false;
        }
        return true;
    }
    void Copy(std::vector<float>& target) const {
        std::memcpy(target.data(), points_.data(), points_.size() * 4);
        orvix::bench::Keep(target[0]);
    }
    [[nodiscard]] std::uint64_t Bytes() const { return points_.size() * 4; }

private:
    static void Done(bool done) { orvix::bench::Require(done, "the device failed"); }

    ComputeDevice& device_;
    std::vector<float> points_;
    std::uint64_t count_;
    std::vector<std::uint8_t> classes_;
    std::unique_ptr<ComputeBuffer> held_;
    std::unique_ptr<ComputeBuffer> answers_;
};

void Measure(ComputeDevice& device, const orvix::bench::Options& options) {
    // Whole launches, within any buffer.
    const std::uint64_t most = std::min(options.points, device.LargestBuffer() / 12);
    Held held(device, Points(std::max<std::uint64_t>(1, most / kLaunchPoints) * kLaunchPoints));
    held.Upload();
    held.Classify();
    held.Download();
    orvix::bench::Require(held.IsRight(), "classes");
    std::vector<float> target(held.Bytes() / 4);
    const auto copy = [&] { held.Copy(target); };
    orvix::bench::Report report(device.Api() == ComputeApi::OpenCl ? "compute_device, OpenCL"
                                                                   : "compute_device, Direct3D 11",
                                options);
    report.Compare("upload", held.Bytes(), copy, [&] { held.Upload(); });
    report.Compare("download", held.Bytes(), copy, [&] { held.Download(); });
    report.Compare("classify held points", held.Bytes(), copy, [&] { held.Classify(); });
    std::vector<double> launches;
    for (int i = 0; i < 20 * options.repeats; ++i)
        launches.push_back(orvix::bench::Seconds([&] { held.OneLaunch(); }));
    fmt::print("compute_device: one launch and its answer: {:.1f} us\n",
               orvix::bench::Median(launches) * 1e6);
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = orvix::bench::ParseOptions(argc, argv);
    for (const ComputeApi api : {ComputeApi::OpenCl, ComputeApi::Direct3D11}) {
        if (!Open(api)) continue;
        const auto device = Open(api);
        orvix::bench::Require(device != nullptr, "the device is gone");
        Measure(*device, options);
    }
    return 0;
}
