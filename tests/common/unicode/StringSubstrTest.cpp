// SPDX-License-Identifier: Apache-2.0

#include <climits>
#include <string>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/ChildProcess.h"
#include "support/Latin1Codec.h"
#include "support/TextForm.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::GlobalErrorHandler;
using std::SharedBuf;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::ChildResult;
using support::formOf;
using support::holders;
using support::placeAt;
using support::textWith;

constexpr const char* EMPTY = "UTF-8, 0: ";

/// "abcde", cut by numbers of characters.
std::string cut(int from, int to)
{
    return String("abcde").substr(from, to).toUtf8();
}

TEST(Substr, NumbersFromTheBeginning_EndAtTheEnd)
{
    EXPECT_EQ("abcde", cut(0, 5));
    EXPECT_EQ("a", cut(0, 1));
    EXPECT_EQ("bcd", cut(1, 4));
    EXPECT_EQ("e", cut(4, 5));
    EXPECT_EQ("abcde", cut(0, 6));
    EXPECT_EQ("bcde", cut(1, 100));
    EXPECT_EQ("abcde", cut(0, INT_MAX));
    EXPECT_EQ("", cut(5, 6));
    EXPECT_EQ("", cut(INT_MAX, INT_MAX));
}

TEST(Substr, NegativeNumbers_CountFromTheEnd)
{
    EXPECT_EQ("cd", cut(-3, -1));
    EXPECT_EQ("e", cut(-1, 5));
    EXPECT_EQ("abcd", cut(0, -1));
    EXPECT_EQ("abcde", cut(-5, 5));
    EXPECT_EQ("a", cut(-5, -4));
}

TEST(Substr, NegativeNumbersBeforeTheBeginning_AreTheBeginning)
{
    EXPECT_EQ("ab", cut(-6, 2));
    EXPECT_EQ("ab", cut(-100, 2));
    EXPECT_EQ("", cut(-100, -100));
    EXPECT_EQ("", cut(0, -5));
    EXPECT_EQ("", cut(0, -6));
    EXPECT_EQ("abcde", cut(INT_MIN, INT_MAX));
    EXPECT_EQ("", cut(INT_MIN, INT_MIN));
}

TEST(Substr, EndNotBehindTheBeginning_IsEmpty)
{
    EXPECT_EQ("", cut(2, 2));
    EXPECT_EQ("", cut(3, 1));
    EXPECT_EQ("", cut(-1, -3));
    EXPECT_EQ("", cut(INT_MAX, INT_MIN));
}

TEST(Substr, EmptyText_IsEmpty)
{
    const String text(UTF16LE);
    EXPECT_EQ(EMPTY, formOf(text.substr(0, 0)));
    EXPECT_EQ(EMPTY, formOf(text.substr(-1, 1)));
    EXPECT_EQ(EMPTY, formOf(text.substr(INT_MIN, INT_MAX)));
    EXPECT_EQ(EMPTY, formOf(text.substr(text.begin(), text.end())));
}

TEST(Substr, EmptyResult_IsUtf8InABlockOfItsOwn)
{
    const String text(UTF16BE, "abcde");
    const String empty = text.substr(2, 2);
    EXPECT_EQ(EMPTY, formOf(empty));
    EXPECT_NE(nullptr, empty.data());
    EXPECT_NE(text.buffer().data, empty.buffer().data);
    EXPECT_EQ(1U, holders(text.buffer()));
    EXPECT_EQ(EMPTY, formOf(text.substr(placeAt(text, 3), placeAt(text, 1))));
}

TEST(Substr, CharactersOfSeveralBytes_AreWhole)
{
    const char* const text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E"; // U+61, E9, 20AC, 1D11E
    EXPECT_EQ("UTF-8, 2: C3 A9 E2 82 AC", formOf(String(text).substr(1, 3)));
    EXPECT_EQ("UTF-16LE, 2: AC 20 34 D8 1E DD", formOf(String(UTF16LE, text).substr(-2, 4)));
    EXPECT_EQ("UTF-16BE, 1: D8 34 DD 1E", formOf(String(UTF16BE, text).substr(3, 4)));
    EXPECT_EQ("UCS-4, 1: AC 20 00 00", formOf(String(UCS4, text).substr(2, -1)));
}

TEST(Substr, OwnCodec_IsKept)
{
    const support::Latin1Codec codec;
    const String text = textWith("abcde", codec);
    const String middle = text.substr(1, -1);
    EXPECT_EQ("own codec, 3: 62 63 64", formOf(middle));
    EXPECT_EQ(&codec, &middle.codec());
}

TEST(Substr, View_SharesTheBlock)
{
    const String text(UTF16LE, "abcde");
    const String middle = text.substr(1, 4);
    EXPECT_EQ("UTF-16LE, 3: 62 00 63 00 64 00", formOf(middle));
    EXPECT_EQ(text.buffer().data, middle.buffer().data);
    EXPECT_EQ(text.buffer().base, middle.buffer().base);
    EXPECT_EQ(&std::Buf::DEFAULT_ALLOCATOR, middle.buffer().allocator);
    EXPECT_EQ(10U, middle.buffer().offset);
    EXPECT_EQ(16U, middle.buffer().size);
    EXPECT_EQ(2U, holders(text.buffer()));
}

TEST(Substr, WholeText_IsAView)
{
    const String text("abcde");
    const String whole = text.substr(text.begin(), text.end());
    EXPECT_EQ(text.data(), whole.data());
    EXPECT_EQ(8U, whole.buffer().offset);
    EXPECT_EQ(13U, whole.buffer().size);
    EXPECT_EQ(5U, whole.size());
}

TEST(Substr, ViewOfAView_CountsFromTheViewsOwnBeginning)
{
    const String text("abcdefgh");
    const String view = text.substr(2, 7);
    const String inner = view.substr(1, -1);
    EXPECT_EQ("UTF-8, 3: 64 65 66", formOf(inner));
    EXPECT_EQ(11U, inner.buffer().offset);
    EXPECT_EQ(14U, inner.buffer().size);
    EXPECT_EQ(3U, holders(text.buffer()));
    EXPECT_EQ("f", inner.substr(inner.find("f"), inner.end()).toUtf8());
}

TEST(Substr, PlacesOfACopy_AreOurs)
{
    const String text(UTF16BE, "abcde");
    const String copy(text);
    EXPECT_EQ("bcd", text.substr(placeAt(copy, 1), placeAt(text, 4)).toUtf8());
    EXPECT_EQ("bcd", copy.substr(placeAt(text, 1), placeAt(text, 4)).toUtf8());
}

TEST(Substr, PlacesOfAnEqualText_GiveEmpty)
{
    const String text(UTF16LE, "abcde");
    const String equal(UTF16LE, "abcde");
    EXPECT_EQ(EMPTY, formOf(text.substr(equal.begin(), equal.end())));
    EXPECT_EQ(EMPTY, formOf(text.substr(text.begin(), equal.end())));
    EXPECT_EQ(EMPTY, formOf(text.substr(equal.begin(), text.end())));
}

TEST(Substr, PlacesOfAViewThatBeginsElsewhere_GiveEmpty)
{
    const String text(UTF16LE, "abcde");
    const String tail = text.substr(1, 5);
    EXPECT_EQ(EMPTY, formOf(text.substr(tail.begin(), tail.end())));
    EXPECT_EQ(EMPTY, formOf(tail.substr(text.begin(), text.end())));
}

TEST(Substr, PlacesOfAViewThatBeginsHere_AreOurs)
{
    const String text("abcde");
    const String head = text.substr(0, 3);
    EXPECT_EQ("UTF-8, 3: 61 62 63", formOf(text.substr(head.begin(), head.end())));
    EXPECT_EQ("UTF-8, 2: 64 65", formOf(text.substr(head.end(), text.end())));
}

TEST(Substr, PlacesOfALongerTextOfTheSameBytes_ReachIntoThat)
{
    const String text("abcde");
    const String head = text.substr(0, 3);
    EXPECT_EQ("UTF-8, 4: 62 63 64 65", formOf(head.substr(placeAt(text, 1), text.end())));
    EXPECT_EQ("UTF-8, 1: 65", formOf(head.substr(placeAt(text, 4), text.end())));
    EXPECT_EQ("UTF-8, 5: 61 62 63 64 65", formOf(head.substr(head.begin(), text.end())));
}

TEST(Substr, NoText_GivesEmpty)
{
    const String text(UTF16LE, "abcde");
    const String::Iterator none;
    EXPECT_EQ(EMPTY, formOf(text.substr(none, none)));
    EXPECT_EQ(EMPTY, formOf(text.substr(none, text.end())));
    EXPECT_EQ(EMPTY, formOf(text.substr(text.begin(), none)));
    EXPECT_EQ(EMPTY, formOf(String(SharedBuf(), UTF16LE).substr(none, none)));
}

TEST(Substr, PlacesFromBeforeAnAssignment_StayInsideTheBytes)
{
    String text("abcdefghijklmnopqrstuvwxyz");
    const String::Iterator from = placeAt(text, 1);
    const String::Iterator later = placeAt(text, 10);
    const String::Iterator to = text.end();
    text = textWith("xyz", UTF8);
    EXPECT_EQ("yz", text.substr(from, to).toUtf8());
    EXPECT_EQ("", text.substr(later, to).toUtf8());
    EXPECT_EQ(text.data() + 3, text.substr(later, to).data());
    text = String();
    EXPECT_EQ("", text.substr(from, to).toUtf8());
}

TEST(Substr, ConcatenationWithASwallowedByte_EndsAtTheBytes)
{
    const String text = textWith("\xC3", UTF8) + String("Ab");
    EXPECT_EQ("UTF-8, 3: C3 41 62", formOf(text.substr(text.begin(), text.end())));
    EXPECT_EQ("UTF-8, 2: C3 41 62", formOf(text.substr(0, 3)));
    EXPECT_EQ("UTF-8, 1: 62", formOf(text.substr(1, 100)));
    EXPECT_EQ(EMPTY, formOf(text.substr(2, 3)));
}

TEST(Substr, NumbersBeyondTheCount_StopThere)
{
    const String halves = textWith("a", UTF16LE) * 4;
    EXPECT_EQ(0U, halves.size());
    EXPECT_EQ(EMPTY, formOf(halves.substr(0, 5)));
    EXPECT_EQ("UCS-4, 1: 61 00 00 00", formOf(textWith("a\0\0\0bc"s, UCS4).substr(0, 5)));
}

TEST(Substr, TextWithoutABlock_IsEmpty)
{
    const String text(SharedBuf(), UTF16LE);
    EXPECT_EQ(EMPTY, formOf(text.substr(0, 5)));
    EXPECT_EQ(EMPTY, formOf(text.substr(text.begin(), text.end())));
}

TEST(Substr, PlacesInATextWithoutABlock_AreAsserted)
{
    const ChildResult result = support::runInChild([] {
        GlobalErrorHandler::s_disable_abort = true;
        const String text(SharedBuf(), UTF8);
        const String piece = text.substr({&text, {0, 0}}, {&text, {1, 1}});
        EXPECT_EQ("UTF-8, 1: ", formOf(piece));
        EXPECT_EQ(nullptr, piece.data());
    });
    const std::string title = support::reportTitle("Assert failed", result);
    const std::string rest = "Condition: \"buf\"\nNo reason given\nNo error context set\n";
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(title + "Location: include/common/buffers:156, shrink()\n" + rest + title +
                  "Location: include/common/buffers:148, operator+()\n" + rest,
              result.err);
}

} // namespace
