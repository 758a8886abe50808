// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/kernels/section_program.h"

#include <gtest/gtest.h>

#include <string_view>

#include "orvix/gpu/kernels/section_bytecode.h"
#include "orvix/platform/crc32c.h"

namespace orvix::detail {
namespace {

TEST(SectionProgram, HasBytesThatAreMadeFromItsText) {
    const std::string_view text = SectionProgram().openClText;
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    EXPECT_EQ(platform::Crc32c(bytes), kSectionTextSum)
        << "the text has changed: run scripts/shaders";
}

TEST(SectionProgram, NamesEachKernelAsItsTextDoes) {
    const auto kernels = SectionProgram().kernels;
    ASSERT_EQ(kernels.size(), 2U);
    EXPECT_EQ(std::string_view(kernels[kClassifyKernel].name), "classify");
    EXPECT_EQ(std::string_view(kernels[kSnapKernel].name), "snap");
    for (const platform::ComputeKernel& kernel : kernels) {
        EXPECT_NE(SectionProgram().openClText.find("KERNEL(" + std::string(kernel.name) + ")"),
                  std::string_view::npos);
        const std::string_view bytes(reinterpret_cast<const char*>(kernel.direct3dBytes.data()),
                                     kernel.direct3dBytes.size());
        EXPECT_TRUE(bytes.starts_with("DXBC"));
        EXPECT_NE(bytes.find("SHEX"), std::string_view::npos) << "code of shader model 5";
    }
}

}  // namespace
}  // namespace orvix::detail
