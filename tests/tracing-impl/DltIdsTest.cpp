// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/DltIds.h>

#include <string>

#include <gtest/gtest.h>

namespace {

using tracing::impl::DltIds;

TEST(DltIds, HaveTheFirstFourCharactersInCapitals)
{
    DltIds ids;
    EXPECT_EQ(ids.take("network"), "NETW");
    EXPECT_EQ(ids.take("Audio2"), "AUDI");
    EXPECT_EQ(ids.take("7up"), "7UP");
    EXPECT_EQ(ids.take("x"), "X");
}

TEST(DltIds, LeaveOutWhatIsNoLetterAndNoDigit)
{
    DltIds ids;
    EXPECT_EQ(ids.take("net_tcp"), "NETT");
    EXPECT_EQ(ids.take("_a.b-c d/e"), "ABCD");
    EXPECT_EQ(ids.take("\xc3\xbc"
                       "ber"),
              "BER");
    EXPECT_EQ(ids.take(std::string("g\0ps", 4)), "GPS");
}

TEST(DltIds, TellLettersAndDigitsFromTheirNeighbours)
{
    DltIds ids;
    EXPECT_EQ(ids.take("@A[`z{/0:"), "AZ0");
    EXPECT_EQ(ids.take("Z`a/9:{["), "ZA9");
}

TEST(DltIds, HaveAnIdForANameWithoutLetters)
{
    DltIds ids;
    EXPECT_EQ(ids.take(""), "NONE");
    EXPECT_EQ(ids.take("___"), "NON1");
}

TEST(DltIds, NumberWhatCollides)
{
    DltIds ids;
    EXPECT_EQ(ids.take("net_tcp"), "NETT");
    EXPECT_EQ(ids.take("net_two"), "NET1");
    EXPECT_EQ(ids.take("net_tcp"), "NET2");
    EXPECT_EQ(ids.take("nett"), "NET3");
}

TEST(DltIds, NumberWithTwoDigits_AfterNine)
{
    DltIds ids;
    for (int count = 0; count < 9; ++count)
        ids.take("nett");
    EXPECT_EQ(ids.take("nett"), "NET9");
    EXPECT_EQ(ids.take("nett"), "NE10");
    EXPECT_EQ(ids.take("nett"), "NE11");
}

TEST(DltIds, NumberBehindAShortBeginning)
{
    DltIds ids;
    EXPECT_EQ(ids.take("a"), "A");
    EXPECT_EQ(ids.take("A"), "A1");
    EXPECT_EQ(ids.take("_a"), "A2");
}

TEST(DltIds, SkipANumber_ThatIsANameItself)
{
    DltIds ids;
    EXPECT_EQ(ids.take("net1"), "NET1");
    EXPECT_EQ(ids.take("nett"), "NETT");
    EXPECT_EQ(ids.take("net_two"), "NET2");
}

TEST(DltIds, AreNotSharedBetweenNames_WhoseNumbersMeet)
{
    DltIds ids;
    EXPECT_EQ(ids.take("neta"), "NETA");
    EXPECT_EQ(ids.take("netb"), "NETB");
    EXPECT_EQ(ids.take("neta"), "NET1");
    EXPECT_EQ(ids.take("netb"), "NET2");
}

TEST(DltIds, EndWithTheNumbers)
{
    DltIds ids;
    for (int count = 0; count < 9999; ++count)
        ids.take("nett");
    EXPECT_EQ(ids.take("nett"), "9999");
    EXPECT_EQ(ids.take("nett"), "");
    EXPECT_EQ(ids.take("audio"), "AUDI");
}

} // namespace
