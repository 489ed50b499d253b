// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-ostream.h>

#include <iomanip>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/GroupingLocale.h"
#include "support/OpenStorage.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::setfill;
using std::setw;
using std::UUID;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::textWith;
using zelbase::Duration;
using zelbase::TimePoint;

constexpr const char* SAMPLE = "123e4567-e89b-12d3-a456-426614174000";

/// What a new stream holds after `value`.
template <typename Type>
std::string printed(const Type& value)
{
    std::ostringstream out;
    EXPECT_EQ(&out, &(out << value));
    EXPECT_TRUE(out.good());
    return out.str();
}

/// `value` in a field of `width` dots, which `adjust` puts to one side; then, without a field, "|".
template <typename Type>
std::string inField(int width, std::ios_base& (&adjust)(std::ios_base&), const Type& value)
{
    std::ostringstream out;
    out << setfill('.') << adjust << setw(width) << value;
    EXPECT_EQ(0, out.width());
    out << "|";
    return out.str();
}

/// What a stream that has failed holds after `value`.
template <typename Type>
std::string printedToFailed(const Type& value)
{
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    out << value;
    return out.str();
}

TEST(OStream, UUID_TextForm)
{
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000", printed(UUID(SAMPLE)));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000", printed(UUID::nil()));
    EXPECT_EQ("ffffffff-ffff-ffff-ffff-ffffffffffff",
              printed(UUID("FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF")));
}

TEST(OStream, UUID_InvalidOnePrintsItsValue)
{
    const support::OpenStorage errors;
    UUID id(SAMPLE);
    id.parse("1");
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000", printed(id));
    EXPECT_EQ(1, errors.m_count);
}

TEST(OStream, UUID_InAField)
{
    const UUID id(SAMPLE);
    EXPECT_EQ("....123e4567-e89b-12d3-a456-426614174000|", inField(40, std::right, id));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000....|", inField(40, std::left, id));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000.|", inField(37, std::left, id));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000|", inField(36, std::right, id));
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000|", inField(10, std::right, id));
}

TEST(OStream, UUID_NumberFormatsDoNotCount)
{
    std::ostringstream out;
    out << std::uppercase << std::showbase << std::showpos << std::oct << UUID(SAMPLE);
    EXPECT_EQ("123e4567-e89b-12d3-a456-426614174000", out.str());
}

TEST(OStream, String_AnyEncodingComesOutAsUtf8)
{
    EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
              printed(String("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80")));
    EXPECT_EQ("\xE2\x82\xAC\xF0\x9F\x98\x80",
              printed(textWith("\xAC\x20\x3D\xD8\x00\xDE"s, UTF16LE)));
    EXPECT_EQ("\xE2\x82\xAC\xF0\x9F\x98\x80",
              printed(textWith("\x20\xAC\xD8\x3D\xDE\x00"s, UTF16BE)));
    EXPECT_EQ("\xC3\xA4z", printed(String(UCS4, "\xC3\xA4z")));
    EXPECT_EQ("\xF0\x9F\x98\x80", printed(String(0x1F600u)));
    EXPECT_EQ("\xE2\x82\xAC", printed(String(L"\u20AC")));
}

TEST(OStream, String_MalformedBytesComeOutAsReplacementCharacters)
{
    EXPECT_EQ("\xEF\xBF\xBD", printed(String("\xC3")));
    EXPECT_EQ("a\xEF\xBF\xBD", printed(textWith("a\xE2\x82", UTF8)));
    EXPECT_EQ("\xEF\xBF\xBD", printed(textWith("\x00\xD8"s, UTF16LE)));
    EXPECT_EQ("\xEF\xBF\xBD", printed(textWith("\xDC\x00"s, UTF16BE)));
    EXPECT_EQ("\xEF\xBF\xBD", printed(String(0xD800u)));
}

TEST(OStream, String_EmptyOnes)
{
    String moved("gone");
    const String target(std::move(moved));
    EXPECT_EQ("", printed(String()));
    EXPECT_EQ("", printed(String(UTF16LE)));
    EXPECT_EQ("", printed(moved)); // NOLINT(bugprone-use-after-move): it is empty then
    EXPECT_EQ("gone", printed(target));
    EXPECT_EQ("...|", inField(3, std::left, String()));
}

TEST(OStream, String_NullCharactersArePrinted)
{
    EXPECT_EQ("a\0b"s, printed(String("a\0b"s)));
    EXPECT_EQ(".a\0b|"s, inField(4, std::right, String("a\0b"s)));
    EXPECT_EQ("\0"s, printed(String(0u)));
}

TEST(OStream, String_InAFieldOfBytes)
{
    EXPECT_EQ("..text|", inField(6, std::right, String("text")));
    EXPECT_EQ("text..|", inField(6, std::left, String("text")));
    EXPECT_EQ("..text|", inField(6, std::internal, String("text")));
    EXPECT_EQ("text|", inField(4, std::right, String("text")));
    EXPECT_EQ("text|", inField(3, std::left, String("text")));
    EXPECT_EQ("..\xE2\x82\xAC|", inField(5, std::right, textWith("\xAC\x20", UTF16LE)));
    EXPECT_EQ("\xEF\xBF\xBD..|", inField(5, std::left, String("\xFF")));
}

TEST(OStream, TimePoint_MillisecondsUnsigned)
{
    EXPECT_EQ("0", printed(TimePoint()));
    EXPECT_EQ("1500", printed(TimePoint(1500)));
    EXPECT_EQ("4294967296", printed(TimePoint(4294967296u)));
    EXPECT_EQ("9223372036854775808", printed(TimePoint(9223372036854775808u)));
    EXPECT_EQ("18446744073709551615", printed(TimePoint::MAX));
}

TEST(OStream, TimePoint_InAField)
{
    EXPECT_EQ("...42|", inField(5, std::right, TimePoint(42)));
    EXPECT_EQ("42...|", inField(5, std::left, TimePoint(42)));
    EXPECT_EQ("18446744073709551615|", inField(5, std::left, TimePoint::MAX));
    EXPECT_EQ("..18446744073709551615|", inField(22, std::right, TimePoint::MAX));
}

TEST(OStream, Duration_MillisecondsSigned)
{
    EXPECT_EQ("0", printed(Duration()));
    EXPECT_EQ("250", printed(Duration(250)));
    EXPECT_EQ("-250", printed(Duration(-250)));
    EXPECT_EQ("-500", printed(TimePoint(1000) - TimePoint(1500)));
    EXPECT_EQ("-2147483649", printed(Duration(-2147483649)));
    EXPECT_EQ("9223372036854775807", printed(Duration::MAX));
    EXPECT_EQ("-9223372036854775808", printed(-Duration::MAX - Duration(1)));
}

TEST(OStream, Duration_InAField)
{
    EXPECT_EQ("..-42|", inField(5, std::right, Duration(-42)));
    EXPECT_EQ("-42..|", inField(5, std::left, Duration(-42)));
    EXPECT_EQ("-..42|", inField(5, std::internal, Duration(-42)));
    EXPECT_EQ("-42|", inField(3, std::right, Duration(-42)));
    EXPECT_EQ("-42|", inField(1, std::left, Duration(-42)));
}

/// `value` on a stream that prints numbers in hexadecimal, with their base and in upper case.
template <typename Type>
std::string inHex(const Type& value)
{
    std::ostringstream out;
    out << std::hex << std::showbase << std::uppercase << value;
    return out.str();
}

TEST(OStream, TimePointAndDuration_AsTheStreamPrintsNumbers)
{
    EXPECT_EQ("0XFF", inHex(TimePoint(255)));
    EXPECT_EQ("0XFFFFFFFFFFFFFFFF", inHex(TimePoint::MAX));
    EXPECT_EQ("0XFF", inHex(Duration(255)));
    EXPECT_EQ("0XFFFFFFFFFFFFFFFF", inHex(Duration(-1)));
    std::ostringstream out;
    out << std::showpos << TimePoint(1) << Duration(2) << std::oct << Duration(8);
    EXPECT_EQ("1+210", out.str());
}

TEST(OStream, TimePointAndDuration_InTheGroupsOfTheStream)
{
    std::ostringstream out;
    out.imbue(std::locale(std::locale::classic(), new support::Grouping));
    out << TimePoint(1234567) << ' ' << Duration(-12345) << ' ' << Duration(999);
    EXPECT_EQ("1'234'567 -12'345 999", out.str());
}

TEST(OStream, WidthHoldsForOneValueAndFillStays)
{
    std::ostringstream out;
    out << setfill('*') << std::left << setw(4) << Duration(-1) << TimePoint(2) << std::right
        << setw(4) << TimePoint(3) << String("x") << setw(3) << String("y") << Duration(4);
    EXPECT_EQ("-1**2***3x**y4", out.str());
}

TEST(OStream, FailedStreamTakesNothing)
{
    EXPECT_EQ("", printedToFailed(UUID(SAMPLE)));
    EXPECT_EQ("", printedToFailed(String("text")));
    EXPECT_EQ("", printedToFailed(TimePoint(1)));
    EXPECT_EQ("", printedToFailed(Duration(-1)));
}

} // namespace
