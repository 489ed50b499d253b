// SPDX-License-Identifier: Apache-2.0
//
// The searches for a character that is, or is not, in a set.

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

/// One of the four searches.
using Search = Iterator (String::*)(const String&, const Iterator&) const;
constexpr Search FIRST_OF = &String::find_first_of;
constexpr Search FIRST_NOT_OF = &String::find_first_not_of;
constexpr Search LAST_OF = &String::find_last_of;
constexpr Search LAST_NOT_OF = &String::find_last_not_of;

/// Where `search` for `set` with character `place` as start or limit ends, as "CHARACTERS/BYTES".
std::string found(Search search, const String& text, const String& set, int place)
{
    return nameOf(text, (text.*search)(set, placeAt(text, place)));
}

TEST(StringSetSearch, FirstOf_FromTheStartOn)
{
    EXPECT_EQ("1/1", found(FIRST_OF, "abcabc", "cb", 0));
    EXPECT_EQ("2/2", found(FIRST_OF, "abcabc", "cb", 2));
    EXPECT_EQ("4/4", found(FIRST_OF, "abcabc", "cb", 3));
    EXPECT_EQ("5/5", found(FIRST_OF, "abcabc", "cb", 5));
    EXPECT_EQ("6/6", found(FIRST_OF, "abcabc", "cb", 6));
    EXPECT_EQ("6/6", found(FIRST_OF, "abcabc", "xyz", 0));
    EXPECT_EQ("6/6", found(FIRST_OF, "abcabc", "ABC", 0));
}

TEST(StringSetSearch, FirstNotOf_FromTheStartOn)
{
    EXPECT_EQ("2/2", found(FIRST_NOT_OF, "aabab", "a", 0));
    EXPECT_EQ("2/2", found(FIRST_NOT_OF, "aabab", "a", 2));
    EXPECT_EQ("4/4", found(FIRST_NOT_OF, "aabab", "a", 3));
    EXPECT_EQ("5/5", found(FIRST_NOT_OF, "aabab", "a", 5));
    EXPECT_EQ("5/5", found(FIRST_NOT_OF, "aabab", "ba", 0));
    EXPECT_EQ("0/0", found(FIRST_NOT_OF, "aabab", "xyz", 0));
}

TEST(StringSetSearch, LastOf_BeforeTheLimitAndNeverThere)
{
    EXPECT_EQ("5/5", found(LAST_OF, "abcabc", "c", 6));
    EXPECT_EQ("2/2", found(LAST_OF, "abcabc", "c", 5));
    EXPECT_EQ("2/2", found(LAST_OF, "abcabc", "c", 3));
    EXPECT_EQ("6/6", found(LAST_OF, "abcabc", "c", 2));
    EXPECT_EQ("6/6", found(LAST_OF, "abcabc", "a", 0));
    EXPECT_EQ("0/0", found(LAST_OF, "abcabc", "a", 1));
    EXPECT_EQ("4/4", found(LAST_OF, "abcabc", "xba", 6));
    EXPECT_EQ("6/6", found(LAST_OF, "abcabc", "xyz", 6));
}

TEST(StringSetSearch, LastNotOf_BeforeTheLimitAndNeverThere)
{
    EXPECT_EQ("4/4", found(LAST_NOT_OF, "abcabc", "c", 6));
    EXPECT_EQ("4/4", found(LAST_NOT_OF, "abcabc", "c", 5));
    EXPECT_EQ("3/3", found(LAST_NOT_OF, "abcabc", "c", 4));
    EXPECT_EQ("1/1", found(LAST_NOT_OF, "abcabc", "ac", 4));
    EXPECT_EQ("0/0", found(LAST_NOT_OF, "abcabc", "c", 1));
    EXPECT_EQ("6/6", found(LAST_NOT_OF, "abcabc", "c", 0));
    EXPECT_EQ("6/6", found(LAST_NOT_OF, "abcabc", "bca", 6));
}

TEST(StringSetSearch, EmptySet)
{
    EXPECT_EQ("3/3", found(FIRST_OF, "abc", "", 0));
    EXPECT_EQ("0/0", found(FIRST_NOT_OF, "abc", "", 0));
    EXPECT_EQ("2/2", found(FIRST_NOT_OF, "abc", "", 2));
    EXPECT_EQ("3/3", found(FIRST_NOT_OF, "abc", "", 3));
    EXPECT_EQ("3/3", found(LAST_OF, "abc", "", 3));
    EXPECT_EQ("2/2", found(LAST_NOT_OF, "abc", "", 3));
    EXPECT_EQ("0/0", found(LAST_NOT_OF, "abc", "", 1));
    EXPECT_EQ("3/3", found(LAST_NOT_OF, "abc", "", 0));
}

TEST(StringSetSearch, EmptyText)
{
    EXPECT_EQ("0/0", found(FIRST_OF, "", "a", 0));
    EXPECT_EQ("0/0", found(FIRST_NOT_OF, "", "a", 0));
    EXPECT_EQ("0/0", found(LAST_OF, "", "a", 0));
    EXPECT_EQ("0/0", found(LAST_NOT_OF, "", "a", 0));
    EXPECT_EQ("0/0", found(FIRST_NOT_OF, "", "", 0));
    EXPECT_EQ("0/0", found(LAST_NOT_OF, "", "", 0));
}

TEST(StringSetSearch, PlacesCountInBytesOfTheText)
{
    const String text("\xC3\xA4\xE2\x82\xAC\xC3\xA4z");
    EXPECT_EQ("1/2", found(FIRST_OF, text, L"\u20ACz", 0));
    EXPECT_EQ("2/5", found(LAST_OF, text, L"\u00E4", 4));
    EXPECT_EQ("3/7", found(FIRST_NOT_OF, text, L"\u00E4\u20AC", 0));
    EXPECT_EQ("1/2", found(LAST_NOT_OF, text, L"\u00E4z", 4));
}

TEST(StringSetSearch, EmbeddedZerosAreMembers)
{
    EXPECT_EQ("1/1", found(FIRST_OF, String("a\0b"s), String("x\0"s), 0));
    EXPECT_EQ("2/2", found(FIRST_NOT_OF, String("a\0b"s), String("\0a"s), 0));
}

TEST(StringSetSearch, ReplacementMatchesWhatCannotBeDecoded)
{
    const String text("a\x80"
                      "b\xC3");
    const String replacement(UTF16LE, 0xFFFDU);
    EXPECT_EQ("1/1", found(FIRST_OF, text, replacement, 0));
    EXPECT_EQ("3/3", found(LAST_OF, text, replacement, 4));
    EXPECT_EQ("0/0", found(FIRST_NOT_OF, text, replacement, 0));
    EXPECT_EQ("2/2", found(LAST_NOT_OF, text, replacement, 4));
    EXPECT_EQ("1/1", found(FIRST_OF, "a\xEF\xBF\xBD", "\xFE", 0));
}

TEST(StringSetSearch, PieceEndsBeforeTheBytesThatFollow)
{
    const String piece = String("abcabc").substr(1, 3);
    EXPECT_EQ("2/2", found(FIRST_OF, piece, "a", 0));
    EXPECT_EQ("1/1", found(LAST_OF, piece, "abc", 2));
    EXPECT_EQ("2/2", found(FIRST_NOT_OF, piece, "bc", 0));
    EXPECT_EQ("0/0", found(LAST_NOT_OF, piece, "c", 2));
}

TEST(StringSetSearch, OneArgument_FromTheBeginningAndFromTheEnd)
{
    const String text("\xC3\xBC"
                      "b\xC3\xBC"
                      "b");
    EXPECT_EQ("1/2", nameOf(text, text.find_first_of("b")));
    EXPECT_EQ("1/2", nameOf(text, text.find_first_not_of("\xC3\xBC")));
    EXPECT_EQ("2/3", nameOf(text, text.find_last_of("\xC3\xBC")));
    EXPECT_EQ("3/5", nameOf(text, text.find_last_not_of("\xC3\xBC")));
    EXPECT_EQ("4/6", nameOf(text, text.find_last_of("x")));
}

/// The encodings of the text and the set.
class StringSetSearchAcross : public testing::TestWithParam<std::tuple<const Codec*, const Codec*>>
{
protected:
    const String m_text{*std::get<0>(GetParam()), "a\xF0\x9F\x98\x80\xC3\xBC-\xF0\x9F\x98\x80x"};
    static String set(const char* text) { return String(*std::get<1>(GetParam()), text); }
};

TEST_P(StringSetSearchAcross, Members)
{
    EXPECT_EQ(1U, m_text.find_first_of(set("-\xF0\x9F\x98\x80")).position.chars);
    EXPECT_EQ(4U, m_text.find_last_of(set("-\xF0\x9F\x98\x80")).position.chars);
    EXPECT_EQ(2U, m_text.find_first_of(set("\xC3\xBC")).position.chars);
    EXPECT_EQ(m_text.end(), m_text.find_last_of(set("\xC3\xA4")));
}

TEST_P(StringSetSearchAcross, Strangers)
{
    EXPECT_EQ(3U, m_text
                      .find_first_not_of(set("\xC3\xBC\xF0\x9F\x98\x80"
                                             "a"))
                      .position.chars);
    EXPECT_EQ(3U, m_text.find_last_not_of(set("x\xF0\x9F\x98\x80")).position.chars);
    EXPECT_EQ(m_text.end(), m_text.find_first_not_of(set("ax-\xC3\xBC\xF0\x9F\x98\x80")));
}

INSTANTIATE_TEST_SUITE_P(AllPairs, StringSetSearchAcross,
                         testing::Combine(testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4),
                                          testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4)));

/// Prints each failed assertion and where `search` for "c" in `text` with `place` ends.
std::string searchAt(Search search, const String& text, const Iterator& place)
{
    const ChildResult result = runInChild([&] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char* reason) {
                std::printf("[%s] [%s] [%s] ", condition, location, reason);
            });
        std::printf("%s", nameOf(text, (text.*search)("c", place)).c_str());
    });
    EXPECT_EQ(0, result.exitCode);
    return result.out;
}

constexpr const char* FIRST_OF_REPORT =
    "[from.string==this] [framework/src/common/unicode/String:352, find_first_of()] [] ";
constexpr const char* FIRST_NOT_OF_REPORT =
    "[from.string==this] [framework/src/common/unicode/String:369, find_first_not_of()] [] ";
constexpr const char* LAST_OF_REPORT =
    "[before.string==this] [framework/src/common/unicode/String:387, find_last_of()] [] ";
constexpr const char* LAST_NOT_OF_REPORT =
    "[before.string==this] [framework/src/common/unicode/String:404, find_last_not_of()] [] ";

TEST(StringSetSearch, OwnPosition_IsNotReported)
{
    const String text("cabc");
    EXPECT_EQ("3/3", searchAt(FIRST_OF, text, placeAt(text, 1)));
    EXPECT_EQ("1/1", searchAt(FIRST_NOT_OF, text, text.begin()));
    EXPECT_EQ("0/0", searchAt(LAST_OF, text, placeAt(text, 3)));
    EXPECT_EQ("2/2", searchAt(LAST_NOT_OF, text, text.end()));
}

TEST(StringSetSearch, PositionOfAnotherText_ForwardSearchesGoOnThere)
{
    const String text("abc");
    const String other(UTF16LE, "cccxyz");
    EXPECT_EQ(FIRST_OF_REPORT + "elsewhere 1/2"s, searchAt(FIRST_OF, text, placeAt(other, 1)));
    EXPECT_EQ(FIRST_NOT_OF_REPORT + "elsewhere 3/6"s, searchAt(FIRST_NOT_OF, text, other.begin()));
    EXPECT_EQ(FIRST_OF_REPORT + "3/3"s, searchAt(FIRST_OF, text, placeAt(other, 3)));
    EXPECT_EQ(FIRST_NOT_OF_REPORT + "3/3"s, searchAt(FIRST_NOT_OF, text, other.end()));
}

TEST(StringSetSearch, PositionOfAnotherText_BackwardSearchesEndWithThisOne)
{
    const String text("abcabc");
    const String other("abcabc");
    EXPECT_EQ(LAST_OF_REPORT + "5/5"s, searchAt(LAST_OF, text, other.begin()));
    EXPECT_EQ(LAST_NOT_OF_REPORT + "4/4"s, searchAt(LAST_NOT_OF, text, placeAt(other, 2)));
}

TEST(StringSetSearch, PositionOfACopy_IsReportedAndServes)
{
    const String text("abcabc");
    const String copy(text);
    EXPECT_EQ(FIRST_OF_REPORT + "elsewhere 5/5"s, searchAt(FIRST_OF, text, placeAt(copy, 3)));
    EXPECT_EQ(FIRST_NOT_OF_REPORT + "elsewhere 3/3"s,
              searchAt(FIRST_NOT_OF, text, placeAt(copy, 2)));
    EXPECT_EQ(LAST_OF_REPORT + "2/2"s, searchAt(LAST_OF, text, placeAt(copy, 5)));
    EXPECT_EQ(LAST_NOT_OF_REPORT + "1/1"s, searchAt(LAST_NOT_OF, text, placeAt(copy, 2)));
}

TEST(StringSetSearch, NoText)
{
    const String text("abc");
    EXPECT_EQ(FIRST_OF_REPORT + "3/3"s, searchAt(FIRST_OF, text, Iterator()));
    EXPECT_EQ(FIRST_NOT_OF_REPORT + "3/3"s, searchAt(FIRST_NOT_OF, text, Iterator()));
    EXPECT_EQ(LAST_OF_REPORT + "2/2"s, searchAt(LAST_OF, text, Iterator()));
    EXPECT_EQ(LAST_NOT_OF_REPORT + "1/1"s, searchAt(LAST_NOT_OF, text, Iterator()));
}

TEST(StringSetSearch, PositionBehindTheEnd_IsTheEnd)
{
    const String text("abc");
    EXPECT_EQ("3/3", searchAt(FIRST_NOT_OF, text, {&text, {9, 9}}));
    EXPECT_EQ("2/2", searchAt(LAST_OF, text, {&text, {9, 9}}));
    EXPECT_EQ("1/1", searchAt(LAST_NOT_OF, text, {&text, {9, 9}}));
}

TEST(StringSetSearch, DefaultReport)
{
    const String text("abc");
    const ChildResult result = runInChild([&] { text.find_last_not_of("c", Iterator()); });
    EXPECT_EQ(reportTitle("Assert failed", result) +
                  "Location: src/common/unicode/String:404, find_last_not_of()\n"
                  "Condition: \"before.string==this\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

/// How often `search` in "abc" from its beginning, or up to its end, reads the text and the set, as
/// "TEXT/SET".
std::string readsOf(Search search, const char* members)
{
    const Latin1Codec ofText;
    const Latin1Codec ofSet;
    const String text = textWith("abc", ofText);
    const bool isForward = search == FIRST_OF || search == FIRST_NOT_OF;
    (text.*search)(textWith(members, ofSet), isForward ? text.begin() : text.end());
    return std::to_string(ofText.reads()) + "/" + std::to_string(ofSet.reads());
}

TEST(StringSetSearch, EachComparisonReadsBothSidesAnew)
{
    EXPECT_EQ("6/6", readsOf(FIRST_OF, "xc"));
    EXPECT_EQ("5/5", readsOf(FIRST_OF, "cx"));
    EXPECT_EQ("3/3", readsOf(FIRST_NOT_OF, "ax"));
    EXPECT_EQ("5/5", readsOf(LAST_NOT_OF, "ax"));
    EXPECT_EQ("0/0", readsOf(FIRST_OF, ""));
    EXPECT_EQ("0/0", readsOf(LAST_NOT_OF, ""));
}

// Kept: it looks at the whole set also after a member was found.
TEST(StringSetSearch, LastOf_ReadsTheWholeSetEachTime)
{
    EXPECT_EQ("6/6", readsOf(LAST_OF, "ax"));
    EXPECT_EQ("9/9", readsOf(LAST_OF, "abc"));
}

TEST(StringSetSearch, BackwardSearches_ReadNothingFromTheLimitOn)
{
    const Latin1Codec ofText;
    const String text = textWith("abcabc", ofText);
    EXPECT_EQ("1/1", nameOf(text, text.find_last_of("b", placeAt(text, 2))));
    EXPECT_EQ(2U, ofText.reads());
    EXPECT_EQ("1/1", nameOf(text, text.find_last_not_of("x", placeAt(text, 2))));
    EXPECT_EQ(4U, ofText.reads());
    text.find_last_of("b", text.begin());
    EXPECT_EQ(4U, ofText.reads());
}

} // namespace
