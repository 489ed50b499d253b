// SPDX-License-Identifier: Apache-2.0
//
// The value of a UUID and its flag. Its bytes are in UUIDBytesTest.cpp, the text form is in
// UUIDTextTest.cpp, the order in UUIDModelTest.cpp.

#include <common/UUID.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::UUID;
using std::UUIDValue;
using support::OpenStorage;

static_assert(std::is_trivially_copyable_v<UUIDValue> && std::is_standard_layout_v<UUIDValue>);
static_assert(sizeof(UUIDValue) == 16 && alignof(UUIDValue) == 4);
static_assert(offsetof(UUIDValue, timeLow) == 0 && sizeof(UUIDValue::timeLow) == 4);
static_assert(offsetof(UUIDValue, timeMid) == 4 && sizeof(UUIDValue::timeMid) == 2);
static_assert(offsetof(UUIDValue, timeHiAndVersion) == 6);
static_assert(sizeof(UUIDValue::timeHiAndVersion) == 2);
static_assert(offsetof(UUIDValue, clockSeq) == 8 && sizeof(UUIDValue::clockSeq) == 2);
static_assert(offsetof(UUIDValue, node) == 10 && sizeof(UUIDValue::node) == 6);
static_assert(std::is_unsigned_v<decltype(UUIDValue::timeLow)>);
static_assert(std::is_unsigned_v<decltype(UUIDValue::timeMid)>);
static_assert(std::is_unsigned_v<decltype(UUIDValue::timeHiAndVersion)>);
static_assert(std::is_unsigned_v<decltype(UUIDValue::clockSeq)>);
static_assert(std::is_same_v<decltype(UUIDValue::node), unsigned char[6]>);

static_assert(std::is_standard_layout_v<UUID> && !std::is_polymorphic_v<UUID>);
static_assert(sizeof(UUID) == 20 && alignof(UUID) == 4);
static_assert(std::is_trivially_destructible_v<UUID>);
static_assert(std::is_convertible_v<UUIDValue, UUID> && std::is_convertible_v<std::string, UUID>);

static_assert(UUID::TIME_BASED == 1 && UUID::DCE_SECURITY == 2 && UUID::NAME_MD5 == 3);
static_assert(UUID::RANDOM == 4 && UUID::NAME_SHA1 == 5);
static_assert(UUID::VARIANT_NCS == 0 && UUID::VARIANT_RFC4122 == 2);
static_assert(UUID::VARIANT_MICROSOFT == 6 && UUID::VARIANT_RESERVED == 7);
static_assert(std::is_convertible_v<UUID::Version, int>);
static_assert(std::is_convertible_v<UUID::Variant, int>);
static_assert(std::is_same_v<decltype(std::declval<const UUID&>().variant()), UUID::Variant>);
static_assert(std::is_same_v<decltype(UUID::nil()), const UUID&>);

constexpr const char* NIL = "00000000-0000-0000-0000-000000000000";
constexpr const char* SAMPLE = "00112233-4455-6677-8899-aabbccddeeff";
constexpr unsigned char SAMPLE_BYTES[16] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                            0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};

UUID sample()
{
    return UUID(0x00112233, 0x4455, 0x6677, 0x8899, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF);
}

/// Sets the flag of `id`, whose value stays.
void spoil(UUID& id)
{
    const OpenStorage errors;
    id.parse("spoilt");
}

UUID spoilt()
{
    UUID id;
    spoil(id);
    return id;
}

/// The text of a UUID that is built in memory full of ones, and of its flag.
template <typename... Arguments>
std::string builtOverOnes(const Arguments&... arguments)
{
    const OpenStorage errors;
    alignas(UUID) unsigned char room[sizeof(UUID)];
    std::memset(room, 0xFF, sizeof room);
    const UUID* const id = new (room) UUID(arguments...);
    return id->toString() + (id->isInvalid() ? " invalid" : " valid");
}

TEST(UUID, Construction_StartsFromZeroAndWithoutTheFlag)
{
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid", builtOverOnes());
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid", builtOverOnes(std::string()));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 invalid", builtOverOnes(std::string("12")));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid",
              builtOverOnes(static_cast<const unsigned char*>(nullptr), UUID::RANDOM));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid", builtOverOnes(UUIDValue()));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid", builtOverOnes(spoilt()));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000 valid", builtOverOnes(UUID()));
}

TEST(UUID, Construction_CarriesTheValueOverOldMemory)
{
    EXPECT_EQ("00112233-4455-6677-8899-aabbccddeeff valid", builtOverOnes(sample()));
    EXPECT_EQ("00112233-4455-6677-8899-aabbccddeeff valid", builtOverOnes(std::string(SAMPLE)));
    EXPECT_EQ("00112233-4455-1677-8899-aabbccddeeff valid",
              builtOverOnes(&SAMPLE_BYTES[0], UUID::TIME_BASED));
    EXPECT_EQ("00000001-0002-0003-0004-0011223344ff valid",
              builtOverOnes(1u, 2u, 3u, static_cast<unsigned short>(4), SAMPLE_BYTES[0],
                            SAMPLE_BYTES[1], SAMPLE_BYTES[2], SAMPLE_BYTES[3], SAMPLE_BYTES[4],
                            SAMPLE_BYTES[15]));
}

TEST(UUID, Layout_FlagThenValueInTheOrderOfTheFields)
{
    UUID id(0x01010101, 0x0202, 0x0303, 0x0404, 5, 6, 7, 8, 9, 10);
    unsigned char bytes[sizeof(UUID)];
    std::memcpy(bytes, static_cast<const void*>(&id), sizeof bytes);
    EXPECT_EQ(0, bytes[0]);
    const unsigned char expected[16] = {1, 1, 1, 1, 2, 2, 3, 3, 4, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(0, std::memcmp(expected, bytes + 4, sizeof expected));
    spoil(id);
    std::memcpy(bytes, static_cast<const void*>(&id), sizeof bytes);
    EXPECT_EQ(1, bytes[0]);
}

TEST(UUID, Fields_StoredAsTheyAre)
{
    EXPECT_EQ(SAMPLE, sample().toString());
    EXPECT_EQ("ffffffff-ffff-ffff-ffff-ffffffffffff",
              UUID(0xFFFFFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 255, 255, 255, 255, 255, 255).toString());
    EXPECT_EQ("80000000-0000-0000-0000-000000000001",
              UUID(0x80000000, 0, 0, 0, 0, 0, 0, 0, 0, 1).toString());
}

TEST(UUID, Fields_SecondAndThirdArgumentAreCutToTheirLow16Bits)
{
    EXPECT_EQ("00000000-2345-789a-0000-000000000000",
              UUID(0, 0x12345, 0x6789A, 0, 0, 0, 0, 0, 0, 0).toString());
    EXPECT_EQ("00000000-0000-ffff-0000-000000000000",
              UUID(0, 0xFFFF0000, 0xFFFFFFFF, 0, 0, 0, 0, 0, 0, 0).toString());
}

/// Braces refuse to narrow what is not constant.
UUID inBraces(unsigned int low, unsigned int mid, unsigned int high)
{
    return UUID{low, mid, high, 0x8899, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
}

TEST(UUID, Fields_SecondAndThirdArgumentAreOf32Bits)
{
    EXPECT_EQ(SAMPLE, inBraces(0x00112233, 0x4455, 0x6677).toString());
    EXPECT_EQ("00112233-4455-6677-8899-aabbccddeeff",
              inBraces(0x00112233, 0x14455, 0xFFFF6677).toString());
}

TEST(UUID, Value_ComesInAndOutAsItIs)
{
    const UUIDValue value = {0x00112233, 0x4455, 0x6677, 0x0899, {0xAA, 0xBB, 0xCC, 0xDD, 0, 0xFF}};
    const UUID id = value;
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ("00112233-4455-6677-0899-aabbccdd00ff", id.toString());
    UUIDValue out;
    std::memset(&out, 0xFF, sizeof out);
    id.toUUIDValue(out);
    EXPECT_EQ(0, std::memcmp(&value, &out, sizeof out));
}

UUID::Variant variantWith(unsigned short clockSeq)
{
    return UUID(0xFFFFFFFF, 0, 0xFFFF, clockSeq, 0xFF, 0, 0, 0, 0, 0).variant();
}

TEST(UUID, Variant_ByTheTopThreeBitsAlone)
{
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x0000));
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x1FFF));
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x2000));
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x4000));
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x6000));
    EXPECT_EQ(UUID::VARIANT_NCS, variantWith(0x7FFF));
    EXPECT_EQ(UUID::VARIANT_RFC4122, variantWith(0x8000));
    EXPECT_EQ(UUID::VARIANT_RFC4122, variantWith(0xA000));
    EXPECT_EQ(UUID::VARIANT_RFC4122, variantWith(0xBFFF));
    EXPECT_EQ(UUID::VARIANT_MICROSOFT, variantWith(0xC000));
    EXPECT_EQ(UUID::VARIANT_MICROSOFT, variantWith(0xDFFF));
    EXPECT_EQ(UUID::VARIANT_RESERVED, variantWith(0xE000));
    EXPECT_EQ(UUID::VARIANT_RESERVED, variantWith(0xFFFF));
}

TEST(UUID, Copy_TakesTheValueWithoutTheFlag)
{
    UUID id = sample();
    spoil(id);
    const UUID copy(id);
    EXPECT_FALSE(copy.isInvalid());
    EXPECT_EQ(SAMPLE, copy.toString());
    const UUID moved(std::move(id));
    EXPECT_FALSE(moved.isInvalid());
    EXPECT_EQ(SAMPLE, moved.toString());
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
}

TEST(UUID, Assignment_TargetKeepsItsOwnFlag)
{
    UUID valid;
    UUID invalid = sample();
    spoil(invalid);
    EXPECT_EQ(&valid, &(valid = invalid));
    EXPECT_FALSE(valid.isInvalid());
    EXPECT_EQ(SAMPLE, valid.toString());
    invalid = UUID();
    EXPECT_TRUE(invalid.isInvalid());
    EXPECT_EQ(NIL, invalid.toString());
}

TEST(UUID, Assignment_ToItselfChangesNothing)
{
    UUID id = sample();
    const UUID& same = id;
    id = same;
    EXPECT_FALSE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
    spoil(id);
    id = same;
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
}

TEST(UUID, Swap_ExchangesTheValuesAndNotTheFlags)
{
    UUID valid = sample();
    UUID invalid = spoilt();
    spoil(invalid);
    valid.swap(invalid);
    EXPECT_EQ(NIL, valid.toString());
    EXPECT_EQ(SAMPLE, invalid.toString());
    EXPECT_FALSE(valid.isInvalid());
    EXPECT_TRUE(invalid.isInvalid());
}

TEST(UUID, Swap_WithItself)
{
    UUID id = sample();
    spoil(id);
    id.swap(id);
    EXPECT_EQ(SAMPLE, id.toString());
    EXPECT_TRUE(id.isInvalid());
}

TEST(UUID, Nil_IsZeroWithoutTheFlag)
{
    const UUID& nil = UUID::nil();
    EXPECT_EQ(NIL, nil.toString());
    EXPECT_FALSE(nil.isInvalid());
    EXPECT_EQ(UUID::VARIANT_NCS, nil.variant());
    EXPECT_EQ(&nil, &UUID::nil());
    EXPECT_TRUE(nil == UUID());
}

TEST(UUID, Nil_SameObjectInSixteenThreadsFromTheFirstUseOn)
{
    const support::ChildResult result = support::runInChild([] {
        std::atomic<int> waiting(16);
        std::vector<const UUID*> seen(16);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < 16; ++i)
            threads.emplace_back([&waiting, &seen, i] {
                for (--waiting; waiting > 0;)
                    std::this_thread::yield();
                seen[i] = &UUID::nil();
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(std::vector<const UUID*>(16, &UUID::nil()), seen);
    });
    EXPECT_EQ(0, result.exitCode) << result.out << result.err;
}

} // namespace
