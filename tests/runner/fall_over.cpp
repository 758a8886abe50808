// SPDX-License-Identifier: GPL-3.0-or-later
// fall_over [read | stack | abort | return N]: ends in the way that it is told to.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

volatile int sink = 0;

// Not inlined, as it is called through a pointer that nobody foresees.
void ReadNothing(const volatile int* address) {
    sink = *address;
}

void Descend(const volatile int* from) {
    volatile int room[4096] = {};
    room[sink & 4095] = from[0];
    if (sink != 1) Descend(room);  // it never is
    sink = room[1];
}

void (*volatile readNothing)(const volatile int*) = &ReadNothing;
void (*volatile descend)(const volatile int*) = &Descend;

}  // namespace

int main(int argc, char** argv) {
    const std::string how = argc > 1 ? argv[1] : "";
    std::puts("about to end");
    std::fflush(stdout);
    const volatile int here = 1;
    if (how == "read") std::thread([] { readNothing(nullptr); }).join();
    if (how == "stack") descend(&here);
    if (how == "abort") std::abort();
    return argc > 2 ? std::atoi(argv[2]) : 0;
}
