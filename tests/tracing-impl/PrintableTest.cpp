// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/Printable.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using tracing::impl::appendPrintable;
using tracing::impl::printable;

TEST(Printable, PlainText_Stays)
{
    EXPECT_EQ("", printable(""));
    EXPECT_EQ("", printable(std::string_view()));
    EXPECT_EQ("peer 7 has gone", printable("peer 7 has gone"));
    EXPECT_EQ(" !\"#$%&'()*+,-./09:;<=>?@AZ[\\]^_`az{|}~",
              printable(" !\"#$%&'()*+,-./09:;<=>?@AZ[\\]^_`az{|}~"));
}

TEST(Printable, Tabs_Stay)
{
    EXPECT_EQ("a\tb\t", printable("a\tb\t"));
}

TEST(Printable, WhatIsNotAscii_Stays)
{
    EXPECT_EQ("gr\xc3\xbc\xc3\x9f\x65", printable("gr\xc3\xbc\xc3\x9f\x65"));
    EXPECT_EQ("\xa0\xfe\xff", printable("\xa0\xfe\xff"));
}

TEST(Printable, EndsOfLine_AreWrittenOut)
{
    EXPECT_EQ("a\\nb", printable("a\nb"));
    EXPECT_EQ("\\r\\n", printable("\r\n"));
    EXPECT_EQ("\\n\\n", printable("\n\n"));
}

TEST(Printable, ControlCharacters_AreWrittenOutInTwoDigits)
{
    EXPECT_EQ("\\x00\\x01\\x08", printable(std::string_view("\0\x01\x08", 3)));
    EXPECT_EQ("\\x0b\\x0c\\x0e\\x1f", printable("\x0b\x0c\x0e\x1f"));
    EXPECT_EQ("~\\x7f", printable("~\x7f"));
}

TEST(Printable, CommandsOfATerminal_AreHarmless)
{
    EXPECT_EQ("\\x1b[2J\\x1b]0;title\\x07", printable("\x1b[2J\x1b]0;title\x07"));
}

TEST(Printable, MixedText)
{
    EXPECT_EQ("\\na\\x00b\\x7fc\t", printable(std::string_view("\na\0b\x7f"
                                                               "c\t",
                                                               7)));
}

TEST(Printable, AppendPrintable_KeepsWhatIsThere)
{
    std::string out = "a\n";
    appendPrintable(out, "b\n");
    EXPECT_EQ("a\nb\\n", out);
    appendPrintable(out, "");
    EXPECT_EQ("a\nb\\n", out);
}

TEST(Printable, ControlCharactersOfTwoBytes_AreWrittenOut)
{
    EXPECT_EQ("a\\xc2\\x9b2J", printable("a\xc2\x9b"
                                         "2J"));
    EXPECT_EQ("\\xc2\\x80\\xc2\\x9f", printable("\xc2\x80\xc2\x9f"));
    EXPECT_EQ("\xc2\xa0", printable("\xc2\xa0"));
    EXPECT_EQ("\xc2", printable("\xc2"));
}

TEST(Printable, FirstByteOfTwoAlone_Stays)
{
    EXPECT_EQ("\xc2"
              "A",
              printable("\xc2"
                        "A"));
    EXPECT_EQ("\xc2\\n", printable("\xc2\n"));
    EXPECT_EQ("\xc2\\x7f", printable("\xc2\x7f"));
    EXPECT_EQ("\xc2\\xc2\\x9b", printable("\xc2\xc2\x9b"));
    EXPECT_EQ("\xc3\x9b", printable("\xc3\x9b"));
}

TEST(Printable, ControlByteOutsideOfUtf8_IsWrittenOut)
{
    EXPECT_EQ("a\\x9b"
              "31m",
              printable("a\x9b"
                        "31m"));
    EXPECT_EQ("\\x80\\x9f\xa0", printable("\x80\x9f\xa0"));
    EXPECT_EQ("\xe2\x82\xac", printable("\xe2\x82\xac"));
    EXPECT_EQ("\xe2\\x82", printable("\xe2\x82"));
    EXPECT_EQ("\xf0\x9f\x98\x80", printable("\xf0\x9f\x98\x80"));
}

} // namespace
