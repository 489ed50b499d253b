// SPDX-License-Identifier: Apache-2.0
//
// What {fmt} and std::format make of the library's values alike. The test that includes this has
// defined before what they are asked by: `formatted(pattern, value)`, and `refuses(pattern,
// value)`, which tells whether the pattern is none for such a value.

#ifndef ZELCOMMON_TESTS_INTEROP_FORMATTINGTESTS_H
#define ZELCOMMON_TESTS_INTEROP_FORMATTINGTESTS_H

#include <cstring>
#include <string>
#include <utility>

#include <common/UUID.h>
#include <common/error/Error.h>
#include <common/unicode/String.h>
#include <gtest/gtest.h>
#include <zelbase/time.h>

#include "support/OpenStorage.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::ErrorObject;
using std::UUID;
using std::unicode::String;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::textWith;
using zelbase::Duration;
using zelbase::TimePoint;

const UUID SAMPLE("123e4567-e89b-12d3-a456-426614174000");

/// An error of row 5 with the reason "dry", raised at line 12 of `file`.
ErrorObject errorAt(const char* file)
{
    ErrorObject error;
    error.m_type = &std::CommonError;
    error.m_id = 5;
    error.m_file = file;
    error.m_line = 12;
    std::strcpy(error.m_buffer, "dry");
    return error;
}

TEST(Formatting, UUID_TextForm)
{
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000", formatted("{}", SAMPLE));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000", formatted("{}", UUID::nil()));
}

TEST(Formatting, UUID_InAField)
{
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000..|", formatted("{:.<38}|", SAMPLE));
    EXPECT_EQ("..123e4567-e89b-12d3-a456-426614174000|", formatted("{:.>38}|", SAMPLE));
    EXPECT_EQ(".123e4567-e89b-12d3-a456-426614174000.|", formatted("{:.^38}|", SAMPLE));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000 |", formatted("{:37}|", SAMPLE));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000|", formatted("{:36}|", SAMPLE));
    EXPECT_EQ("123e4567|", formatted("{:.8}|", SAMPLE));
}

TEST(Formatting, String_AnyEncodingComesOutAsUtf8)
{
    EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
              formatted("{}", String("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80")));
    EXPECT_EQ("\xE2\x82\xAC\xF0\x9F\x98\x80",
              formatted("{}", textWith("\xAC\x20\x3D\xD8\x00\xDE"s, UTF16LE)));
    EXPECT_EQ("", formatted("{}", String()));
    EXPECT_EQ("a\0b"s, formatted("{}", String("a\0b"s)));
}

TEST(Formatting, String_MalformedBytesComeOutAsReplacementCharacters)
{
    EXPECT_EQ("\xEF\xBF\xBD", formatted("{}", String("\xC3")));
    EXPECT_EQ("a\xEF\xBF\xBD", formatted("{}", textWith("a\xE2\x82", UTF8)));
    EXPECT_EQ("\xEF\xBF\xBD", formatted("{}", textWith("\x00\xD8"s, UTF16LE)));
}

TEST(Formatting, String_InAFieldOfCharacters)
{
    EXPECT_EQ("\xE2\x82\xAC..|", formatted("{:.<3}|", textWith("\xAC\x20", UTF16LE)));
    EXPECT_EQ("..\xE2\x82\xAC|", formatted("{:.>3}|", textWith("\xAC\x20", UTF16LE)));
    EXPECT_EQ("text  |", formatted("{:6}|", String("text")));
    EXPECT_EQ("text|", formatted("{:3}|", String("text")));
    EXPECT_EQ("te|", formatted("{:.2}|", String("text")));
}

TEST(Formatting, TimePoint_Milliseconds)
{
    EXPECT_EQ("0", formatted("{}", TimePoint()));
    EXPECT_EQ("4294967296", formatted("{}", TimePoint(4294967296u)));
    EXPECT_EQ("18446744073709551615", formatted("{}", TimePoint(18446744073709551615u)));
}

TEST(Formatting, TimePoint_InAField)
{
    EXPECT_EQ("   42|", formatted("{:5}|", TimePoint(42)));
    EXPECT_EQ("42***|", formatted("{:*<5}|", TimePoint(42)));
    EXPECT_EQ("00042|", formatted("{:05}|", TimePoint(42)));
    EXPECT_EQ("0x2a|", formatted("{:#x}|", TimePoint(42)));
}

TEST(Formatting, Duration_MillisecondsSigned)
{
    EXPECT_EQ("250", formatted("{}", Duration(250)));
    EXPECT_EQ("-2147483649", formatted("{}", Duration(-2147483649)));
    EXPECT_EQ("9223372036854775807", formatted("{}", Duration(9223372036854775807)));
    EXPECT_EQ("-9223372036854775808", formatted("{}", Duration(-9223372036854775807 - 1)));
}

TEST(Formatting, Duration_InAField)
{
    EXPECT_EQ("  -42|", formatted("{:5}|", Duration(-42)));
    EXPECT_EQ("-42**|", formatted("{:*<5}|", Duration(-42)));
    EXPECT_EQ("*-42*|", formatted("{:*^5}|", Duration(-42)));
    EXPECT_EQ("-0042|", formatted("{:05}|", Duration(-42)));
    EXPECT_EQ("+42|", formatted("{:+}|", Duration(42)));
}

TEST(Formatting, WhatIsNoPatternForTheirKind)
{
    EXPECT_TRUE(refuses("{:x}", SAMPLE));
    EXPECT_TRUE(refuses("{:d}", String("text")));
    EXPECT_TRUE(refuses("{:d}", ErrorObject()));
    EXPECT_TRUE(refuses("{:s}", TimePoint()));
    EXPECT_TRUE(refuses("{:.2}", Duration()));
    EXPECT_FALSE(refuses("{:s}", SAMPLE));
}

TEST(Formatting, ErrorObject_IdReasonAndPlace)
{
    EXPECT_EQ("Error (ID 5):\n\tdry\n\tLocation: pump.cpp:12",
              formatted("{}", errorAt("pump.cpp")));
    EXPECT_EQ("Error (ID 0):\n\t\n\tLocation: ", formatted("{}", ErrorObject()));
}

TEST(Formatting, ErrorObject_PlaceFromItsSourceFolderOn)
{
    const auto place = [](const char* file) {
        return formatted("{}", errorAt(file)).substr("Error (ID 5):\n\tdry\n\tLocation: "s.size());
    };
    EXPECT_EQ("src/pump.cpp:12", place("/home/me/src/pump.cpp"));
    EXPECT_EQ("include\\pump.h:12", place("me\\include\\pump.h"));
    EXPECT_EQ("src/a/src/pump.cpp:12", place("/src/a/src/pump.cpp"));
    EXPECT_EQ("src/pump.cpp:12", place("src/pump.cpp"));
    EXPECT_EQ("src/b.cpp:12", place("src/a/src/b.cpp"));
    EXPECT_EQ("/a/src:12", place("/a/src"));
    EXPECT_EQ("/a/srcs/includes/b.cpp:12", place("/a/srcs/includes/b.cpp"));
    EXPECT_EQ(":12", place(""));
}

TEST(Formatting, ErrorObject_AsTheReasonListHasIt)
{
    const support::OpenStorage errors;
    std::ErrorOutput("/a/src\\b/include/src/pump.cpp", -3, true)(std::CommonError, 5, "width");
    EXPECT_EQ(
        "Error (ID 5):\n\tInvalid parameter: width\n\tLocation: src\\b/include/src/pump.cpp:-3",
        formatted("{}", *std::ErrorStorage::get()));
    EXPECT_EQ(zel_error.getReasonList(), formatted("{}\n", *std::ErrorStorage::get()));
}

TEST(Formatting, ErrorObject_WithoutItsCauses)
{
    const support::OpenStorage errors;
    support::startChain(1);
    support::addToChain(2);
    EXPECT_EQ("Error (ID 2):\n\tdry\n\tLocation: pump.c:2",
              formatted("{}", *std::ErrorStorage::get()));
}

TEST(Formatting, ErrorObject_UnterminatedReasonEndsWithItsBuffer)
{
    ErrorObject error = errorAt("pump.cpp");
    std::memset(error.m_buffer, 'x', sizeof error.m_buffer);
    EXPECT_EQ("Error (ID 5):\n\t" + std::string(256, 'x') + "\n\tLocation: pump.cpp:12",
              formatted("{}", error));
}

TEST(Formatting, ErrorObject_EndsAtANullText)
{
    ErrorObject error = errorAt(nullptr);
    EXPECT_EQ("Error (ID 5):\n\tdry\n\tLocation: ", formatted("{}", error));
    error.m_reason = nullptr;
    EXPECT_EQ("Error (ID 5):\n\t", formatted("{}", error));
}

TEST(Formatting, ErrorObject_InAField)
{
    const ErrorObject error = errorAt("a.c");
    EXPECT_EQ("Error (ID 5):\n\tdry\n\tLocation: a.c:12..|", formatted("{:.<38}|", error));
    EXPECT_EQ("..Error (ID 5):\n\tdry\n\tLocation: a.c:12|", formatted("{:.>38}|", error));
}

} // namespace

#endif // ZELCOMMON_TESTS_INTEROP_FORMATTINGTESTS_H
