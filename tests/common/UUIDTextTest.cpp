// SPDX-License-Identifier: Apache-2.0
//
// The text form of a UUID: what is one, and what becomes of a value when a text is none.

#include <common/UUID.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/OpenStorage.h"

namespace {

/// How many blocks the program has asked for.
std::atomic<int> g_allocations;

} // namespace

#if defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define SUPPORT_ALLOCATION_HOOK
#endif
#endif

#ifdef SUPPORT_ALLOCATION_HOOK

extern "C" void __sanitizer_malloc_hook(const volatile void*, std::size_t)
{
    ++g_allocations;
}

#else

void* operator new(std::size_t size)
{
    ++g_allocations;
    void* const block = std::malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

#endif

namespace {

using namespace std::string_literals;
using std::ErrorStorage;
using std::UUID;
using support::OpenStorage;

constexpr const char* NIL = "00000000-0000-0000-0000-000000000000";
constexpr const char* SAMPLE = "123e4567-e89b-12d3-a456-426614174000";
constexpr const char* BEFORE = "00112233-4455-6677-8899-aabbccddeeff";

UUID before()
{
    return UUID(0x00112233, 0x4455, 0x6677, 0x8899, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF);
}

/// `text` refused: the error, the flag and the value from before.
void expectRefused(const std::string& text)
{
    SCOPED_TRACE(testing::PrintToString(text));
    const OpenStorage errors;
    UUID id = before();
    id.parse(text);
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(BEFORE, id.toString());
    EXPECT_EQ(1, errors.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_TRUE(ErrorStorage::equals(UUID::Error));
    EXPECT_EQ(0, ErrorStorage::id());
    EXPECT_STREQ("Syntax error UUID", ErrorStorage::reason());
    EXPECT_STREQ("framework/include/common/UUID", ErrorStorage::file());
    UUID out = before();
    EXPECT_FALSE(UUID::fromChars(text.data(), text.size(), out));
    EXPECT_EQ(BEFORE, out.toString());
    EXPECT_FALSE(out.isInvalid());
    EXPECT_EQ(1, errors.m_count);
}

/// `text` taken, as `printed`, by each of the three readers.
void expectTaken(const std::string& printed, const std::string& text)
{
    SCOPED_TRACE(testing::PrintToString(text));
    const OpenStorage errors;
    UUID id = before();
    id.parse(text);
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ(printed, id.toString());
    const UUID built(text);
    EXPECT_FALSE(built.isInvalid());
    EXPECT_EQ(printed, built.toString());
    UUID out = before();
    EXPECT_TRUE(UUID::fromChars(text.data(), text.size(), out));
    EXPECT_EQ(printed, out.toString());
    EXPECT_EQ(0, errors.m_count);
}

std::string with(std::size_t position, char c)
{
    std::string text = SAMPLE;
    text[position] = c;
    return text;
}

TEST(UUIDText, Parse_ReadsAndPrintsTheSame)
{
    expectTaken("123e4567-e89b-12d3-a456-426614174000", "123e4567-e89b-12d3-a456-426614174000");
    expectTaken("01234567-89ab-cdef-fedc-ba9876543210", "01234567-89ab-cdef-fedc-ba9876543210");
    expectTaken("ffffffff-ffff-ffff-ffff-ffffffffffff", "ffffffff-ffff-ffff-ffff-ffffffffffff");
    expectTaken("00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000000");
}

TEST(UUIDText, Parse_FieldsAreNumbersMostSignificantDigitFirst)
{
    const UUID expected(0x123E4567, 0xE89B, 0x12D3, 0xA456, 0x42, 0x66, 0x14, 0x17, 0x40, 0x00);
    EXPECT_TRUE(expected == UUID(SAMPLE));
}

TEST(UUIDText, Parse_EitherCasePrintsInLowerCase)
{
    expectTaken(SAMPLE, "123E4567-E89B-12D3-A456-426614174000");
    expectTaken("01234567-89ab-cdef-fedc-ba9876543210", "01234567-89aB-CdEf-FEdc-BA9876543210");
}

TEST(UUIDText, Parse_WhatFollows36CharactersIsIgnored)
{
    expectTaken(SAMPLE, SAMPLE + "0"s);
    expectTaken(SAMPLE, SAMPLE + "}"s);
    expectTaken(SAMPLE, SAMPLE + "\0"s);
    expectTaken(SAMPLE, SAMPLE + " and more, of any length, with a - in it"s);
}

TEST(UUIDText, Parse_AnyOtherCharacterIsADigitZero)
{
    expectTaken(NIL, "zzzzzzzz-zzzz-zzzz-zzzz-zzzzzzzzzzzz");
    expectTaken(NIL, "------------------------------------");
    expectTaken(NIL, "gG/:@`  -\t\n..-\x80\xFF\xE1\xB1-\x7F\x01+x-{}{}{}{}{}{}");
    expectTaken("023e4567-e89b-12d3-a456-426614174000", with(0, 'g'));
    expectTaken("123e4560-e89b-12d3-a456-426614174000", with(7, '-'));
    expectTaken("123e4567-e89b-12d3-a456-026614174000", with(24, ' '));
    expectTaken("123e4567-e89b-12d3-a456-426614170000", with(32, '\xFF'));
}

TEST(UUIDText, Parse_NullCharacterIsADigitZeroAndNoEnd)
{
    expectTaken("023e4567-e89b-12d3-a456-426614174000", with(0, '\0'));
    expectTaken("123e4567-089b-12d3-a456-426614174000", with(9, '\0'));
    expectTaken("123e4567-e89b-12d0-a456-426614174000", with(17, '\0'));
    expectTaken(SAMPLE, with(35, '\0'));
    expectTaken(NIL, "\0\0\0\0\0\0\0\0-\0\0\0\0-\0\0\0\0-\0\0\0\0-\0\0\0\0\0\0\0\0\0\0\0\0"s);
    expectRefused(std::string(36, '\0'));
    expectRefused("\0"s);
}

TEST(UUIDText, Parse_EveryShorterTextIsRefused)
{
    for (std::size_t length = 1; length < 36; ++length)
        expectRefused(std::string(SAMPLE, length));
    expectTaken(SAMPLE, std::string(SAMPLE, 36));
}

TEST(UUIDText, Parse_EveryMissingDashIsRefused)
{
    for (const std::size_t position : {8u, 13u, 18u, 23u}) {
        for (const char other : {'0', 'a', '_', ' ', '\0', '+', '\x96'}) {
            expectRefused(with(position, other));
            expectRefused(with(position, other) + "-0123");
        }
        std::string text = SAMPLE;
        expectRefused(text.erase(position, 1) + "0");
        text = SAMPLE;
        expectRefused(text.insert(position, 1, '0'));
    }
}

TEST(UUIDText, Parse_NothingAroundIsAccepted)
{
    expectRefused("{123e4567-e89b-12d3-a456-426614174000}");
    expectRefused(" 123e4567-e89b-12d3-a456-426614174000");
    expectRefused("urn:uuid:123e4567-e89b-12d3-a456-426614174000");
    expectRefused("0x123e4567-e89b-12d3-a456-426614174000");
    expectRefused("123e4567e89b12d3a456426614174000");
    expectRefused("123e4567e89b12d3a4564266141740000000");
}

TEST(UUIDText, Parse_EmptyTextChangesNothingButTheFlag)
{
    const OpenStorage errors;
    UUID id = before();
    id.parse("");
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ(BEFORE, id.toString());
    id.parse("1");
    EXPECT_TRUE(id.isInvalid());
    id.parse("");
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ(BEFORE, id.toString());
    EXPECT_EQ(1, errors.m_count);
}

TEST(UUIDText, Parse_FlagTellsOfTheLastText)
{
    const OpenStorage errors;
    UUID id(SAMPLE);
    id.parse("1");
    id.parse("2");
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
    id.parse(BEFORE);
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ(BEFORE, id.toString());
}

TEST(UUIDText, Construction_MalformedTextGivesTheNilValueAndTheFlag)
{
    const OpenStorage errors;
    const UUID id(std::string(SAMPLE, 35));
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(NIL, id.toString());
    EXPECT_EQ(1, errors.m_count);
    EXPECT_TRUE(ErrorStorage::equals(UUID::Error));
    const UUID empty("");
    EXPECT_FALSE(empty.isInvalid());
    EXPECT_EQ(NIL, empty.toString());
    EXPECT_EQ(1, errors.m_count);
}

TEST(UUIDText, ToString_ReplacesWhatWasThere)
{
    std::string text = "a text that is longer than the thirty-six characters of a UUID";
    before().toString(text);
    EXPECT_EQ(BEFORE, text);
    UUID().toString(text);
    EXPECT_EQ(NIL, text);
}

TEST(UUIDText, ToChars_Writes36CharactersAndNoTerminator)
{
    const std::unique_ptr<char[]> block(new char[36]);
    before().toChars(block.get());
    EXPECT_EQ(BEFORE, std::string(block.get(), 36));
    std::string room(38, '#');
    before().toChars(&room[1]);
    EXPECT_EQ("#00112233-4455-6677-8899-aabbccddeeff#", room);
}

TEST(UUIDText, FromChars_ReadsNothingBehindTheSize)
{
    const OpenStorage errors;
    for (std::size_t size = 0; size < 36; ++size) {
        const std::unique_ptr<char[]> block(new char[size]);
        std::memcpy(block.get(), SAMPLE, size);
        UUID out = before();
        EXPECT_FALSE(UUID::fromChars(block.get(), size, out));
        EXPECT_EQ(BEFORE, out.toString());
    }
    const std::unique_ptr<char[]> block(new char[36]);
    std::memcpy(block.get(), SAMPLE, 36);
    UUID out;
    EXPECT_TRUE(UUID::fromChars(block.get(), 36, out));
    EXPECT_EQ(SAMPLE, out.toString());
    EXPECT_EQ(0, errors.m_count);
}

TEST(UUIDText, FromChars_EmptyIsNone)
{
    const OpenStorage errors;
    UUID out = before();
    EXPECT_FALSE(UUID::fromChars(nullptr, 0, out));
    EXPECT_FALSE(UUID::fromChars(SAMPLE, 0, out));
    EXPECT_EQ(BEFORE, out.toString());
    EXPECT_EQ(0, errors.m_count);
}

TEST(UUIDText, FromChars_ClearsTheFlagOnSuccessAlone)
{
    const OpenStorage errors;
    UUID out("1");
    EXPECT_FALSE(UUID::fromChars("2", 1, out));
    EXPECT_TRUE(out.isInvalid());
    EXPECT_FALSE(UUID::fromChars("", 0, out));
    EXPECT_TRUE(out.isInvalid());
    EXPECT_TRUE(UUID::fromChars(SAMPLE, 36, out));
    EXPECT_FALSE(out.isInvalid());
    EXPECT_EQ(SAMPLE, out.toString());
}

TEST(UUIDText, CharsForms_AllocateNothing)
{
    char text[36];
    UUID out;
    const int start = g_allocations;
    before().toChars(text);
    const bool taken = UUID::fromChars(text, 36, out);
    const bool refused = !UUID::fromChars(text, 35, out);
    const int end = g_allocations;
    EXPECT_EQ(start, end);
    EXPECT_TRUE(taken && refused);
    EXPECT_EQ(BEFORE, out.toString());
    EXPECT_LT(end, g_allocations);
}

} // namespace
