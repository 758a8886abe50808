// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/kernels/section_program.h"

#include <array>

#include "orvix/gpu/kernels/section_bytecode.h"
#include "orvix/gpu/kernels/section_text.h"

namespace orvix::detail {
namespace {

// Some compilers take no longer literal.
static_assert(kSectionText.size() < 16'000);

/// In the order of SectionKernel.
constexpr std::array<platform::ComputeKernel, 2> kKernels = {{
    {"classify", kClassifyBytes},
    {"snap", kSnapBytes},
}};
constexpr platform::ComputeProgram kProgram = {kSectionText, kKernels};

}  // namespace

const platform::ComputeProgram& SectionProgram() {
    return kProgram;
}

}  // namespace orvix::detail
