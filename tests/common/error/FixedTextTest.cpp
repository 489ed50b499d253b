// SPDX-License-Identifier: Apache-2.0

#include "common/error/FixedText.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/GroupingLocale.h"

namespace {

using errorcore::Decimal;
using errorcore::FixedText;

TEST(Decimal, SmallNumbers)
{
    EXPECT_EQ("0", std::string(Decimal(0).text(), Decimal(0).length()));
    EXPECT_EQ("7", std::string(Decimal(7).text(), Decimal(7).length()));
    EXPECT_EQ("-1", std::string(Decimal(-1).text(), Decimal(-1).length()));
}

TEST(Decimal, Limits)
{
    const Decimal least(INT_MIN);
    const Decimal greatest(INT_MAX);
    EXPECT_EQ("-2147483648", std::string(least.text(), least.length()));
    EXPECT_EQ("2147483647", std::string(greatest.text(), greatest.length()));
}

TEST(Decimal, GroupingLocale_LeavesItAlone)
{
    const support::ChildResult result = support::runInChild([] {
        support::setGroupingLocale();
        const Decimal number(12345);
        EXPECT_EQ("12345", std::string(number.text(), number.length()));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(FixedText, IsEmptyAtFirst)
{
    const FixedText<8> text;
    EXPECT_STREQ("", text.text());
}

TEST(FixedText, AppendsTextsAndNumbers)
{
    FixedText<32> text;
    text.append("pump.cpp").append(":").append(12).append("").append(", ").append(-3);
    EXPECT_STREQ("pump.cpp:12, -3", text.text());
}

TEST(FixedText, HoldsUpToTheLimit)
{
    FixedText<8> text;
    text.append("1234567");
    EXPECT_STREQ("1234567", text.text());
    text.append("8");
    EXPECT_STREQ("12345678", text.text());
}

TEST(FixedText, CutsWhatGoesBeyond)
{
    FixedText<8> whole;
    whole.append("123456789");
    EXPECT_STREQ("12345678", whole.text());

    FixedText<8> pieces;
    pieces.append("1234567").append("89").append("0");
    EXPECT_STREQ("12345678", pieces.text());
}

TEST(FixedText, CutsANumber)
{
    FixedText<8> text;
    text.append("line ").append(12345).append(67);
    EXPECT_STREQ("line 123", text.text());
}

TEST(FixedText, CutsTheLongestNumber)
{
    FixedText<10> text;
    text.append(INT_MIN);
    EXPECT_STREQ("-214748364", text.text());
}

TEST(FixedText, NullText_DropsAllThatFollows)
{
    FixedText<16> text;
    const char* const none = nullptr;
    text.append("pump").append(none).append("valve").append(5).append(none).append("");
    EXPECT_STREQ("pump", text.text());
}

TEST(FixedText, NullTextAtFirst_LeavesItEmpty)
{
    FixedText<16> text;
    const char* const none = nullptr;
    text.append(none).append(5).append("valve");
    EXPECT_STREQ("", text.text());
}

TEST(FixedText, CopyIsApart)
{
    FixedText<16> text;
    text.append("pump");
    FixedText<16> copy = text;
    copy.append(".cpp");
    const_cast<char*>(copy.text())[0] = 'j';
    EXPECT_STREQ("pump", text.text());
    EXPECT_STREQ("jump.cpp", copy.text());
}

TEST(FixedText, GroupingLocale_LeavesNumbersAlone)
{
    const support::ChildResult result = support::runInChild([] {
        support::setGroupingLocale();
        FixedText<16> text;
        text.append(12345);
        EXPECT_STREQ("12345", text.text());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace
