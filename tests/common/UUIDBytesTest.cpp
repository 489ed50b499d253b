// SPDX-License-Identifier: Apache-2.0
//
// A UUID's value as sixteen bytes, and in network byte order.

#include <common/UUID.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/OpenStorage.h"

namespace {

using std::UUID;
using std::UUIDValue;

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
    const support::OpenStorage errors;
    id.parse("spoilt");
}

/// A block of exactly `size` bytes.
std::unique_ptr<char[]> blockWith(const void* bytes, std::size_t size)
{
    std::unique_ptr<char[]> block(new char[size]);
    std::memcpy(block.get(), bytes, size);
    return block;
}

std::string withVersion(const unsigned char* bytes, UUID::Version version)
{
    const std::unique_ptr<char[]> block = blockWith(bytes, 16);
    return UUID(reinterpret_cast<const unsigned char*>(block.get()), version).toString();
}

TEST(UUIDBytes, VersionAndVariantArePutIn)
{
    EXPECT_EQ("00112233-4455-1677-8899-aabbccddeeff", withVersion(SAMPLE_BYTES, UUID::TIME_BASED));
    EXPECT_EQ("00112233-4455-2677-8899-aabbccddeeff",
              withVersion(SAMPLE_BYTES, UUID::DCE_SECURITY));
    EXPECT_EQ("00112233-4455-3677-8899-aabbccddeeff", withVersion(SAMPLE_BYTES, UUID::NAME_MD5));
    EXPECT_EQ("00112233-4455-4677-8899-aabbccddeeff", withVersion(SAMPLE_BYTES, UUID::RANDOM));
    EXPECT_EQ("00112233-4455-5677-8899-aabbccddeeff", withVersion(SAMPLE_BYTES, UUID::NAME_SHA1));
}

TEST(UUIDBytes, OldVersionAndVariantGiveWay)
{
    unsigned char bytes[16];
    std::memset(bytes, 0xFF, sizeof bytes);
    EXPECT_EQ("ffffffff-ffff-1fff-bfff-ffffffffffff", withVersion(bytes, UUID::TIME_BASED));
    EXPECT_EQ("ffffffff-ffff-4fff-bfff-ffffffffffff", withVersion(bytes, UUID::RANDOM));
    std::memset(bytes, 0, sizeof bytes);
    EXPECT_EQ("00000000-0000-5000-8000-000000000000", withVersion(bytes, UUID::NAME_SHA1));
}

TEST(UUIDBytes, NullGivesTheNilValueUnstamped)
{
    for (const UUID::Version version : {UUID::TIME_BASED, UUID::RANDOM, UUID::NAME_SHA1})
        EXPECT_EQ(NIL, UUID(nullptr, version).toString());
}

TEST(UUIDBytes, CopyFrom_TakesTheBytesWithoutStamping)
{
    const std::unique_ptr<char[]> block = blockWith(SAMPLE_BYTES, 16);
    UUID id;
    id.copyFrom(block.get());
    EXPECT_EQ(SAMPLE, id.toString());
    EXPECT_FALSE(id.isInvalid());
    EXPECT_TRUE(id == sample());
}

TEST(UUIDBytes, CopyTo_WritesSixteenBytesInNetworkOrder)
{
    const std::unique_ptr<char[]> block(new char[16]);
    const UUID id = sample();
    id.copyTo(block.get());
    EXPECT_EQ(0, std::memcmp(SAMPLE_BYTES, block.get(), 16));
    char room[18];
    std::memset(room, '#', sizeof room);
    id.copyTo(room + 1);
    EXPECT_EQ('#', room[0]);
    EXPECT_EQ(0, std::memcmp(SAMPLE_BYTES, room + 1, 16));
    EXPECT_EQ('#', room[17]);
}

TEST(UUIDBytes, CopyFromAndTo_LeaveTheFlag)
{
    char bytes[16];
    std::memcpy(bytes, SAMPLE_BYTES, sizeof bytes);
    UUID id = sample();
    spoil(id);
    id.copyTo(bytes);
    EXPECT_TRUE(id.isInvalid());
    id.copyFrom(bytes);
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
}

TEST(UUIDBytes, AtAnyAddress)
{
    for (std::size_t offset = 1; offset < 4; ++offset) {
        const std::unique_ptr<char[]> block(new char[offset + 16]);
        std::memcpy(block.get() + offset, SAMPLE_BYTES, 16);
        UUID id(reinterpret_cast<const unsigned char*>(block.get() + offset), UUID::RANDOM);
        EXPECT_EQ("00112233-4455-4677-8899-aabbccddeeff", id.toString());
        id.copyFrom(block.get() + offset);
        EXPECT_EQ(SAMPLE, id.toString());
    }
}

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr const char* SWAPPED = "33221100-5544-7766-9988-aabbccddeeff";
#else
constexpr const char* SWAPPED = SAMPLE;
#endif

TEST(UUIDBytes, ToNetwork_SwapsTheNumbersAndNotTheNode)
{
    UUID id = sample();
    id.toNetwork();
    EXPECT_EQ(SWAPPED, id.toString());
    id.fromNetwork();
    EXPECT_EQ(SAMPLE, id.toString());
    id.fromNetwork();
    EXPECT_EQ(SWAPPED, id.toString());
}

TEST(UUIDBytes, ToNetwork_ValueLiesInMemoryAsOnTheWire)
{
    UUID id = sample();
    id.toNetwork();
    UUIDValue value;
    id.toUUIDValue(value);
    EXPECT_EQ(0, std::memcmp(SAMPLE_BYTES, &value, sizeof value));
}

TEST(UUIDBytes, ToNetwork_LeavesTheFlag)
{
    UUID id = sample();
    id.toNetwork();
    EXPECT_FALSE(id.isInvalid());
    spoil(id);
    id.fromNetwork();
    EXPECT_TRUE(id.isInvalid());
    EXPECT_EQ(SAMPLE, id.toString());
}

} // namespace
