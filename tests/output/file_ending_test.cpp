// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/file_ending.h"

#include <gtest/gtest.h>

namespace orvix::output {
namespace {

TEST(FileEnding, MayBeWrittenInSmallLettersCapitalsOrBoth) {
    for (const wchar_t* name : {L"a.png", L"a.PNG", L"a.Png", L"/x.y/Gr\u00f6\u00dfe.pNg"})
        EXPECT_TRUE(HasEnding(name, L".png"));
    for (const wchar_t* name : {L"", L"png", L"a.png ", L"a.pn", L"a.png.jpg", L"a.p\u0146g"})
        EXPECT_FALSE(HasEnding(name, L".png"));
}

TEST(FileEnding, IsNotTheWholeName) {
    EXPECT_FALSE(HasEnding(L".png", L".png"));
    EXPECT_TRUE(HasEnding(L"a.png", L".png"));
}

}  // namespace
}  // namespace orvix::output
