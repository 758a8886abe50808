// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a point file that another program may cut short meanwhile, and lives on.
//
//     11_guarded_read /tmp/building_Project_Files/Index/Grid.pts
//     11_guarded_read /tmp/copy.pts 1000     cuts the file to 1000 bytes itself, once it is mapped
//
// A mapped page that is gone raises SIGBUS in the thread that touches it. Only the copy out of the
// view runs under the guard: no object is made there that the jump back would leave undestroyed.
#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "orvix/points/generic_reader.h"
#include "orvix/points/records.h"

using namespace orvix;

namespace {

thread_local sigjmp_buf* volatile escape = nullptr;

extern "C" void OnBusError(int signal) {
    if (escape != nullptr) siglongjmp(*escape, 1);
    std::signal(signal, SIG_DFL);  // about something else: the fault comes again, and ends the host
}

// False where the bytes are no longer there.
bool GuardedCopy(void* to, const void* from, std::size_t bytes) {
    sigjmp_buf here;
    if (sigsetjmp(here, 1) != 0) {
        escape = nullptr;
        return false;
    }
    escape = &here;
    // The compiler sees no jump out of a copy, and may not move it past the stores around it.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    std::memcpy(to, from, bytes);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    escape = nullptr;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: %s POINTFILE [BYTES]\n", argv[0]), 2;
    std::signal(SIGBUS, OnBusError);
    using Record = CCloudPoint<float>;
    GenericReader reader(std::wstring(argv[1], argv[1] + std::strlen(argv[1])), sizeof(Record),
                         GenericReader::kRead, GenericReader::kPageRead, GenericReader::kViewRead);
    std::vector<Record> copy;
    std::uint64_t points = 0;
    double highest = -1e300;
    for (bool more = true; more; reader.Step()) {
        std::uint64_t start = 0;
        more = reader.ReadChunk(start);
        if (argc > 2 && truncate(argv[1], std::atol(argv[2])) != 0) return 1;
        copy.resize(reader.recordsInView);
        if (!GuardedCopy(copy.data(), reader.chunkView + start, copy.size() * sizeof(Record)))
            return std::printf("%s was cut short after %llu points; open the project again\n",
                               argv[1], static_cast<unsigned long long>(points)),
                   argc > 2 ? 0 : 1;
        for (const Record& point : copy) highest = std::max(highest, double{point.z});
        points += copy.size();
    }
    std::printf("%llu points, the highest at %g m\n", static_cast<unsigned long long>(points),
                highest);
    return argc > 2 ? 1 : 0;
}
