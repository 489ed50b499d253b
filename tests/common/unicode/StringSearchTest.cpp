// SPDX-License-Identifier: Apache-2.0
//
// The searches for a needle. Those for members of a set are in StringSetSearchTest.cpp, those in
// malformed texts in StringMalformedTest.cpp.

#include <common/unicode/String.h>

#include <cstdio>
#include <string>
#include <tuple>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/Latin1Codec.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::unicode;
using support::ChildResult;
using support::Latin1Codec;
using support::nameOf;
using support::placeAt;
using support::reportTitle;
using support::runInChild;
using support::textWith;
using Iterator = String::Iterator;

/// Where `find` of `needle` from character `from` on ends, as "CHARACTERS/BYTES".
std::string found(const String& text, const String& needle, int from)
{
    return nameOf(text, text.find(needle, placeAt(text, from)));
}

/// Where `rfind` of `needle` up to character `before` ends.
std::string foundLast(const String& text, const String& needle, int before)
{
    return nameOf(text, text.rfind(needle, placeAt(text, before)));
}

TEST(StringSearch, Find_FirstFromTheStartOn)
{
    EXPECT_EQ("0/0", found("abcabc", "abc", 0));
    EXPECT_EQ("3/3", found("abcabc", "abc", 1));
    EXPECT_EQ("3/3", found("abcabc", "abc", 3));
    EXPECT_EQ("6/6", found("abcabc", "abc", 4));
    EXPECT_EQ("5/5", found("abcabc", "c", 5));
    EXPECT_EQ("6/6", found("abcabc", "c", 6));
}

TEST(StringSearch, Find_OverlappingCandidates)
{
    EXPECT_EQ("1/1", found("aaab", "aab", 0));
    EXPECT_EQ("2/2", found("ababac", "abac", 0));
    EXPECT_EQ("1/1", found("aaa", "aa", 1));
    EXPECT_EQ("3/3", found("aaa", "aa", 2));
}

TEST(StringSearch, Find_NeedleThatDoesNotFit)
{
    EXPECT_EQ("3/3", found("abc", "abcd", 0));
    EXPECT_EQ("3/3", found("abc", "cd", 0));
    EXPECT_EQ("3/3", found("abc", "abc", 1));
    EXPECT_EQ("0/0", found("abc", "abc", 0));
    EXPECT_EQ("3/3", found("abc", "x", 0));
}

// A look behind the end gives the replacement, too, but there is no character.
TEST(StringSearch, Find_ReplacementIsNotBehindTheEnd)
{
    EXPECT_EQ("3/3", found("abc", "\xEF\xBF\xBD", 0));
    EXPECT_EQ("3/3", found("abc", "c\xEF\xBF\xBD", 0));
    EXPECT_EQ("3/3", foundLast("abc", "c\x80", 3));
    EXPECT_EQ("2/2", found("abc\x80", "c\x80", 0));
}

TEST(StringSearch, Find_EmptyNeedleIsAtTheStart)
{
    EXPECT_EQ("0/0", found("abc", "", 0));
    EXPECT_EQ("2/2", found("abc", "", 2));
    EXPECT_EQ("3/3", found("abc", "", 3));
}

TEST(StringSearch, Find_InAnEmptyText)
{
    EXPECT_EQ("0/0", found("", "a", 0));
    EXPECT_EQ("0/0", found("", "", 0));
    EXPECT_EQ("0/0", found(String(std::SharedBuf(), UTF8), "", 0));
}

TEST(StringSearch, Find_EmbeddedZeros)
{
    EXPECT_EQ("1/1", found(String("a\0b"s), String("\0b"s), 0));
    EXPECT_EQ("3/3", found(String("a\0b"s), String("b\0"s), 0));
}

TEST(StringSearch, Find_PieceEndsBeforeTheBytesThatFollow)
{
    const String text("abcabc");
    const String piece = text.substr(0, 4);
    EXPECT_EQ("2/2", nameOf(piece, piece.find("ca")));
    EXPECT_EQ("4/4", nameOf(piece, piece.find("cab")));
    EXPECT_EQ("1/1", nameOf(text, text.find(text.substr(1, 3))));
    EXPECT_EQ("4/4", nameOf(text, text.find(text.substr(4, 6), placeAt(text, 2))));
}

TEST(StringSearch, Find_PlacesCountInBytesOfTheText)
{
    EXPECT_EQ("2/5", found("\xC3\xA4\xE2\x82\xAC\xC3\xBC", L"\u00FC", 0));
    EXPECT_EQ("2/6", found(String(UTF16LE, "a\xF0\x9F\x98\x80z"), "z", 0));
    EXPECT_EQ("2/8", found(L"a\u20ACz", String(UTF16BE, "z"), 0));
}

// U+A9C3 in UTF-16LE has the bytes of U+00E9 in UTF-8.
TEST(StringSearch, Find_NeedleInUtf16_IsNotTakenForUtf8)
{
    EXPECT_EQ("1/2", found("\xC3\xA9\xEA\xA7\x83", textWith("\xC3\xA9", UTF16LE), 0));
}

TEST(StringSearch, Find_ReplacementMatchesWhatCannotBeDecoded)
{
    const String replacement(0xFFFDU);
    EXPECT_EQ("1/1", found("a\x80"
                           "b",
                           replacement, 0));
    EXPECT_EQ("1/1", found("a\xC3"
                           "Xb",
                           "\xEF\xBF\xBD"
                           "b",
                           0));
    EXPECT_EQ("1/1", found("a\xEF\xBF\xBD", "\xFF", 0));
    EXPECT_EQ("1/1", found("a\xFE", "\xE2\x82", 0));
    EXPECT_EQ("0/0", found(textWith("\x00\xD8\x41\x00"s, UTF16LE), replacement, 0));
}

// Kept: searches look, and a look takes bit 30 of six bytes from another byte than a walk does.
TEST(StringSearch, Find_SixByteForm_AsLookedAt)
{
    EXPECT_EQ("1/1", found("a\xFD\x80\x80\x80\x80\x80", String(0x40000000U), 0));
    EXPECT_EQ("2/7", found("a\xFD\x80\x80\x80\x80\x80", String(0U), 0));
}

TEST(StringSearch, Find_OwnPositionAsItIs)
{
    const String text("abcabc");
    EXPECT_EQ("0/2", nameOf(text, text.find("c", {&text, {0, 2}})));
    EXPECT_EQ("1/3", nameOf(text, text.find("a", {&text, {0, 2}})));
    EXPECT_EQ("6/6", nameOf(text, text.find("a", {&text, {0, 6}})));
    EXPECT_EQ("6/6", nameOf(text, text.find("a", {&text, {6, 0}})));
    EXPECT_EQ("6/6", nameOf(text, text.find("a", {&text, {9, 9}})));
}

TEST(StringSearch, Find_PositionOfAnotherText_CountsByItsCharacters)
{
    const String text(UTF16LE, "\xC3\xA4"
                               "b\xC3\xA4");
    const String same("\xC3\xA4"
                      "b\xC3\xA4");
    EXPECT_EQ("2/4", nameOf(text, text.find("\xC3\xA4", placeAt(same, 1))));
    EXPECT_EQ("0/0", nameOf(text, text.find("\xC3\xA4", same.begin())));
    EXPECT_EQ("3/6", nameOf(text, text.find("\xC3\xA4", same.end())));
    const String longer("abcdef");
    EXPECT_EQ("3/6", nameOf(text, text.find("\xC3\xA4", longer.end())));
    EXPECT_EQ("1/2", nameOf(text, text.find("", placeAt(longer, 1))));
}

TEST(StringSearch, Find_PositionOfACopy_CountsByItsCharacters)
{
    const String text("\xC3\xA4"
                      "b\xC3\xA4");
    const String copy(text);
    EXPECT_EQ("2/3", nameOf(text, text.find("\xC3\xA4", {&copy, {1, 99}})));
    EXPECT_EQ("0/0", nameOf(text, text.find("\xC3\xA4", {&copy, {0, 2}})));
    EXPECT_EQ("2/3", nameOf(text, text.find("\xC3\xA4", {nullptr, {1, 0}})));
    EXPECT_EQ("0/0", nameOf(text, text.find("\xC3\xA4", Iterator())));
}

TEST(StringSearch, Find_PositionOfAnotherText_IsNotReported)
{
    const ChildResult result = runInChild([] {
        const String text("abc");
        const String other("abc");
        text.find("c", other.begin());
        text.find("c", Iterator());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
}

TEST(StringSearch, Rfind_LastUpToTheLimitAndIncludingIt)
{
    EXPECT_EQ("3/3", foundLast("abcabc", "abc", 6));
    EXPECT_EQ("3/3", foundLast("abcabc", "abc", 4));
    EXPECT_EQ("3/3", foundLast("abcabc", "abc", 3));
    EXPECT_EQ("0/0", foundLast("abcabc", "abc", 2));
    EXPECT_EQ("0/0", foundLast("abcabc", "abc", 0));
}

TEST(StringSearch, Rfind_NothingUpToTheLimit)
{
    EXPECT_EQ("3/3", foundLast("abc", "c", 1));
    EXPECT_EQ("2/2", foundLast("abc", "c", 2));
    EXPECT_EQ("3/3", foundLast("abc", "x", 3));
    EXPECT_EQ("3/3", foundLast("abc", "abcd", 3));
}

TEST(StringSearch, Rfind_OverlappingMatches)
{
    EXPECT_EQ("1/1", foundLast("aaa", "aa", 3));
    EXPECT_EQ("1/1", foundLast("aaa", "aa", 2));
    EXPECT_EQ("1/1", foundLast("aaa", "aa", 1));
    EXPECT_EQ("0/0", foundLast("aaa", "aa", 0));
}

TEST(StringSearch, Rfind_EmptyNeedleIsEverywhereButAtTheEnd)
{
    EXPECT_EQ("2/2", foundLast("abc", "", 3));
    EXPECT_EQ("1/1", foundLast("abc", "", 1));
    EXPECT_EQ("0/0", foundLast("abc", "", 0));
    EXPECT_EQ("0/0", foundLast("", "", 0));
    EXPECT_EQ("0/0", foundLast("", "a", 0));
}

TEST(StringSearch, OneArgument_FromTheBeginningAndFromTheEnd)
{
    const String text("\xC3\xBC"
                      "b\xC3\xBC"
                      "b");
    EXPECT_EQ("0/0", nameOf(text, text.find("\xC3\xBC")));
    EXPECT_EQ("1/2", nameOf(text, text.find("b")));
    EXPECT_EQ("2/3", nameOf(text, text.rfind("\xC3\xBC")));
    EXPECT_EQ("3/5", nameOf(text, text.rfind("b")));
    EXPECT_EQ("4/6", nameOf(text, text.find("x")));
    EXPECT_EQ("4/6", nameOf(text, text.rfind("x")));
}

/// The encodings of the text and the needle.
class StringSearchAcross : public testing::TestWithParam<std::tuple<const Codec*, const Codec*>>
{
protected:
    const String m_text{*std::get<0>(GetParam()), "a\xF0\x9F\x98\x80\xC3\xBC-a\xF0\x9F\x98\x80x"};
    static String needle(const char* text) { return String(*std::get<1>(GetParam()), text); }
};

TEST_P(StringSearchAcross, Find)
{
    EXPECT_EQ(0U, m_text.find(needle("a\xF0\x9F\x98\x80")).position.chars);
    EXPECT_EQ(4U, m_text.find(needle("a\xF0\x9F\x98\x80x")).position.chars);
    EXPECT_EQ(2U, m_text.find(needle("\xC3\xBC-")).position.chars);
    EXPECT_EQ(m_text.end(), m_text.find(needle("\xC3\xBCx")));
    EXPECT_EQ(&m_text, m_text.find(needle("-")).string);
}

TEST_P(StringSearchAcross, Rfind)
{
    EXPECT_EQ(4U, m_text.rfind(needle("a\xF0\x9F\x98\x80")).position.chars);
    EXPECT_EQ(0U, m_text.rfind(needle("a"), placeAt(m_text, 3)).position.chars);
    EXPECT_EQ(m_text.end(), m_text.rfind(needle("x"), placeAt(m_text, 5)));
    EXPECT_EQ(&m_text, m_text.rfind(needle("-")).string);
}

INSTANTIATE_TEST_SUITE_P(AllPairs, StringSearchAcross,
                         testing::Combine(testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4),
                                          testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4)));

/// Prints each failed assertion and where `rfind` of "c" in `text` up to `before` ends.
ChildResult rfindAt(const String& text, const Iterator& before)
{
    return runInChild([&] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char* reason) {
                std::printf("[%s] [%s] [%s] ", condition, location, reason);
            });
        std::printf("%s", nameOf(text, text.rfind("c", before)).c_str());
    });
}

constexpr const char* RFIND_REPORT =
    "[before.string==this] [framework/src/common/unicode/String:331, rfind()] [] ";

TEST(StringSearch, Rfind_PositionOfAnotherText_IsReportedAndNothingIsFound)
{
    const String text("abcabc");
    const String other("abcabc");
    EXPECT_EQ(RFIND_REPORT + "6/6"s, rfindAt(text, other.end()).out);
    EXPECT_EQ(RFIND_REPORT + "6/6"s, rfindAt(text, Iterator()).out);
}

TEST(StringSearch, Rfind_PositionOfACopy_IsReportedAndServes)
{
    const String text("abcabc");
    const String copy(text);
    EXPECT_EQ(RFIND_REPORT + "2/2"s, rfindAt(text, placeAt(copy, 4)).out);
    EXPECT_EQ(RFIND_REPORT + "5/5"s, rfindAt(text, copy.end()).out);
    EXPECT_EQ("5/5", rfindAt(text, text.end()).out);
    EXPECT_EQ("", rfindAt(text, text.end()).err);
}

TEST(StringSearch, Rfind_DefaultReport)
{
    const String text("abc");
    const ChildResult result = runInChild([&] { text.rfind("c", Iterator()); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(reportTitle("Assert failed", result) +
                  "Location: src/common/unicode/String:331, rfind()\n"
                  "Condition: \"before.string==this\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(StringSearch, Find_EachComparisonReadsBothSidesAnew)
{
    const Latin1Codec ofText;
    const Latin1Codec ofNeedle;
    const String text = textWith("abc", ofText);
    EXPECT_EQ("1/1", nameOf(text, text.find(textWith("bc", ofNeedle))));
    EXPECT_EQ(3U, ofText.reads());
    EXPECT_EQ(3U, ofNeedle.reads());
    EXPECT_EQ("1/1", nameOf(text, text.find(String(L"bc"))));
    EXPECT_EQ(6U, ofText.reads());
    text.find(String());
    EXPECT_EQ(6U, ofText.reads());
}

TEST(StringSearch, Rfind_GoesOnPastTheLimit)
{
    const Latin1Codec ofText;
    const Latin1Codec ofNeedle;
    const String text = textWith("abab", ofText);
    EXPECT_EQ("0/0", nameOf(text, text.rfind(textWith("a", ofNeedle), text.begin())));
    EXPECT_EQ(4U, ofText.reads());
    EXPECT_EQ(4U, ofNeedle.reads());
}

TEST(StringSearch, OneCodecForBoth)
{
    const Latin1Codec latin1;
    const String text = textWith("a\xFC\xDF", latin1);
    EXPECT_EQ("2/2", nameOf(text, text.find(textWith("\xDF", latin1))));
    EXPECT_EQ(6U, latin1.reads());
    EXPECT_EQ("1/1", nameOf(text, text.find("\xC3\xBC")));
    EXPECT_EQ("1/1", found("a\xC3\xBC", textWith("\xFC", latin1), 0));
}

} // namespace
