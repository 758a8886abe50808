// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/png_writer.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// The writer of pictures takes it that there is always memory. What it holds when there is none stays
// until the program ends, which is soon.
void* OrThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* Request(std::size_t bytes) {
    return OrThrow(std::malloc(bytes));
}

void* RequestMore(void* memory, std::size_t bytes) {
    return OrThrow(std::realloc(memory, bytes));
}

}  // namespace

#define STBIW_MALLOC(bytes) Request(bytes)
#define STBIW_REALLOC(memory, bytes) RequestMore(memory, bytes)
#define STBIW_FREE(memory) std::free(memory)
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

#include "output/output_file.h"

namespace orvix::output {

namespace {

void Collect(void* context, void* data, int bytes) {
    auto& out = *static_cast<std::vector<std::uint8_t>*>(context);
    const auto* first = static_cast<const std::uint8_t*>(data);
    out.insert(out.end(), first, first + bytes);
}

}  // namespace

Expected<void> WritePng(const CString& path, const Canvas& canvas) {
    const std::vector<std::uint8_t> pixels = canvas.Finish();
    std::vector<std::uint8_t> bytes;
    stbi_write_png_to_func(&Collect, &bytes, canvas.Width(), canvas.Height(), 3, pixels.data(),
                           canvas.Width() * 3);
    OutputFile file(path);
    file.Append(bytes.data(), bytes.size());
    return file.Commit();
}

}  // namespace orvix::output
