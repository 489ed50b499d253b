// SPDX-License-Identifier: Apache-2.0

#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/Latin1Codec.h"
#include "support/TextForm.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::formOf;
using support::textWith;
using Walk = String::Spliterator;

/// The pieces of [first, last) behind one another, as the glue of their sum.
template <typename Iterator>
std::string joined(const String& glue, const Iterator& first, const Iterator& last)
{
    return formOf(glue.join(first, last));
}

/// Gives the texts a, b and c, once: all copies move on together.
class SinglePass
{
public:
    explicit SinglePass(const char*& next) : m_next(&next) {}

    String operator*() const { return String(std::string(1, **m_next)); }
    SinglePass& operator++()
    {
        ++*m_next;
        return *this;
    }
    bool operator!=(const SinglePass&) const { return **m_next != '\0'; }

private:
    const char** m_next;
};

/// The same with the types that the standard algorithms ask for.
struct SinglePassInput : SinglePass
{
    using iterator_category = std::input_iterator_tag;
    using value_type = String;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = String;
    using SinglePass::SinglePass;
};

/// Claims to give the same two texts at each walk, and gives the next two of a row.
struct Changing
{
    using iterator_category = std::forward_iterator_tag;
    using value_type = String;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = String;

    String operator*() const { return *(*next)++; }
    Changing& operator++() { return ++step, *this; }
    bool operator!=(const Changing& other) const { return step != other.step; }

    const char* const** next;
    int step = 0;
};

TEST(Join, NoPieces_IsEmptyUtf8)
{
    const std::vector<String> none;
    EXPECT_EQ("UTF-8, 0: ", joined(String(UTF16LE, "+"), none.begin(), none.end()));
    EXPECT_EQ("UTF-8, 0: ", joined("+", Walk(), Walk()));
    EXPECT_EQ("UTF-8, 0: ", joined("+", Walk("", ""), Walk()));
}

TEST(Join, OnePiece_HasNoGlue)
{
    const String one[] = {String(UTF16BE, "\xE2\x82\xAC")};
    EXPECT_EQ("UTF-8, 1: E2 82 AC", joined("+", std::begin(one), std::end(one)));
    EXPECT_NE(one[0].data(), String("+").join(std::begin(one), std::end(one)).data());
}

TEST(Join, MixedEncodings_AreUtf8)
{
    const support::Latin1Codec codec;
    const std::vector<String> pieces = {String(UTF16LE, "a"), String(UCS4, "\xE2\x82\xAC"), "b",
                                        textWith("\xE9", codec)};
    EXPECT_EQ("UTF-8, 7: 61 2B E2 82 AC 2B 62 2B C3 A9",
              joined(String(UTF16BE, "+"), pieces.begin(), pieces.end()));
    EXPECT_EQ("UTF-8, 4: 61 E2 82 AC 62 C3 A9", joined("", pieces.begin(), pieces.end()));
}

TEST(Join, EmptyPieces_HaveGlueBetweenThem)
{
    const std::list<String> pieces = {String(), String(UTF16LE), String(std::SharedBuf(), UTF8)};
    EXPECT_EQ("UTF-8, 2: 2B 2B", joined("+", pieces.begin(), pieces.end()));
    EXPECT_EQ("UTF-8, 0: ", joined("", pieces.begin(), pieces.end()));
}

TEST(Join, Spliterators_AreWalked)
{
    const Walk walk(String(UTF16LE, "a,,b"), ",");
    EXPECT_EQ("UTF-8, 6: 61 3A 3A 3A 3A 62", joined("::", walk, Walk()));
    EXPECT_EQ("UTF-8, 3: 3A 3A 62", joined("::", std::next(walk), Walk()));
}

TEST(Join, SinglePassIterators_AreWalkedOnce)
{
    const char* bare = "abc";
    EXPECT_EQ("UTF-8, 5: 61 2B 62 2B 63", joined("+", SinglePass(bare), SinglePass(bare)));
    const char* typed = "abc";
    EXPECT_EQ("UTF-8, 5: 61 2B 62 2B 63",
              joined("+", SinglePassInput(typed), SinglePassInput(typed)));
}

TEST(Join, SinglePassOfManyPieces_GrowsToTheirSize)
{
    const char* next = "abcdefghijklmnopqrstuvwxyz";
    const String text = String("::").join(SinglePass(next), SinglePass(next));
    EXPECT_EQ("a::b::c::d::e::f::g::h::i::j::k::l::m::n::o::p::q::r::s::t::u::v::w::x::y::z",
              text.toUtf8());
    EXPECT_EQ(76U, text.size());
    EXPECT_EQ(84U, text.buffer().size);
}

TEST(Join, WalksThatDiffer_GiveTheSecondOne)
{
    const char* const growing[] = {"a", "b", "abcd", "efghij"};
    const char* const* next = growing;
    EXPECT_EQ("UTF-8, 11: 61 62 63 64 2B 65 66 67 68 69 6A",
              joined("+", Changing{&next}, Changing{&next, 2}));
    const char* const shrinking[] = {"abcd", "efgh", "a", ""};
    next = shrinking;
    EXPECT_EQ("UTF-8, 2: 61 2B", joined("+", Changing{&next}, Changing{&next, 2}));
}

TEST(Join, Result_IsThatOfRepeatedSums)
{
    const String glue(UTF16LE, "\xE2\x82\xAC");
    const String swallowing = textWith("\x00\xD8"s, UTF16LE) + String("A");
    const String pieces[] = {textWith("a\xC3", UTF8), swallowing, textWith("b\0c"s, UTF16LE)};
    const String sums = String() + pieces[0] + glue + pieces[1] + glue + pieces[2];
    EXPECT_EQ("UTF-8, 7: 61 C3 E2 82 AC EF BF BD E2 82 AC 62", formOf(sums));
    EXPECT_EQ(formOf(sums), joined(glue, std::begin(pieces), std::end(pieces)));
}

TEST(Replace, EachOccurrence_IsReplacedFromTheLeft)
{
    EXPECT_EQ("axycxy", String("abcb").replace("b", "xy").toUtf8());
    EXPECT_EQ("ba", String("aaa").replace("aa", "b").toUtf8());
    EXPECT_EQ("aaaa", String("aa").replace("a", "aa").toUtf8());
    EXPECT_EQ("abc", String("abc").replace("d", "x").toUtf8());
    EXPECT_EQ("x", String("abc").replace("abc", "x").toUtf8());
    EXPECT_EQ("xbx", String("aba").replace("a", "x").toUtf8());
}

TEST(Replace, ByNothing_Removes)
{
    EXPECT_EQ("UTF-8, 2: 61 63", formOf(String("abcb").replace("b", "")));
    EXPECT_EQ("UTF-8, 0: ", formOf(String(UTF16LE, "bb").replace("b", String(UCS4))));
}

TEST(Replace, Nothing_PutsTheOtherBetweenCharacters)
{
    EXPECT_EQ("a-b-c", String("abc").replace("", "-").toUtf8());
    EXPECT_EQ("a", String("a").replace("", "-").toUtf8());
    EXPECT_EQ("UTF-8, 0: ", formOf(String(UTF16LE).replace("", "-")));
    EXPECT_EQ("UTF-8, 0: ", formOf(String(UTF16LE).replace("a", "-")));
}

TEST(Replace, AnyEncoding_GivesUtf8)
{
    const String text(UTF16LE, "a\xE2\x82\xAC"
                               "b");
    const char* const expected = "UTF-8, 3: 61 2D 62";
    EXPECT_EQ(expected, formOf(text.replace("\xE2\x82\xAC", String(UTF16BE, "-"))));
    EXPECT_EQ("UTF-8, 3: 61 E2 82 AC 62", formOf(text.replace("c", "-")));
    EXPECT_EQ("UTF-8, 2: C3 A9 62", formOf(text.replace("a\xE2\x82\xAC", String(0xE9U))));
}

TEST(Replace, Self_IsAnyOperand)
{
    const String text(UTF16BE, "ab");
    EXPECT_EQ("UTF-8, 2: 61 62", formOf(text.replace(text, text)));
    EXPECT_EQ("UTF-8, 3: 61 62 62", formOf(text.replace("a", text)));
    EXPECT_EQ("UTF-8, 0: ", formOf(text.replace(text, "")));
}

TEST(Replace, MalformedBytes_AreKeptInUtf8Alone)
{
    EXPECT_EQ("UTF-8, 3: FF 2D 62", formOf(textWith("\xFF"
                                                    "ab",
                                                    UTF8)
                                               .replace("a", "-")));
    EXPECT_EQ("UTF-8, 2: EF BF BD 2D", formOf(textWith("\x00\xDC"
                                                       "a\0"s,
                                                       UTF16LE)
                                                  .replace("a", "-")));
}

} // namespace
