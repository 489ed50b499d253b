// SPDX-License-Identifier: Apache-2.0
//
// What all codecs share: the objects and their constants, the order of the operations, and how a
// character is found.

#include <common/unicode/Codec.h>

#include <cstddef>
#include <new>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

#include "support/CodecCalls.h"
#include "support/Latin1Codec.h"
#include "support/SlotCall.h"

namespace {

using namespace std::unicode;
using support::Bytes;
using support::positionOf;
using support::SlotCall;

const Bytes UTF8_TEXT = {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x90, 0x8D, 0x88};
const Bytes UTF16LE_TEXT = {0x61, 0, 0xE9, 0, 0xAC, 0x20, 0x00, 0xD8, 0x48, 0xDF};
const Bytes UTF16BE_TEXT = {0, 0x61, 0, 0xE9, 0x20, 0xAC, 0xD8, 0x00, 0xDF, 0x48};
const Bytes UCS4_TEXT = {0x61, 0, 0, 0, 0xE9, 0, 0, 0, 0xAC, 0x20, 0, 0, 0x48, 0x03, 0x01, 0};

TEST(CodecObjects, Constants)
{
    EXPECT_EQ(0xFEFFU, BOM);
    EXPECT_EQ(0xFFFEU, MOB);
    EXPECT_EQ(0xFFFDU, REPLACEMENT_CHAR);
}

TEST(CodecObjects, AreFourOfTheirTypes)
{
    const Codec* const codecs[] = {&UTF8, &UTF16LE, &UTF16BE, &UCS4};
    const std::type_info* const types[] = {&typeid(Utf8), &typeid(Utf16), &typeid(Utf16),
                                           &typeid(Ucs4)};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(*types[i], typeid(*codecs[i])) << i;
        for (int other = 0; other < i; ++other)
            EXPECT_NE(codecs[other], codecs[i]) << i;
    }
    EXPECT_FALSE(UTF16LE.big_endian);
    EXPECT_TRUE(UTF16BE.big_endian);
}

TEST(CodecObjects, References)
{
    EXPECT_EQ(static_cast<const Codec*>(&UTF16LE), &UTF16MACHINE);
    EXPECT_EQ(static_cast<const Codec*>(&UCS4), &WSTRING);
    EXPECT_EQ(static_cast<const Codec*>(&UTF8), &NATIVE);
}

TEST(CodecObjects, Types)
{
    static_assert(std::is_abstract_v<Codec> && std::has_virtual_destructor_v<Codec>);
    static_assert(sizeof(Codec) == sizeof(void*), "no data");
    static_assert(sizeof(Utf8) == sizeof(void*) && sizeof(Ucs4) == sizeof(void*), "no data");
    static_assert(sizeof(Utf16) == 2 * sizeof(void*), "one flag");
    static_assert(std::is_same_v<const bool, decltype(Utf16::big_endian)>);
    static_assert(sizeof(Codec::Index) == 8);
    const Codec::Index fresh;
    EXPECT_EQ("{0,0}", support::positionText(fresh));
}

TEST(CodecObjects, OfACaller_WorkAsTheLibrarysOwn)
{
    const Utf8 utf8;
    const Utf16 little(false);
    const Utf16 big(true);
    const Ucs4 ucs4;
    EXPECT_EQ("1 10348 {4,10}", support::readForward(utf8, UTF8_TEXT, 4));
    EXPECT_EQ("1 10348 {4,10}", support::readForward(little, UTF16LE_TEXT, 4));
    EXPECT_EQ("1 10348 {4,10}", support::readForward(big, UTF16BE_TEXT, 4));
    EXPECT_EQ("1 10348 {4,16}", support::readForward(ucs4, UCS4_TEXT, 4));
}

TEST(CodecObjects, MarksAreOrdinaryCharacters)
{
    EXPECT_EQ("1 FEFF {1,3}", support::readForward(UTF8, {0xEF, 0xBB, 0xBF, 0x41}));
    EXPECT_EQ("1 FEFF {1,2}", support::readForward(UTF16LE, {0xFF, 0xFE, 0x41, 0}));
    EXPECT_EQ("1 FFFE {1,2}", support::readForward(UTF16BE, {0xFF, 0xFE, 0x41, 0}));
    EXPECT_EQ("1 FEFF {1,4}", support::readForward(UCS4, {0xFF, 0xFE, 0, 0}));
}

TEST(CodecAt, EachCharacter)
{
    const char* const utf8[] = {"{0,0}", "{1,1}", "{2,3}", "{3,6}", "{4,10}"};
    const char* const utf16[] = {"{0,0}", "{1,2}", "{2,4}", "{3,6}", "{4,10}"};
    const char* const ucs4[] = {"{0,0}", "{1,4}", "{2,8}", "{3,12}", "{4,16}"};
    for (unsigned int i = 0; i < 5; ++i) {
        EXPECT_EQ(utf8[i], positionOf(UTF8, UTF8_TEXT, i));
        EXPECT_EQ(utf16[i], positionOf(UTF16LE, UTF16LE_TEXT, i));
        EXPECT_EQ(utf16[i], positionOf(UTF16BE, UTF16BE_TEXT, i));
        EXPECT_EQ(ucs4[i], positionOf(UCS4, UCS4_TEXT, i));
    }
}

TEST(CodecAt, BehindTheLastCharacter_IsTheEnd)
{
    EXPECT_EQ("{4,10}", positionOf(UTF8, UTF8_TEXT, 5));
    EXPECT_EQ("{4,10}", positionOf(UTF8, UTF8_TEXT, 0xFFFFFFFF));
    EXPECT_EQ("{4,10}", positionOf(UTF16LE, UTF16LE_TEXT, 5));
    EXPECT_EQ("{4,10}", positionOf(UTF16BE, UTF16BE_TEXT, 0xFFFFFFFF));
    EXPECT_EQ("{4,16}", positionOf(UCS4, UCS4_TEXT, 0xFFFFFFFF));
}

TEST(CodecAt, OfNothing_IsTheStart)
{
    for (const Codec* codec : {static_cast<const Codec*>(&UTF8), static_cast<const Codec*>(&UCS4),
                               static_cast<const Codec*>(&UTF16LE)}) {
        EXPECT_EQ("{0,0}", positionOf(*codec, {}, 0));
        EXPECT_EQ("{0,0}", positionOf(*codec, {}, 1));
    }
}

TEST(CodecAt, MalformedBytes_AreOneCharacterEach)
{
    EXPECT_EQ("{1,2}", positionOf(UTF8, {0xC3, 0x41, 0x42}, 1));
    EXPECT_EQ("{2,3}", positionOf(UTF8, {0xC3, 0x41, 0x42}, 2));
    EXPECT_EQ("{3,3}", positionOf(UTF8, {0x80, 0xFE, 0xFF}, 3));
    EXPECT_EQ("{1,2}", positionOf(UTF8, {0xE2, 0x82}, 2));
    EXPECT_EQ("{1,4}", positionOf(UTF16LE, {0x00, 0xD8, 0x41, 0x00}, 2));
    EXPECT_EQ("{1,2}", positionOf(UTF16BE, {0x00, 0x41, 0xD8}, 2)) << "an odd last byte";
}

TEST(CodecAt, Inherited_AsksForAllCharactersAtOnce)
{
    const support::Latin1Codec codec;
    EXPECT_EQ("{2,2}", positionOf(codec, {0x61, 0xE9, 0x62}, 2));
    EXPECT_EQ(1U, codec.forwardReads());
    EXPECT_EQ("{3,3}", positionOf(codec, {0x61, 0xE9, 0x62}, 4));
    EXPECT_EQ("{0,0}", positionOf(codec, {0x61, 0xE9, 0x62}, 0));
    EXPECT_EQ(3U, codec.forwardReads());
}

/// A codec's operations by their slots, on its text of the same four characters.
void expectSlots(const Codec& codec, const Bytes& text, const char* second, const char* written)
{
    using Read = unsigned int(const unsigned char*, unsigned int, const Codec::Index&);
    using Forward = unsigned int(const unsigned char*, unsigned int, Codec::Index&, unsigned int,
                                 unsigned int&);
    using Write = unsigned int(unsigned char*, unsigned int, Codec::Index&, unsigned int);
    using At = Codec::Index(const unsigned char*, unsigned int, unsigned int);
    const unsigned int size = support::sizeOf(text);
    Codec::Index at;
    unsigned int last = 0;
    EXPECT_EQ(0x61U, SlotCall<Read>::of(&codec, 2, text.data(), size, at));
    EXPECT_EQ(1U, SlotCall<Forward>::of(&codec, 3, text.data(), size, at, 2, last));
    EXPECT_EQ(0xE9U, last);
    EXPECT_EQ(second, support::positionText(at));
    Bytes room(4, 0xEE);
    at = {};
    EXPECT_EQ(1U, SlotCall<Write>::of(&codec, 4, room.data(), 4, at, 0x20AC));
    EXPECT_EQ(written, support::bytesText(room.data(), 4));
    EXPECT_EQ(4U, SlotCall<unsigned int(unsigned int)>::of(&codec, 5, 0x10348));
    EXPECT_EQ(second, support::positionText(SlotCall<At>::of(&codec, 6, text.data(), size, 2)));
}

TEST(CodecSlots, 2To6_Operations)
{
    expectSlots(UTF8, UTF8_TEXT, "{2,3}", "E2 82 AC EE");
    expectSlots(UTF16LE, UTF16LE_TEXT, "{2,4}", "AC 20 EE EE");
    expectSlots(UTF16BE, UTF16BE_TEXT, "{2,4}", "20 AC EE EE");
    expectSlots(UCS4, UCS4_TEXT, "{2,8}", "AC 20 00 00");
}

/// Counts what becomes of an object of the class.
class Doomed : public support::Latin1Codec
{
public:
    ~Doomed() override { ++s_destroyed; }
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void* memory)
    {
        ++s_released;
        ::operator delete(memory);
    }

    static inline int s_destroyed = 0;
    static inline int s_released = 0;
};

TEST(CodecSlots, 0To1_Destructors)
{
    alignas(Doomed) unsigned char memory[sizeof(Doomed)];
    SlotCall<void()>::of(::new (memory) Doomed, 0);
    EXPECT_EQ(1, Doomed::s_destroyed);
    EXPECT_EQ(0, Doomed::s_released);
    SlotCall<void()>::of(new Doomed, 1);
    EXPECT_EQ(2, Doomed::s_destroyed);
    EXPECT_EQ(1, Doomed::s_released);
}

} // namespace
