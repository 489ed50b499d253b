// SPDX-License-Identifier: Apache-2.0
//
// What each constructor of a text makes: its encoding, its bytes, its number of characters, and
// whose block it holds.

#include <common/unicode/String.h>

#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using namespace std::unicode;
using std::Buf;
using std::SharedBuf;
using support::blockWith;
using support::bytesOf;
using support::holders;
using support::textWith;

static_assert(std::is_convertible_v<const char*, String>);
static_assert(std::is_convertible_v<std::string, String>);
static_assert(std::is_convertible_v<const wchar_t*, String>);
static_assert(std::is_convertible_v<std::wstring, String>);
static_assert(std::is_constructible_v<String, unsigned int>);
static_assert(!std::is_convertible_v<unsigned int, String>);
static_assert(std::is_constructible_v<String, const Codec&>);
static_assert(!std::is_convertible_v<const Codec&, String>);

/// Writes each ASCII character twice and reads both as characters.
class DoublingCodec : public Utf8
{
public:
    unsigned int encoded_bytes(unsigned int) const override { return 2; }
    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override
    {
        Utf8::write_forward(data, size, at, c);
        return Utf8::write_forward(data, size, at, c);
    }
};

/// `text` is `count` characters in `codec`, and alone holds a fresh block with exactly `bytes`.
void expectFresh(const String& text, const Codec& codec, unsigned int count,
                 const std::string& bytes)
{
    EXPECT_EQ(&codec, &text.codec());
    EXPECT_EQ(count, text.size());
    EXPECT_EQ(bytes, bytesOf(text));
    const SharedBuf& block = text.buffer();
    ASSERT_NE(nullptr, block.data);
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(8U, block.offset);
    EXPECT_EQ(bytes.size() + 8, block.size);
    EXPECT_EQ(block.data, block.base);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, block.allocator);
}

/// `text` is `count` characters in `codec`, and shares the block of `buffer` with it alone.
void expectShared(const String& text, const Codec& codec, unsigned int count,
                  const SharedBuf& buffer)
{
    EXPECT_EQ(&codec, &text.codec());
    EXPECT_EQ(count, text.size());
    EXPECT_EQ(buffer.payload(), text.data());
    EXPECT_EQ(buffer.length(), text.byteLength());
    EXPECT_EQ(2U, holders(buffer));
}

TEST(StringConstruction, Empty_OwnsABlockOfEightBytes)
{
    expectFresh(String(), UTF8, 0, "");
    EXPECT_EQ(8U, String().buffer().size);
    EXPECT_EQ(0U, String().byteLength());
    EXPECT_TRUE(String().empty());
}

TEST(StringConstruction, EmptyOfACodec)
{
    const DoublingCodec own;
    expectFresh(String(UTF8), UTF8, 0, "");
    expectFresh(String(UTF16BE), UTF16BE, 0, "");
    expectFresh(String(UCS4), UCS4, 0, "");
    expectFresh(String(own), own, 0, "");
}

TEST(StringConstruction, Character_IsOneValueInUcs4)
{
    expectFresh(String(0U), UCS4, 1, "\0\0\0\0"s);
    expectFresh(String(0x20ACU), UCS4, 1, "\xAC\x20\0\0"s);
    expectFresh(String(0x1F600U), UCS4, 1, "\x00\xF6\x01\0"s);
    expectFresh(String(0xFFFFFFFFU), UCS4, 1, "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(0xFFFFFFFFU, String(0xFFFFFFFFU).at(0));
}

TEST(StringConstruction, Character_SurrogateIsKeptAndReadsAsTheReplacement)
{
    const String text(0xD800U);
    expectFresh(text, UCS4, 1, "\x00\xD8\0\0"s);
    EXPECT_EQ(0xFFFDU, text.at(0));
}

TEST(StringConstruction, NarrowText_BytesAsTheyAre)
{
    expectFresh(String("gr\xC3\xBC\xC3\x9F"), UTF8, 4, "gr\xC3\xBC\xC3\x9F");
    expectFresh(String("\xC3"
                       "Ab"),
                UTF8, 2, "\xC3"s + "Ab");
    expectFresh(String("a\0b"), UTF8, 1, "a");
    expectFresh(String(""), UTF8, 0, "");
}

TEST(StringConstruction, NarrowString_BytesAsTheyAre)
{
    expectFresh(String("a\0\xC3\xBC\0"s), UTF8, 4, "a\0\xC3\xBC\0"s);
    expectFresh(String("\xC0\x80\xFE"s), UTF8, 2, "\xC0\x80\xFE");
    expectFresh(String("\0"s), UTF8, 1, "\0"s);
    expectFresh(String(""s), UTF8, 0, "");
}

TEST(StringConstruction, WideText_ValuesAsTheyAre)
{
    expectFresh(String(L"a\u20AC"), UCS4, 2, "a\0\0\0\xAC\x20\0\0"s);
    expectFresh(String(L"a\0b"), UCS4, 1, "a\0\0\0"s);
    const wchar_t surrogate[] = {static_cast<wchar_t>(0xD800), 0};
    expectFresh(String(surrogate), UCS4, 1, "\x00\xD8\0\0"s);
    expectFresh(String(L""), UCS4, 0, "");
}

TEST(StringConstruction, WideString_ValuesAsTheyAre)
{
    expectFresh(String(L"a\0b"s), UCS4, 3, "a\0\0\0\0\0\0\0b\0\0\0"s);
    expectFresh(String(std::wstring(1, static_cast<wchar_t>(0xDFFF))), UCS4, 1, "\xFF\xDF\0\0"s);
    expectFresh(String(L""s), UCS4, 0, "");
}

TEST(StringConstruction, Block_IsSharedUncheckedWithItsMark)
{
    const SharedBuf block = blockWith("\xEF\xBB\xBF\xC3"
                                      "A");
    {
        const String text(block, UTF8);
        expectShared(text, UTF8, 2, block);
        EXPECT_EQ(0xFEFFU, text.at(0));
    }
    EXPECT_EQ(1U, holders(block));
    block.unref();
}

TEST(StringConstruction, Block_InTheGivenCodecWhateverItsMark)
{
    const SharedBuf block = blockWith("\xFF\xFE\x00\x41"sv);
    const String text(block, UTF16BE);
    expectShared(text, UTF16BE, 2, block);
    EXPECT_EQ(0xFFFEU, text.at(0));
    EXPECT_EQ(0x41U, text.at(1));
    block.unref();
}

TEST(StringConstruction, Block_View)
{
    const SharedBuf block = blockWith("abcdef");
    const SharedBuf tail = block + 1;
    const SharedBuf middle = tail.shrink(2);
    tail.unref();
    block.unref();
    expectShared(String(middle, UTF8), UTF8, 3, middle);
    EXPECT_EQ(block.data + 9, String(middle, UTF8).data());
    EXPECT_EQ("bcd", bytesOf(String(middle, UTF8)));
    EXPECT_EQ(1U, holders(middle));
    middle.unref();
}

TEST(StringConstruction, NullBuffer_IsAnEmptyTextWithoutABlock)
{
    const String text(SharedBuf(), UTF16LE);
    EXPECT_EQ(&UTF16LE, &text.codec());
    EXPECT_EQ(0U, text.size());
    EXPECT_EQ(0U, text.byteLength());
    EXPECT_EQ(nullptr, text.data());
    EXPECT_EQ(String(), text);
    expectFresh(String(UTF8, SharedBuf(), UTF16LE), UTF8, 0, "");
}

TEST(StringConstruction, Copy_SharesAndTakesTheCountAlong)
{
    const String joined = String("\xC3") + String("\xA9");
    const String copy(joined);
    expectShared(copy, UTF8, 2, joined.buffer());
    EXPECT_EQ(1U, copy.count());
}

TEST(StringConstruction, ConvertedCharacter_EachEncoding)
{
    expectFresh(String(UTF8, 0x1F600U), UTF8, 1, "\xF0\x9F\x98\x80");
    expectFresh(String(UTF16LE, 0x1F600U), UTF16LE, 1, "\x3D\xD8\x00\xDE"s);
    expectFresh(String(UTF16BE, 0x20ACU), UTF16BE, 1, "\x20\xAC");
    expectFresh(String(UCS4, 0x20ACU), UCS4, 1, "\xAC\x20\0\0"s);
    expectFresh(String(UTF8, 0U), UTF8, 1, "\0"s);
}

TEST(StringConstruction, ConvertedCharacter_WhatHasNoFormIsReplaced)
{
    expectFresh(String(UTF8, 0xD800U), UTF8, 1, "\xEF\xBF\xBD");
    expectFresh(String(UTF8, 0x80000000U), UTF8, 1, "\xEF\xBF\xBD");
    expectFresh(String(UTF16LE, 0x110000U), UTF16LE, 1, "\xFD\xFF");
    expectFresh(String(UTF16BE, 0x1D800U), UTF16BE, 1, "\xFF\xFD");
    expectFresh(String(UCS4, 0xD800U), UCS4, 1, "\xFD\xFF\0\0"s);
}

TEST(StringConstruction, ConvertedCharacter_IsOneWithoutCounting)
{
    const DoublingCodec own;
    const String text(own, 0x61U);
    expectFresh(text, own, 1, "aa");
    EXPECT_EQ(2U, text.count());
    expectFresh(String(own, "a"), own, 2, "aa");
}

TEST(StringConstruction, ConvertedNarrowText)
{
    expectFresh(String(UTF16LE, "a\xC3\xBC"), UTF16LE, 2, "a\0\xFC\0"s);
    expectFresh(String(UTF16BE, "a\0b"), UTF16BE, 1, "\0a"s);
    expectFresh(String(UCS4, ""), UCS4, 0, "");
    expectFresh(String(UTF16LE, "a\0\xC3\xBC"s), UTF16LE, 3, "a\0\0\0\xFC\0"s);
    expectFresh(String(UCS4, "\xF0\x9F\x98\x80"s), UCS4, 1, "\x00\xF6\x01\0"s);
    expectFresh(String(UTF16BE, ""s), UTF16BE, 0, "");
}

TEST(StringConstruction, ConvertedWideText)
{
    expectFresh(String(UTF8, L"a\u20AC"), UTF8, 2, "a\xE2\x82\xAC");
    expectFresh(String(UTF16LE, L"\U0001F600"), UTF16LE, 1, "\x3D\xD8\x00\xDE"s);
    expectFresh(String(UTF8, L"a\0b"), UTF8, 1, "a");
    expectFresh(String(UTF8, L""), UTF8, 0, "");
}

// Kept: the length of a wide string counts bytes here.
TEST(StringConstruction, ConvertedWideString_TakesOnlyAQuarter)
{
    expectFresh(String(UTF8, L"abcdefgh"s), UTF8, 2, "ab");
    expectFresh(String(UTF8, L"abcdefg"s), UTF8, 1, "a");
    expectFresh(String(UTF8, L"abcd"s), UTF8, 1, "a");
    expectFresh(String(UTF8, L"abc"s), UTF8, 0, "");
    expectFresh(String(UTF16LE, L"abcdefghijk"s), UTF16LE, 2, "a\0b\0"s);
    expectFresh(String(UCS4, L"abcdefgh"s), UCS4, 2, "a\0\0\0b\0\0\0"s);
    expectFresh(String(UTF8, L""s), UTF8, 0, "");
}

TEST(StringConstruction, ConvertedToTheSameCodec_IsEncodedAnew)
{
    expectFresh(String(UTF8, "\xC3"
                             "Ab"),
                UTF8, 2, "\xEF\xBF\xBD"s + "b");
    expectFresh(String(UTF8, "\xC0\x80\xFE"s), UTF8, 2, "\0\xEF\xBF\xBD"s);
    const wchar_t surrogate[] = {static_cast<wchar_t>(0xDC00), 0};
    expectFresh(String(UCS4, surrogate), UCS4, 1, "\xFD\xFF\0\0"s);
}

TEST(StringConstruction, ConvertedBlock_OfTheSameCodec_IsShared)
{
    const SharedBuf block = blockWith("\xC3"
                                      "Ab");
    expectShared(String(UTF8, block, UTF8), UTF8, 2, block);
    EXPECT_EQ(1U, holders(block));
    block.unref();
}

TEST(StringConstruction, ConvertedBlock_OfAnotherCodec_IsReadFromItsOffset)
{
    const SharedBuf block = blockWith("ab\xC3\xBC\xC3");
    const SharedBuf view = block + 1;
    expectFresh(String(UTF16LE, view, UTF8), UTF16LE, 3, "b\0\xFC\0\xFD\xFF"s);
    EXPECT_EQ(2U, holders(block));
    view.unref();
    block.unref();
}

TEST(StringConstruction, ConvertedString_OfTheSameCodec_IsSharedAndCountedAnew)
{
    const String joined = String("\xC3") + String("\xA9");
    EXPECT_EQ(2U, joined.size());
    expectShared(String(UTF8, joined), UTF8, 1, joined.buffer());
    EXPECT_EQ(1U, holders(joined.buffer()));
}

TEST(StringConstruction, ConvertedString_OfAnotherCodec)
{
    const String text("a\xE2\x82\xAC\xFE");
    expectFresh(String(UTF16BE, text), UTF16BE, 3, "\0a\x20\xAC\xFF\xFD"s);
    EXPECT_EQ(1U, holders(text.buffer()));
}

// Codecs are told by their address, whatever they do.
TEST(StringConstruction, ConvertedString_OfAnEqualCodec_IsEncodedAnew)
{
    const Utf8 own;
    const String text = textWith("a\xFE", own);
    expectFresh(String(UTF8, text), UTF8, 2, "a\xEF\xBF\xBD");
    expectFresh(String(UTF8, text.buffer(), own), UTF8, 2, "a\xEF\xBF\xBD");
    expectShared(String(own, text), own, 2, text.buffer());
}

TEST(StringConstruction, FromUtf8_BytesAsTheyAre)
{
    expectFresh(String::fromUtf8("a\0\xC3\xBC"sv), UTF8, 3, "a\0\xC3\xBC"s);
    expectFresh(String::fromUtf8("abc"sv.substr(1, 1)), UTF8, 1, "b");
    expectFresh(String::fromUtf8("\xC3"sv), UTF8, 1, "\xC3");
    expectFresh(String::fromUtf8({}), UTF8, 0, "");
}

// Blocks of ASCII are counted while they are copied.
TEST(StringConstruction, LongAscii_OfEveryLength)
{
    std::string text;
    for (unsigned int size = 0; size <= 600; ++size) {
        const String copy(text);
        ASSERT_EQ(size, copy.size());
        ASSERT_EQ(text, std::string(reinterpret_cast<const char*>(copy.data()), copy.byteLength()));
        text += static_cast<char>('a' + size % 26);
    }
}

TEST(StringConstruction, LongAscii_AnotherCharacterAnywhere)
{
    for (unsigned int place = 0; place <= 600; ++place) {
        std::string text(600, 'a');
        text.insert(place, "\xE2\x82\xAC");
        const String copy(text);
        ASSERT_EQ(601u, copy.size());
        ASSERT_EQ(text, std::string(reinterpret_cast<const char*>(copy.data()), copy.byteLength()));
    }
}

} // namespace
