// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded between a program and the C library (LD_PRELOAD): counts the program's requests for memory
// from its start on, and refuses one of them.
//
//   FAIL_ALLOCATION=N        the N-th request (from 1) is refused; with FAIL_ALLOCATION_ON=1 so are
//                            all that follow it
//   COUNT_ALLOCATIONS=PATH   their number is written to this file when the program ends
//
// Requests of the dynamic loader, before this library is set up, are not counted: a program that
// cannot be loaded has no say.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

extern void* __libc_malloc(size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_realloc(void*, size_t);
extern void* __libc_memalign(size_t, size_t);

static atomic_long counted;
static long refused;
static int refuseOn;
static int ready;

static int Refuses(void) {
    if (!ready) return 0;
    const long number = atomic_fetch_add(&counted, 1) + 1;
    if (refused == 0 || number < refused || (number > refused && !refuseOn)) return 0;
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t bytes) {
    return Refuses() ? NULL : __libc_malloc(bytes);
}

void* calloc(size_t count, size_t bytes) {
    return Refuses() ? NULL : __libc_calloc(count, bytes);
}

void* realloc(void* block, size_t bytes) {
    return Refuses() ? NULL : __libc_realloc(block, bytes);
}

void* memalign(size_t alignment, size_t bytes) {
    return Refuses() ? NULL : __libc_memalign(alignment, bytes);
}

void* aligned_alloc(size_t alignment, size_t bytes) {
    return memalign(alignment, bytes);
}

int posix_memalign(void** block, size_t alignment, size_t bytes) {
    *block = memalign(alignment, bytes);
    return *block == NULL ? ENOMEM : 0;
}

__attribute__((constructor)) static void Begin(void) {
    const char* const number = getenv("FAIL_ALLOCATION");
    refused = number == NULL ? 0 : atol(number);
    refuseOn = getenv("FAIL_ALLOCATION_ON") != NULL;
    ready = 1;
}

__attribute__((destructor)) static void End(void) {
    const long number = atomic_load(&counted);
    const char* const path = getenv("COUNT_ALLOCATIONS");
    ready = 0;
    if (path == NULL) return;
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (file == -1) return;
    dprintf(file, "%ld\n", number);
    close(file);
}
